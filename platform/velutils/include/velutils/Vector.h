#pragma once

#include <vector>

namespace Velutils {

// The list type the core fills for its callers.
template <class T>
class Vector : public std::vector<T> {
public:
    using std::vector<T>::vector;
};

}  // namespace Velutils
