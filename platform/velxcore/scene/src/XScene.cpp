#include <velxcore/XLog.h>
#include <velxcore/XObjectDef.h>
#include <velxcore/XObjectDefRegistry.h>
#include <velxcore/XScene.h>
#include <velxcore/XSceneChange.h>
#include <velxcore/XSceneFile.h>
#include <velxcore/XSceneObserver.h>
#include <velxcore/XSceneObservers.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/StringUtils.h>

#include <algorithm>
#include <memory>

namespace VelX {

using Velutils::StringUtils;

XScene::XScene() : m_database(this), m_selection(m_database), m_simulation(std::make_unique<XSimulation>(*this)) {
    m_database.db().addObserver(this);
    ensureSettingsObjects();
    m_database.db().clearUndo();
}

XScene::~XScene() { m_database.db().removeObserver(this); }

XObject XScene::RootObject() { return m_database.RootObject(); }

XSceneSettings XScene::SceneSettings() { return XSceneSettings(m_database.Object(XSceneSettings::TypeID)); }

void XScene::ensureSettingsObjects() {
    db::Database& d = m_database.db();
    d.beginChangeBlock();
    for (XObjectDef* def : m_database.ObjectTypes().All()) {
        const db::NodeDef* node = def->nodeDef();
        if (!node || !node->hasFlag(db::SettingsType)) continue;
        const std::string name = node->typeName();
        if (d.findChild(db::Database::RootId, name) >= 0) continue;
        int id = d.create(*node, name, db::Database::RootId);
        std::unique_ptr<XObject> wrapper(def->CreateObject(m_database, id));
        if (wrapper) wrapper->onInitialize();
    }
    // Built-in tools and commands carry their user-facing names.
    for (int i = XTool::FirstBuiltInIndex; i <= XTool::LastBuiltInIndex; ++i) ToolObject(i).initialiseName();
    std::vector<std::wstring> commands;
    XCommand::BuiltInCommandTypes(commands);
    for (const std::wstring& type : commands) CommandObject(type).initialiseName();
    d.endChangeBlock();
    XSceneSettings settings = SceneSettings();
    if (settings.IsValid()) d.setTimeKey(settings.Attribute(sg::Index::Frame).key());
}

void XScene::New() {
    m_simulation->Stop();
    m_database.db().reset();
    m_fileName.clear();
    m_controllers.clear();
    m_selection.SetSubObjectEditMode(false);
    ensureSettingsObjects();
    m_database.db().clearUndo();
    m_simulation->TrustAsUserMade();
    XSceneObservers::Shared().Notify(*this, [&](XSceneObserver* o) { o->OnSceneCreated(*this); });
}

bool XScene::Save(const std::wstring& fileName, std::wstring* error) {
    std::string message;
    if (!XSceneFile::save(m_database.db(), StringUtils::toUtf8(fileName), message)) {
        if (error) *error = StringUtils::toWide(message);
        XLog::Write(message);
        return false;
    }
    m_fileName = fileName;
    m_simulation->RememberTrust(fileName);
    return true;
}

bool XScene::Load(const std::wstring& fileName, std::wstring* error) { return Load(fileName, error, nullptr); }

bool XScene::Load(const std::wstring& fileName, std::wstring* error, const XSceneFile::Progress& progress) {
    std::string message;
    if (!XSceneFile::load(m_database.db(), StringUtils::toUtf8(fileName), message, progress)) {
        if (error) *error = StringUtils::toWide(message);
        XLog::Write(message);
        return false;
    }
    m_fileName = fileName;
    m_controllers.clear();
    m_selection.SetSubObjectEditMode(false);
    ensureSettingsObjects();
    m_database.db().clearUndo();
    // Every way a scene arrives (open, recent files, command line, recovery) passes here.
    m_simulation->CheckTrust(fileName);
    XSceneObservers::Shared().Notify(*this, [&](XSceneObserver* o) { o->OnSceneLoaded(*this); });
    return true;
}

XTool XScene::ToolObject(int index) {
    const std::wstring type = XTool::BuiltInToolType(index);
    return type.empty() ? XTool() : XTool(m_database.Object(type));
}

XCommand XScene::CommandObject(const std::wstring& typeId) {
    std::vector<std::wstring> types;
    XCommand::BuiltInCommandTypes(types);
    if (std::find(types.begin(), types.end(), typeId) == types.end()) return {};
    XCommand command(m_database.Object(typeId));
    return command.IsType(typeId) ? command : XCommand();
}

XSelectionGroup XScene::SelectionGroups() {
    return XSelectionGroup(XObjectGroup::RootGroupOf(m_database, XSelectionGroup::TypeID));
}
XDisplayGroup XScene::DisplayGroups() { return XDisplayGroup(XObjectGroup::RootGroupOf(m_database, XDisplayGroup::TypeID)); }
XCollisionGroup XScene::CollisionGroups() {
    return XCollisionGroup(XObjectGroup::RootGroupOf(m_database, XCollisionGroup::TypeID));
}

bool XScene::IsDisplayed(const XObject& object) { return XDisplayGroup::IsObjectVisible(object); }

XObjectController* XScene::FindObjectController(const XObject& object) {
    XObjectController best;
    if (object.IsValid() && object.DatabasePointer() == &m_database) {
        // Controllers refer to their target, so the target's references lead to them.
        std::vector<db::AttrKey> refs;
        m_database.db().outputs(db::AttrKey{object.ObjectID(), 0}, refs);
        for (const db::AttrKey& k : refs) {
            XObjectController c(m_database.Object(k.node));
            if (!c.Drives(object)) continue;
            const float weight = c.Weight().Float();
            if (!best.IsValid() || weight > best.Weight().Float() ||
                (weight == best.Weight().Float() && c.ObjectID() < best.ObjectID()))
                best = c;
        }
    }
    if (!best.IsValid()) {
        if (object.DatabasePointer() == &m_database) m_controllers.erase(object.HandleID());
        return nullptr;
    }
    XObjectController& kept = m_controllers[object.ObjectID()];
    kept = best;
    return &kept;
}

XScene& XScene::DeleteSelection() {
    Velutils::Vector<XObject> selected;
    m_selection.Objects(selected);
    m_database.DeleteObjects(selected);
    return *this;
}

XScene& XScene::ReparentSelection(const std::wstring& parentPath) {
    XObject parent = parentPath.empty() ? RootObject() : m_database.Object(parentPath);
    if (!parent.IsValid()) return *this;
    Velutils::Vector<XObject> selected;
    m_selection.Objects(selected);
    m_database.BeginChangeBlock();
    for (XObject& o : selected)
        if (XObjectGroup::CanParent(o, parent)) o.SetParent(parent);
    m_database.EndChangeBlock(L"Parent");
    return *this;
}

XScene& XScene::Stop() {
    m_simulation->Stop();
    return *this;
}

void XScene::onDatabaseChanged(db::Database& database, const std::shared_ptr<const db::DatabaseChange>& change) {
    const bool transient = change->isTransient();
    const db::AttrKey& timeKey = database.timeKey();
    const bool frameChanged = timeKey.isValid() && change->isAttributeChanged(timeKey);
    if (change->hasEdits()) {
        XSceneSettings settings = SceneSettings();
        const bool settingsChanged = settings.IsValid() && change->isObjectChanged(settings.ObjectID());
        XSceneChange sceneChange(*this, XDatabaseChange(&m_database, change),
                                 frameChanged && change->isOnlyValueSet(timeKey), settingsChanged);
        XSceneObservers::Shared().Notify(*this, [&](XSceneObserver* o) { o->OnSceneChanged(sceneChange, transient); });
    }
    if (change->isSelectionChanged())
        XSceneObservers::Shared().Notify(*this, [&](XSceneObserver* o) { o->OnSceneSelectionChanged(*this, transient); });
    if (frameChanged) XSceneObservers::Shared().Notify(*this, [&](XSceneObserver* o) { o->OnSceneTimeChanged(*this, transient); });
}

}  // namespace VelX
