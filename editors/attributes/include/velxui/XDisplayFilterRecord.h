#pragma once

#include <string>
#include <vector>

namespace VelXUI {

// One rule of the attribute editor's display filter: the listed attributes of objects of the type
// are shown while the controlling enumeration reads the choice (from the script's RelatedAttributes).
struct XDisplayFilterRecord {
    std::wstring objectType;
    std::wstring controllingAttribute;
    std::wstring choice;
    std::vector<std::wstring> attributes;
};

}  // namespace VelXUI
