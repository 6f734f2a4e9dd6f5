#pragma once

namespace VelX {

// How a type test compares: the exact type only, or the type and every type derived from it.
enum class XComparisonMode { ExactType = 0, SupportedType = 1 };

}  // namespace VelX
