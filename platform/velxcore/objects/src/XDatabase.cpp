#include <velxcore/XDatabase.h>
#include <velxcore/XObjectDef.h>
#include <velxcore/XObjectDefRegistry.h>
#include <velxcore/XUnits.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/StringUtils.h>

#include <algorithm>

namespace VelX {

using Velutils::StringUtils;

XDatabase::XDatabase(XScene* scene) : XDatabase(scene, XObjectDefRegistry::Shared(), XDisplayUnits::Shared()) {}

XDatabase::XDatabase(XScene* scene, XObjectDefRegistry& types, XDisplayUnits& units)
    : m_scene(scene), m_types(&types), m_units(&units), m_db(std::make_unique<db::Database>()) {
    sg::registerNodeTypes(*m_db);
}

XDatabase::~XDatabase() = default;

XObject XDatabase::Object(int objectId) {
    return m_db->isAlive(objectId) ? XObject(this, objectId) : XObject();
}

XObject XDatabase::Object(const std::wstring& path) {
    int id = m_db->findPath(StringUtils::toUtf8(path));
    return id >= 0 ? XObject(this, id) : XObject();
}

XObject XDatabase::RootObject() { return XObject(this, db::Database::RootId); }

XAttribute XDatabase::Attribute(int attributeId) {
    XAttribute a(this, m_db->attributeKey(attributeId));
    return a.IsValid() ? a : XAttribute();
}

XAttribute XDatabase::Attribute(const std::wstring& path) { return XAttribute(*this, path); }

XObjectDef* XDatabase::ObjectDefinition(const std::wstring& typeId) const {
    return m_types->Find(typeId);
}

XObject XDatabase::CreateObject(const std::wstring& typeId, const std::wstring& name, const XObject& parent) {
    const db::NodeDef* def = m_db->findType(StringUtils::toUtf8(typeId));
    if (!def || def->hasFlag(db::SettingsType)) return {};
    int parentId = parent.IsValid() && parent.DatabasePointer() == this ? parent.ObjectID() : db::Database::RootId;
    int id = m_db->create(*def, StringUtils::toUtf8(name), parentId);
    return id >= 0 ? XObject(this, id) : XObject();
}

std::size_t XDatabase::ObjectCount() const { return m_db->nodeCount(); }

void XDatabase::BeginChangeBlock() { m_db->beginChangeBlock(false); }
void XDatabase::BeginChangeBlock(bool transient) { m_db->beginChangeBlock(transient); }
void XDatabase::EndChangeBlock() { m_db->endChangeBlock(); }
void XDatabase::EndChangeBlock(const std::wstring& description) { m_db->endChangeBlock(StringUtils::toUtf8(description)); }
void XDatabase::CommitTransient() { m_db->commitTransient(); }

namespace {
// Animation curves that drive only objects about to be deleted go with them.
void addOrphanedAnimations(const db::Database& d, std::vector<int>& ids) {
    std::vector<int> doomed;
    for (int id : ids) {
        std::size_t first = doomed.size();
        doomed.push_back(id);
        for (std::size_t i = first; i < doomed.size(); ++i)
            if (const db::Node* n = d.node(doomed[i])) doomed.insert(doomed.end(), n->children().begin(), n->children().end());
    }
    std::vector<int> extra;
    for (int id : doomed) {
        const db::Node* n = d.node(id);
        if (!n || n->connectionCount() == 0) continue;
        std::vector<std::pair<db::AttrKey, db::AttrKey>> links;
        d.connections(id, links);
        for (const auto& [src, dst] : links) {
            const db::Node* s = d.node(src.node);
            if (dst.node == id && s && s->isOfType(sg::AnimationNode::Def)) extra.push_back(src.node);
        }
    }
    for (int a : extra) {
        std::vector<db::AttrKey> outs;
        const db::Node* n = d.node(a);
        d.outputs(db::AttrKey{a, n->def().topLevelSlot(sg::Index::AnimOutput)}, outs);
        bool allDoomed = std::all_of(outs.begin(), outs.end(), [&](const db::AttrKey& k) {
            return std::find(doomed.begin(), doomed.end(), k.node) != doomed.end();
        });
        if (allDoomed) ids.push_back(a);
    }
}
}  // namespace

bool XDatabase::DeleteObjects(const Velutils::Vector<XObject>& objects) {
    std::vector<int> ids;
    for (const XObject& o : objects)
        if (o.DatabasePointer() == this && o.SupportsDeletion()) ids.push_back(o.ObjectID());
    if (ids.empty()) return false;
    m_db->beginChangeBlock();
    addOrphanedAnimations(*m_db, ids);
    bool done = m_db->remove(ids);
    m_db->endChangeBlock("Delete");
    return done;
}

bool XDatabase::DeleteObjects(const std::wstring& path) {
    XObject o = Object(path);
    return o.IsValid() && DeleteObjects(Velutils::Vector<XObject>{o});
}

bool XDatabase::RemoveObjects(const Velutils::Vector<XObject>& objects) {
    std::vector<XObject> valid;
    for (const XObject& o : objects)
        if (o.DatabasePointer() == this && o.SupportsDeletion()) valid.push_back(o);
    if (valid.empty()) return false;
    m_db->beginChangeBlock();
    for (const XObject& o : valid) {
        if (!o.IsValid()) continue;
        // The children take the removed object's place under its parent, in order.
        const db::Node* n = m_db->node(o.ObjectID());
        int parent = n->parent();
        const auto& siblings = m_db->node(parent)->children();
        int index = static_cast<int>(std::find(siblings.begin(), siblings.end(), o.ObjectID()) - siblings.begin());
        std::vector<int> children = n->children();
        for (int c : children) m_db->setParent(c, parent, ++index);
    }
    std::vector<int> ids;
    for (const XObject& o : valid)
        if (o.IsValid()) ids.push_back(o.ObjectID());
    addOrphanedAnimations(*m_db, ids);
    bool done = m_db->remove(ids);
    m_db->endChangeBlock("Remove");
    return done;
}

bool XDatabase::RemoveObjects(const std::wstring& path) {
    XObject o = Object(path);
    return o.IsValid() && RemoveObjects(Velutils::Vector<XObject>{o});
}

bool XDatabase::CanUndo() const { return m_db->canUndo(); }
bool XDatabase::CanRedo() const { return m_db->canRedo(); }
std::wstring XDatabase::UndoName() const { return StringUtils::toWide(m_db->undoName()); }
std::wstring XDatabase::RedoName() const { return StringUtils::toWide(m_db->redoName()); }
std::wstring XDatabase::ValidName(const std::wstring& wanted) {
    return StringUtils::toWide(db::Database::sanitizeName(StringUtils::toUtf8(wanted)));
}
std::uint64_t XDatabase::HistoryPosition() const { return m_db->historyPosition(); }
bool XDatabase::Undo() { return m_db->undo(); }
bool XDatabase::Redo() { return m_db->redo(); }

}  // namespace VelX
