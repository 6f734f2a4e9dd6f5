#include <velxcore/XDatabase.h>
#include <velxcore/XSceneObject.h>

#include <veldatabase/Database.h>

#include <algorithm>

namespace VelX {

const std::wstring XSceneObject::TypeID = L"Object";

XSceneObject::XSceneObject(const XObject& object, const std::wstring& requiredType) : XObject(object) {
    if (!SupportsType(requiredType)) m_id = -1;
}

bool XSceneObject::IsSelected() const { return IsValid() && m_database->db().isSelected(m_id); }

XSceneObject& XSceneObject::Select() {
    if (IsValid()) m_database->db().setSelection({m_id});
    return *this;
}

XSceneObject& XSceneObject::SelectAppend() {
    if (!IsValid()) return *this;
    std::vector<int> ids = m_database->db().selection();
    ids.erase(std::remove(ids.begin(), ids.end(), m_id), ids.end());
    ids.push_back(m_id);
    m_database->db().setSelection(ids);
    return *this;
}

XSceneObject& XSceneObject::Deselect() {
    if (!IsSelected()) return *this;
    std::vector<int> ids = m_database->db().selection();
    ids.erase(std::remove(ids.begin(), ids.end(), m_id), ids.end());
    m_database->db().setSelection(ids);
    return *this;
}

}  // namespace VelX
