#pragma once

#include <velxcore/XComparisonMode.h>
#include <velxcore/XObject.h>

#include <string>
#include <vector>

namespace VelX {

class XDatabase;

// The scene's object selection, in selection order. Every call is one undoable step unless a
// change block is open.
class XSelection {
public:
    explicit XSelection(XDatabase& database) : m_database(database) {}

    int Count() const;
    void Objects(Velutils::Vector<XObject>& out) const;
    bool IsSelected(const XObject& object) const;
    XSelection& Select(const std::wstring& path);
    XSelection& Select(const std::vector<std::wstring>& paths);
    XSelection& SelectObjects(const Velutils::Vector<XObject>& objects);
    XSelection& Deselect(const std::wstring& path);
    XSelection& Deselect(const std::vector<std::wstring>& paths);
    XSelection& Clear();
    XSelection& SelectByType(const std::wstring& typeId, XComparisonMode mode);
    bool IsSubObjectEditMode() const { return m_subObjectEditMode; }
    void SetSubObjectEditMode(bool on) { m_subObjectEditMode = on; }

private:
    XDatabase& m_database;
    bool m_subObjectEditMode = false;
};

}  // namespace VelX
