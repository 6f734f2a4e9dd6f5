#include <velxcore/XAttribute.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XObject.h>
#include <velxcore/XObjectDef.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include <unordered_set>

namespace VelX {

using Velutils::StringUtils;

const XObject XObject::Undefined;

XObject::XObject(XDatabase* database, int id) : m_database(database), m_id(id) { onConstruct(); }
XObject::XObject(const XObject& other) : m_database(other.m_database), m_id(other.m_id) { onConstruct(); }
XObject& XObject::operator=(const XObject& other) {
    m_database = other.m_database;
    m_id = other.m_id;
    return *this;
}
XObject::~XObject() { onDestruct(); }

const db::Node* XObject::getNode() const { return m_database ? m_database->db().node(m_id) : nullptr; }
bool XObject::IsValid() const { return getNode() != nullptr; }
int XObject::ObjectID() const { return IsValid() ? m_id : -1; }

std::wstring XObject::Name() const {
    const db::Node* n = getNode();
    return n ? StringUtils::toWide(n->name()) : std::wstring();
}

std::wstring XObject::DisplayName() const {
    const db::Node* n = getNode();
    return n ? StringUtils::toWide(StringUtils::displayNameFromInternal(n->name())) : std::wstring();
}

std::wstring XObject::Path() const { return IsValid() ? StringUtils::toWide(m_database->db().path(m_id)) : std::wstring(); }

std::wstring XObject::ObjectType() const {
    const db::Node* n = getNode();
    return n ? StringUtils::toWide(n->def().typeName()) : std::wstring();
}

std::wstring XObject::ObjectDisplayType() const {
    const db::Node* n = getNode();
    return n ? StringUtils::toWide(n->def().displayTypeName()) : std::wstring();
}

bool XObject::IsType(const std::wstring& typeId) const {
    const db::Node* n = getNode();
    return n && n->def().typeName() == StringUtils::toUtf8(typeId);
}

bool XObject::SupportsType(const std::wstring& typeId) const {
    const db::Node* n = getNode();
    return n && n->def().isA(StringUtils::toUtf8(typeId));
}

XObject XObject::Parent() const {
    const db::Node* n = getNode();
    return n && n->parent() >= 0 ? XObject(m_database, n->parent()) : XObject();
}

bool XObject::HasParent() const { return Parent().IsValid(); }

XObject XObject::Child(int index) const {
    const db::Node* n = getNode();
    if (!n || index < 0 || index >= static_cast<int>(n->children().size())) return {};
    return XObject(m_database, n->children()[static_cast<std::size_t>(index)]);
}

int XObject::ChildCount() const {
    const db::Node* n = getNode();
    return n ? static_cast<int>(n->children().size()) : 0;
}

void XObject::ChildObjects(Velutils::Vector<XObject>& out) const {
    const db::Node* n = getNode();
    if (!n) return;
    out.reserve(out.size() + n->children().size());
    for (int c : n->children()) out.emplace_back(m_database, c);
}

bool XObject::HasChildObjects() const { return ChildCount() > 0; }

bool XObject::IsChildOf(const XObject& parent) const {
    const db::Node* n = getNode();
    return n && parent.m_database == m_database && parent.IsValid() && n->parent() == parent.m_id;
}

bool XObject::IsParentOf(const XObject& child) const { return child.IsChildOf(*this); }

XObject XObject::FindAncestor(const std::wstring& typeId, XComparisonMode mode) const {
    for (XObject p = Parent(); p.IsValid(); p = p.Parent()) {
        if (mode == XComparisonMode::ExactType ? p.IsType(typeId) : p.SupportsType(typeId)) return p;
    }
    return {};
}

bool XObject::SetParent(const XObject& parent) {
    if (!IsValid()) return false;
    int target = parent.IsValid() && parent.m_database == m_database ? parent.m_id : db::Database::RootId;
    return m_database->db().setParent(m_id, target);
}

bool XObject::SetParent(const XObject& parent, int index) {
    if (!IsValid()) return false;
    int target = parent.IsValid() && parent.m_database == m_database ? parent.m_id : db::Database::RootId;
    return m_database->db().setParent(m_id, target, index);
}

bool XObject::Unparent() { return IsValid() && m_database->db().setParent(m_id, db::Database::RootId); }

bool XObject::SupportsChildObjects() const {
    const db::Node* n = getNode();
    return n && n->def().hasFlag(db::SupportsChildren);
}

bool XObject::SupportsDeletion() const {
    const db::Node* n = getNode();
    return n && m_id != db::Database::RootId && n->def().hasFlag(db::Deletable);
}

bool XObject::SupportsReparenting() const {
    const db::Node* n = getNode();
    return n && m_id != db::Database::RootId && n->def().hasFlag(db::Reparentable);
}

bool XObject::SupportsRenaming() const {
    const db::Node* n = getNode();
    return n && m_id != db::Database::RootId && n->def().hasFlag(db::Renamable);
}

XAttribute XObject::Attribute(int index) const {
    const db::Node* n = getNode();
    if (!n) return {};
    int slot = n->topLevelSlot(index);
    if (slot < 0 || m_database->db().isRemovedCustomSlot(m_id, slot)) return {};
    return XAttribute(m_database, db::AttrKey{m_id, slot});
}

XAttribute XObject::Attribute(const std::wstring& name) const {
    const db::Node* n = getNode();
    if (!n) return {};
    int slot = n->findTopLevel(StringUtils::toUtf8(name));
    if (slot < 0 || m_database->db().isRemovedCustomSlot(m_id, slot)) return {};
    return XAttribute(m_database, db::AttrKey{m_id, slot});
}

int XObject::AttributeCount() const {
    const db::Node* n = getNode();
    return n ? n->topLevelCount() : 0;
}

void XObject::Attributes(Velutils::Vector<XAttribute>& out) const {
    const db::Node* n = getNode();
    if (!n) return;
    for (int i = 0; i < n->topLevelCount(); ++i) {
        XAttribute a = Attribute(i);
        if (a.IsValid()) out.push_back(a);
    }
}

void XObject::CustomAttributes(Velutils::Vector<XAttribute>& out) const {
    const db::Node* n = getNode();
    if (!n) return;
    for (int i = n->def().topLevelCount(); i < n->topLevelCount(); ++i) {
        XAttribute a = Attribute(i);
        if (a.IsValid()) out.push_back(a);
    }
}

bool XObject::HasCustomAttributes() const {
    Velutils::Vector<XAttribute> list;
    CustomAttributes(list);
    return !list.empty();
}

XAttribute XObject::AddCustomAttribute(const std::wstring& name, int typeCode, bool isArray) {
    if (!IsValid() || typeCode <= 0 || typeCode > 10) return {};
    db::AttributeDef def;
    def.name = StringUtils::toUtf8(name);
    def.type = static_cast<db::ValueType>(typeCode);
    def.isArray = isArray;
    def.flags = db::DefaultFlags | (isArray ? 0u : static_cast<std::uint32_t>(db::Animatable));
    def.displayName = StringUtils::displayNameFromInternal(db::Database::sanitizeName(def.name));
    int slot = m_database->db().addCustomAttribute(m_id, std::move(def));
    return slot < 0 ? XAttribute() : XAttribute(m_database, db::AttrKey{m_id, slot});
}

bool XObject::RemoveCustomAttribute(const XAttribute& attribute) {
    if (!IsValid() || attribute.Object() != *this) return false;
    return m_database->db().removeCustomAttribute(m_id, attribute.key().slot);
}

void XObject::InputObjects(Velutils::Vector<XObject>& out) const {
    std::vector<std::pair<db::AttrKey, db::AttrKey>> links;
    m_database && IsValid() ? m_database->db().connections(m_id, links) : void();
    std::unordered_set<int> seen;
    for (const auto& [src, dst] : links)
        if (dst.node == m_id && src.node != m_id && seen.insert(src.node).second) out.emplace_back(m_database, src.node);
}

void XObject::OutputObjects(Velutils::Vector<XObject>& out) const {
    std::vector<std::pair<db::AttrKey, db::AttrKey>> links;
    m_database && IsValid() ? m_database->db().connections(m_id, links) : void();
    std::unordered_set<int> seen;
    for (const auto& [src, dst] : links)
        if (src.node == m_id && dst.node != m_id && seen.insert(dst.node).second) out.emplace_back(m_database, dst.node);
}

std::wstring XObject::SetName(const std::wstring& name) {
    if (!SupportsRenaming()) return Name();
    return StringUtils::toWide(m_database->db().rename(m_id, StringUtils::toUtf8(name)));
}

bool XObject::Delete() {
    if (!SupportsDeletion()) return false;
    Velutils::Vector<XObject> list{*this};
    return m_database->DeleteObjects(list);
}

const XObjectDef* XObject::definition() const {
    const db::Node* n = getNode();
    return n ? m_database->ObjectDefinition(StringUtils::toWide(n->def().typeName())) : nullptr;
}

bool XObject::isValid() const { return IsValid(); }

void XObject::onInitialize() {}

}  // namespace VelX
