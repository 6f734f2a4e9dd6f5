#pragma once

#include <velxui/XObjectCacheRecord.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace VelXUI {

class XAttributeControl;
class XAttributeSource;

// The attribute editor's attribute cache: per object type, one source for each attribute name,
// gathering that attribute of every shown object of the type (so one row edits them all).
class XAttributeCache {
public:
    XAttributeCache();
    ~XAttributeCache();
    XAttributeCache(const XAttributeCache&) = delete;
    XAttributeCache& operator=(const XAttributeCache&) = delete;

    void load(const std::vector<XObjectCacheRecord>& records, XAttributeControl* control);
    void clear();
    XAttributeSource* find(const std::wstring& objectType, const std::wstring& name) const;

private:
    std::unordered_map<std::wstring, std::unordered_map<std::wstring, std::unique_ptr<XAttributeSource>>> m_sources;
};

}  // namespace VelXUI
