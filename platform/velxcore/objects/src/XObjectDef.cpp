#include <velxcore/XObject.h>
#include <velxcore/XObjectDef.h>

#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/StringUtils.h>

namespace VelX {

XObjectDef::XObjectDef(std::wstring objectType, std::wstring classId)
    : m_objectType(std::move(objectType)), m_classId(std::move(classId)) {}

XObject* XObjectDef::CreateObject(XDatabase& database, int id) { return new XObject(&database, id); }

const db::NodeDef* XObjectDef::nodeDef() const {
    const std::string name = Velutils::StringUtils::toUtf8(m_classId);
    for (const db::NodeDef* def : sg::allNodeDefs())
        if (def->typeName() == name) return def;
    return nullptr;
}

}  // namespace VelX
