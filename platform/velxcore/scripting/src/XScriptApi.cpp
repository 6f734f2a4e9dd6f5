#include <velxcore/XAnimation.h>
#include <velxcore/XLog.h>
#include <velxcore/XAttribute.h>
#include <velxcore/XScene.h>
#include <velxcore/XScriptApi.h>
#include <velxcore/XScriptBudget.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include <cmath>

namespace VelX {

using Velutils::StringUtils;

namespace {

// What the scene keeps for an edit besides its values: the journal record and change entry.
constexpr std::size_t RecordBytes = 64;
// What an object costs besides its values: the node, its name and its place in the indexes.
constexpr std::size_t ObjectBytes = 256;
// A key on a curve, with its tangents and record.
constexpr std::size_t KeyBytes = 96;
constexpr std::size_t PackedKeyBytes = 48;  // a key kept in the curve and in the undo record
// Walks over the scene check the clock this often.
constexpr std::size_t StepsBetweenClockChecks = 4096;

XAttribute attributeOf(XScene& scene, int id, const std::string& name) {
    std::wstring path = StringUtils::toWide(scene.Database().db().path(id) + "." + name);
    XAttribute a(scene.Database(), path);
    if (!a.IsValid())
        throw XScriptError("'" + scene.Database().db().path(id) + "' has no attribute '" + name + "'");
    return a;
}

XAttribute attributeAt(XScene& scene, const std::string& attributePath) {
    XAttribute a(scene.Database(), StringUtils::toWide(attributePath));
    if (!a.IsValid()) throw XScriptError("no attribute at '" + attributePath + "'");
    return a;
}

}  // namespace

std::size_t XScriptApi::BytesOf(const db::Value& value) {
    std::size_t bytes = sizeof(db::Value);
    if (const std::string* text = value.tryGet<std::string>()) bytes += text->size();
    if (const db::ValueList* items = value.tryGet<db::ValueList>())
        for (const db::Value& item : *items) bytes += BytesOf(item);
    return bytes;
}

void XScriptApi::charge(std::size_t bytes) const {
    if (m_budget) m_budget->Charge(bytes);
}

void XScriptApi::step(std::size_t& steps) const {
    if (m_budget && ++steps % StepsBetweenClockChecks == 0) m_budget->CheckTime();
}

int XScriptApi::objectId(const std::string& path) const {
    int id = path.empty() ? -1 : m_scene.Database().db().findPath(path);
    if (id <= 0) throw XScriptError("no object at '" + path + "'");
    return id;
}

bool XScriptApi::exists(const std::string& path) const {
    return !path.empty() && m_scene.Database().db().findPath(path) > 0;
}

std::vector<std::string> XScriptApi::findByType(const std::string& type, bool exact) const {
    const db::Database& d = m_scene.Database().db();
    std::vector<std::string> out;
    std::vector<int> stack(d.node(db::Database::RootId)->children().rbegin(), d.node(db::Database::RootId)->children().rend());
    std::size_t steps = 0;
    while (!stack.empty()) {
        step(steps);
        int id = stack.back();
        stack.pop_back();
        const db::Node* n = d.node(id);
        if (exact ? n->def().typeName() == type : n->def().isA(type)) out.push_back(d.path(id));
        stack.insert(stack.end(), n->children().rbegin(), n->children().rend());
    }
    return out;
}

std::vector<std::string> XScriptApi::children(const std::string& path) const {
    const db::Database& d = m_scene.Database().db();
    int id = path.empty() ? db::Database::RootId : objectId(path);
    std::vector<std::string> out;
    std::size_t steps = 0;
    for (int c : d.node(id)->children()) {
        step(steps);
        out.push_back(d.path(c));
    }
    return out;
}

std::string XScriptApi::typeOf(const std::string& path) const {
    return m_scene.Database().db().node(objectId(path))->def().typeName();
}

std::string XScriptApi::create(const std::string& type, const std::string& name, const std::string& parentPath) {
    XDatabase& database = m_scene.Database();
    const db::NodeDef* def = database.db().findType(type);
    if (!def || def->hasFlag(db::Abstract) || def->hasFlag(db::SettingsType))
        throw XScriptError("cannot create an object of type '" + type + "'");
    XObject parent = parentPath.empty() ? database.RootObject() : XObject(&database, objectId(parentPath));
    if (!parent.SupportsChildObjects()) throw XScriptError("'" + parentPath + "' cannot have children");
    charge(ObjectBytes + def->storageSize() + name.size());
    XObject created = database.CreateObject(StringUtils::toWide(type), StringUtils::toWide(name), parent);
    if (!created.IsValid()) throw XScriptError("could not create '" + name + "'");
    return StringUtils::toUtf8(created.Path());
}

void XScriptApi::remove(const std::string& path) {
    XObject o(&m_scene.Database(), objectId(path));
    if (!o.SupportsDeletion()) throw XScriptError("'" + path + "' cannot be deleted");
    charge(RecordBytes);
    o.Delete();
}

std::string XScriptApi::reparent(const std::string& path, const std::string& parentPath) {
    XDatabase& database = m_scene.Database();
    XObject o(&database, objectId(path));
    XObject parent = parentPath.empty() ? database.RootObject() : XObject(&database, objectId(parentPath));
    charge(RecordBytes);
    if (!o.SetParent(parent)) throw XScriptError("cannot move '" + path + "' under '" + parentPath + "'");
    return StringUtils::toUtf8(o.Path());
}

std::string XScriptApi::rename(const std::string& path, const std::string& name) {
    XObject o(&m_scene.Database(), objectId(path));
    charge(RecordBytes + 2 * name.size());
    o.SetName(StringUtils::toWide(name));
    return StringUtils::toUtf8(o.Path());
}

void XScriptApi::select(const std::vector<std::string>& paths) {
    std::vector<int> ids;
    std::size_t steps = 0;
    for (const std::string& p : paths) {
        step(steps);
        ids.push_back(objectId(p));
    }
    charge(RecordBytes + 2 * sizeof(int) * (ids.size() + m_scene.Database().db().selection().size()));
    m_scene.Database().db().setSelection(ids);
}

std::vector<std::string> XScriptApi::selection() const {
    const db::Database& d = m_scene.Database().db();
    std::vector<std::string> out;
    std::size_t steps = 0;
    for (int id : d.selection()) {
        step(steps);
        out.push_back(d.path(id));
    }
    return out;
}

db::Value XScriptApi::get(const std::string& path, const std::string& attribute) const {
    XAttribute a = attributeOf(m_scene, objectId(path), attribute);
    if (a.IsObjectRef()) {
        XObject target = a.ObjectRef();
        return target.IsValid() ? db::Value(StringUtils::toUtf8(target.Path())) : db::Value();
    }
    if (a.IsEnum()) return db::Value(StringUtils::toUtf8(a.EnumerationString()));
    return m_scene.Database().db().value(a.key());
}

void XScriptApi::set(const std::string& path, const std::string& attribute, const db::Value& value) {
    XAttribute a = attributeOf(m_scene, objectId(path), attribute);
    // The new value lives in the object and in the undo record.
    charge(RecordBytes + 2 * BytesOf(value));
    if (a.IsObjectRef()) {
        if (value.isNone()) {
            a.ClearObjectRef();
            return;
        }
        XObject target(&m_scene.Database(), objectId(value.asString()));
        a.SetObjectRef(target);
        if (a.ObjectRef() != target) throw XScriptError("'" + attribute + "' cannot refer to '" + value.asString() + "'");
        return;
    }
    if (a.IsComputed()) throw XScriptError("'" + attribute + "' is computed and cannot be set");
    if (a.IsConnectedInput()) throw XScriptError("'" + attribute + "' is driven by a connection or animation");
    db::Value in = value;
    // Scripts hand over plain numbers: make the list shapes of vectors and matrices concrete.
    if (const db::ValueList* list = value.tryGet<db::ValueList>()) {
        if (a.IsVector() && list->size() == 3)
            in = db::Value(Velutils::Vec3{static_cast<float>((*list)[0].asDouble()), static_cast<float>((*list)[1].asDouble()),
                                          static_cast<float>((*list)[2].asDouble())});
        if (a.IsMatrix() && list->size() == 16) {
            Velutils::Matrix4 m;
            for (int i = 0; i < 16; ++i) m.m[i / 4][i % 4] = static_cast<float>((*list)[static_cast<std::size_t>(i)].asDouble());
            in = db::Value(m);
        }
    }
    if (!m_scene.Database().db().setValue(a.key(), in))
        throw XScriptError("'" + attribute + "' does not take that value");
}

std::vector<std::string> XScriptApi::attributes(const std::string& path) const {
    XObject o(&m_scene.Database(), objectId(path));
    Velutils::Vector<XAttribute> list;
    o.Attributes(list);
    std::vector<std::string> out;
    for (const XAttribute& a : list)
        if (a.IsVisible()) out.push_back(StringUtils::toUtf8(a.Name()));
    return out;
}

void XScriptApi::connect(const std::string& sourceAttribute, const std::string& destinationAttribute) {
    XAttribute destination = attributeAt(m_scene, destinationAttribute);
    charge(RecordBytes);
    if (!destination.ConnectInputTo(attributeAt(m_scene, sourceAttribute)))
        throw XScriptError("cannot connect '" + sourceAttribute + "' to '" + destinationAttribute +
                           "' (types differ, the destination is computed, or it would make a cycle)");
}

void XScriptApi::disconnect(const std::string& destinationAttribute) {
    charge(RecordBytes);
    attributeAt(m_scene, destinationAttribute).DisconnectInput();
}

void XScriptApi::setKey(const std::string& path, const std::string& attribute, const db::Value& frame,
                        const db::Value& value) {
    XAttribute a = attributeOf(m_scene, objectId(path), attribute);
    if (!a.IsAnimatable()) throw XScriptError("'" + attribute + "' cannot be animated");
    charge(KeyBytes);
    // Keyed where asked without moving the current frame: moving it would evaluate the scene.
    const float at = frame.isNone() ? static_cast<float>(m_scene.SceneSettings().Frame()) : static_cast<float>(frame.asDouble());
    const float keyed = value.isNone() ? a.ValueAtFrame(at) : static_cast<float>(value.asDouble());
    if (!std::isfinite(at) || !std::isfinite(keyed)) throw XScriptError("the frame and the value must be finite numbers");
    if (!a.SetKeyframeAt(at, keyed).IsValid()) throw XScriptError("'" + attribute + "' of '" + path + "' cannot be keyed (it is driven by a connection)");
}

namespace {
std::vector<float> finiteNumbers(const db::Value& list, const char* what) {
    const db::ValueList* items = list.tryGet<db::ValueList>();
    if (!items) throw XScriptError(std::string(what) + " must be a list of numbers");
    std::vector<float> numbers;
    numbers.reserve(items->size());
    for (const db::Value& item : *items) {
        const bool isNumber = item.is<std::int32_t>() || item.is<float>() || item.is<double>();
        if (!isNumber || !std::isfinite(item.asDouble()))
            throw XScriptError(std::string(what) + "[" + std::to_string(numbers.size()) + "] must be a finite number");
        numbers.push_back(static_cast<float>(item.asDouble()));
    }
    return numbers;
}
}  // namespace

void XScriptApi::setKeys(const std::string& path, const std::string& attribute, const db::Value& frames,
                         const db::Value& values) {
    XAttribute a = attributeOf(m_scene, objectId(path), attribute);
    if (!a.IsAnimatable()) throw XScriptError("'" + attribute + "' cannot be animated");
    const std::vector<float> at = finiteNumbers(frames, "frames");
    const std::vector<float> keyed = finiteNumbers(values, "values");
    if (at.size() != keyed.size())
        throw XScriptError("frames and values differ in length (" + std::to_string(at.size()) + " and " + std::to_string(keyed.size()) + ")");
    charge(RecordBytes + PackedKeyBytes * at.size());
    if (!a.SetKeyframesAt(at, keyed)) throw XScriptError("'" + attribute + "' of '" + path + "' cannot be keyed (it is driven by a connection)");
}

void XScriptApi::clearKeys(const std::string& path, const std::string& attribute) {
    charge(RecordBytes);
    attributeOf(m_scene, objectId(path), attribute).ClearAnimation();
}

double XScriptApi::frame() const { return m_scene.SceneSettings().Frame(); }

void XScriptApi::setFrame(double frame) {
    if (!std::isfinite(frame)) throw XScriptError("the frame must be a finite number");
    m_scene.SceneSettings().SetFrame(static_cast<float>(frame));
}

void XScriptApi::beginBlock() { m_scene.Database().BeginChangeBlock(); }

void XScriptApi::endBlock(const std::string& description) {
    if (m_scene.Database().db().blockDepth() == 0) throw XScriptError("end_block without begin_block");
    m_scene.Database().EndChangeBlock(StringUtils::toWide(description));
}

bool XScriptApi::undo() { return m_scene.Database().Undo(); }
bool XScriptApi::redo() { return m_scene.Database().Redo(); }

void XScriptApi::log(const std::string& text) {
    charge(RecordBytes + text.size());
    XLog::Write(text);
}

}  // namespace VelX
