#pragma once

#include <velxcore/XObject.h>

#include <string>
#include <vector>

namespace VelXUI {

// The objects of one type that the attribute editor shows, in the order they were added.
struct XObjectCacheRecord {
    std::wstring objectType;
    std::wstring objectDisplayType;
    std::vector<VelX::XObject> objects;
};

}  // namespace VelXUI
