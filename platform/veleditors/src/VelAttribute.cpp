#include <veleditors/VelAttribute.h>

namespace wxUtils {

VelAttribute::~VelAttribute() = default;

}  // namespace wxUtils
