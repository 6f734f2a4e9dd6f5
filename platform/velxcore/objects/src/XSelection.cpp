#include <velxcore/XDatabase.h>
#include <velxcore/XSelection.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include <algorithm>
#include <unordered_set>

namespace VelX {

namespace {
std::vector<int> resolve(const db::Database& d, const std::vector<std::wstring>& paths) {
    std::vector<int> ids;
    for (const std::wstring& p : paths) {
        if (p.empty()) continue;  // the root is never selected
        int id = d.findPath(Velutils::StringUtils::toUtf8(p));
        if (id > 0) ids.push_back(id);
    }
    return ids;
}
}  // namespace

int XSelection::Count() const { return static_cast<int>(m_database.db().selection().size()); }

void XSelection::Objects(Velutils::Vector<XObject>& out) const {
    for (int id : m_database.db().selection()) out.emplace_back(&m_database, id);
}

bool XSelection::IsSelected(const XObject& object) const {
    return object.DatabasePointer() == &m_database && m_database.db().isSelected(object.ObjectID());
}

XSelection& XSelection::Select(const std::wstring& path) { return Select(std::vector<std::wstring>{path}); }

XSelection& XSelection::Select(const std::vector<std::wstring>& paths) {
    m_database.db().setSelection(resolve(m_database.db(), paths));
    return *this;
}

XSelection& XSelection::SelectObjects(const Velutils::Vector<XObject>& objects) {
    std::vector<int> ids;
    for (const XObject& o : objects)
        if (o.DatabasePointer() == &m_database && o.IsValid()) ids.push_back(o.ObjectID());
    m_database.db().setSelection(ids);
    return *this;
}

XSelection& XSelection::Deselect(const std::wstring& path) { return Deselect(std::vector<std::wstring>{path}); }

XSelection& XSelection::Deselect(const std::vector<std::wstring>& paths) {
    std::vector<int> gone = resolve(m_database.db(), paths);
    std::unordered_set<int> goneSet(gone.begin(), gone.end());
    std::vector<int> ids = m_database.db().selection();
    ids.erase(std::remove_if(ids.begin(), ids.end(), [&](int id) { return goneSet.count(id) != 0; }), ids.end());
    m_database.db().setSelection(ids);
    return *this;
}

XSelection& XSelection::Clear() {
    m_database.db().setSelection({});
    return *this;
}

XSelection& XSelection::SelectByType(const std::wstring& typeId, XComparisonMode mode) {
    const db::Database& d = m_database.db();
    const std::string type = Velutils::StringUtils::toUtf8(typeId);
    std::vector<int> ids;
    // Depth-first in child order, so the selection order follows the hierarchy.
    std::vector<int> stack(d.node(db::Database::RootId)->children().rbegin(), d.node(db::Database::RootId)->children().rend());
    while (!stack.empty()) {
        int id = stack.back();
        stack.pop_back();
        const db::Node* n = d.node(id);
        if (!n) continue;
        bool match = mode == XComparisonMode::ExactType ? n->def().typeName() == type : n->def().isA(type);
        if (match && !n->def().hasFlag(db::SettingsType)) ids.push_back(id);
        stack.insert(stack.end(), n->children().rbegin(), n->children().rend());
    }
    m_database.db().setSelection(ids);
    return *this;
}

}  // namespace VelX
