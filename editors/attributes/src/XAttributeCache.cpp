#include <velxui/XAttributeCache.h>
#include <velxui/XAttributeSource.h>

namespace VelXUI {

XAttributeCache::XAttributeCache() = default;
XAttributeCache::~XAttributeCache() = default;

void XAttributeCache::clear() { m_sources.clear(); }

void XAttributeCache::load(const std::vector<XObjectCacheRecord>& records, XAttributeControl* control) {
    m_sources.clear();
    Velutils::Vector<VelX::XAttribute> attributes;
    for (const XObjectCacheRecord& record : records) {
        auto& sources = m_sources[record.objectType];
        // Objects of one type share their attribute definitions; by index is the fast path, the
        // name look-up handles custom attributes.
        // A custom attribute has a definition of its own, so a shared definition identifies the
        // type's own attribute at that index.
        std::vector<XAttributeSource*> byIndex;
        std::vector<VelX::XAttribute> definitions;  // the first attribute seen at each index
        // The type's own attributes are the leading ones; custom attributes follow them. An object
        // with no custom attributes has exactly the first object's layout, so its attributes are
        // made from the first object's without asking for them by name (thousands of objects).
        int typeCount = -1;
        std::vector<VelX::XAttribute> leading;
        for (const VelX::XObject& object : record.objects) {
            if (typeCount >= 0 && object.AttributeCount() == typeCount) {
                for (int i = 0; i < typeCount; ++i) byIndex[i]->addAttribute(leading[i].SameAttributeOf(object));
                continue;
            }
            attributes.clear();
            object.Attributes(attributes);
            for (size_t i = 0; i < attributes.size(); ++i) {
                const VelX::XAttribute& attribute = attributes[i];
                if (i < byIndex.size() && byIndex[i] && definitions[i].HasSameDefinition(attribute)) {
                    byIndex[i]->addAttribute(attribute);
                    continue;
                }
                const std::wstring name = attribute.Name();
                auto found = sources.find(name);
                XAttributeSource* source = nullptr;
                if (found == sources.end()) {
                    auto created = std::make_unique<XAttributeSource>(control, attribute, false);
                    source = created.get();
                    sources.emplace(name, std::move(created));
                } else {
                    source = found->second.get();
                    source->addAttribute(attribute);
                }
                if (!attribute.IsCustom()) {
                    if (byIndex.size() <= i) {
                        byIndex.resize(i + 1, nullptr);
                        definitions.resize(i + 1);
                    }
                    byIndex[i] = source;
                    definitions[i] = attribute;
                }
            }
            if (typeCount < 0) {
                typeCount = 0;
                while (typeCount < static_cast<int>(attributes.size()) && !attributes[typeCount].IsCustom() &&
                       byIndex[typeCount]) {
                    leading.push_back(attributes[typeCount]);
                    ++typeCount;
                }
            }
        }
    }
}

XAttributeSource* XAttributeCache::find(const std::wstring& objectType, const std::wstring& name) const {
    const auto type = m_sources.find(objectType);
    if (type == m_sources.end()) return nullptr;
    const auto source = type->second.find(name);
    return source == type->second.end() ? nullptr : source->second.get();
}

}  // namespace VelXUI
