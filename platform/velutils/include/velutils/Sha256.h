#pragma once

#include <cstdint>
#include <string>

namespace Velutils {

// SHA-256 of a byte string, as 64 lowercase hex digits. Used to tie trust to exact script text.
class Sha256 {
public:
    static std::string hex(const std::string& bytes);
};

}  // namespace Velutils
