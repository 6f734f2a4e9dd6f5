#pragma once

namespace wxUtils {

class VelListControl;

// One row of one list: what a hit test across several lists answers. An item without a list is
// "nothing hit".
struct VelListItem {
    VelListControl* list = nullptr;
    int row = -1;

    bool isValid() const { return list != nullptr && row >= 0; }
    explicit operator bool() const { return isValid(); }
};

}  // namespace wxUtils
