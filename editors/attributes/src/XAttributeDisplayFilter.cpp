#include <velxui/XAttributeDisplayFilter.h>

#include <velxcore/XAttribute.h>
#include <velxcore/XDatabaseChange.h>

#include <algorithm>

namespace VelXUI {

namespace {
std::wstring text(const LuaPlus::LuaObject& value) { return value.IsString() ? value.GetWString() : std::wstring(); }
}  // namespace

void XAttributeDisplayFilter::add(const std::wstring& objectType, const LuaPlus::LuaObject& related) {
    if (!related.IsTable()) return;
    // { {enumeration, {choice, {names...}}, {choice, {names...}}}, ... }
    const int entries = related.GetTableCount();
    for (int e = 1; e <= entries; ++e) {
        const LuaPlus::LuaObject entry = related[e];
        if (!entry.IsTable()) continue;
        const std::wstring controlling = text(entry[1]);
        const int choices = entry.GetTableCount();
        for (int c = 2; c <= choices; ++c) {
            const LuaPlus::LuaObject choice = entry[c];
            if (!choice.IsTable()) continue;
            XDisplayFilterRecord record{objectType, controlling, text(choice[1]), {}};
            const LuaPlus::LuaObject names = choice[2];
            const int count = names.GetTableCount();
            for (int n = 1; n <= count; ++n) {
                const std::wstring name = text(names[n]);
                if (!name.empty()) record.attributes.push_back(name);
            }
            if (record.objectType.empty() || record.controllingAttribute.empty() || record.choice.empty()) continue;
            m_records.push_back(std::move(record));
        }
    }
}

bool XAttributeDisplayFilter::satisfies(const VelX::XAttribute& attribute) const {
    if (m_records.empty()) return true;
    const VelX::XObject object = attribute.Object();
    const std::wstring type = object.ObjectType();
    const std::wstring name = attribute.Name();
    bool shown = true;
    for (const XDisplayFilterRecord& record : m_records) {
        if (record.objectType != type) continue;
        if (std::find(record.attributes.begin(), record.attributes.end(), name) == record.attributes.end()) continue;
        if (object.Attribute(record.controllingAttribute).EnumerationString() == record.choice) return true;
        shown = false;
    }
    return shown;
}

bool XAttributeDisplayFilter::isTouchedBy(const VelX::XDatabaseChange& change,
                                          const std::vector<XObjectCacheRecord>& cache) const {
    for (const XDisplayFilterRecord& record : m_records)
        for (const XObjectCacheRecord& cached : cache) {
            if (cached.objectType != record.objectType) continue;
            for (const VelX::XObject& object : cached.objects)
                if (change.IsAttributeChanged(object.Attribute(record.controllingAttribute))) return true;
        }
    return false;
}

}  // namespace VelXUI
