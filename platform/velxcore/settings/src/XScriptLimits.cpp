#include <velxcore/XScriptLimits.h>

namespace VelX {

XScriptLimits& XScriptLimits::Shared() {
    static XScriptLimits limits;
    return limits;
}

}  // namespace VelX
