#pragma once

#include <velxui/XDisplayFilterRecord.h>
#include <velxui/XObjectCacheRecord.h>

#include <velxcore/LuaObject.h>

#include <string>
#include <vector>

namespace VelX {
class XAttribute;
class XDatabaseChange;
}  // namespace VelX

namespace VelXUI {

// Which attributes the attribute editor shows given the value of an enumeration, from the
// application script's RelatedAttributes answers: an attribute that a rule names is shown only
// while the rule's enumeration reads one of the choices listed for it; any other is always shown.
class XAttributeDisplayFilter {
public:
    void clear() { m_records.clear(); }
    // Adds the rules of one type from the script's answer; anything but a table adds nothing, and
    // entries without a type, enumeration or choice are skipped.
    void add(const std::wstring& objectType, const LuaPlus::LuaObject& related);
    bool satisfies(const VelX::XAttribute& attribute) const;
    // Whether the change wrote a controlling enumeration of any of the objects: what is shown may
    // differ, so the editor rebuilds.
    bool isTouchedBy(const VelX::XDatabaseChange& change, const std::vector<XObjectCacheRecord>& cache) const;
    const std::vector<XDisplayFilterRecord>& records() const { return m_records; }

private:
    std::vector<XDisplayFilterRecord> m_records;
};

}  // namespace VelXUI
