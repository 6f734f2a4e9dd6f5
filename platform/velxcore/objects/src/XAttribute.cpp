#include <velxcore/XAnimation.h>
#include <velxcore/XAttribute.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XKeyframe.h>
#include <velxcore/XUnits.h>

#include <veldatabase/Database.h>
#include <velscenegraph/AnimationEvaluator.h>
#include <velscenegraph/SceneGraphNodes.h>
#include <velutils/StringUtils.h>

#include <cstdlib>

#include <cmath>

namespace VelX {

using Velutils::StringUtils;

const XAttribute XAttribute::Undefined;
const int XAttribute::MinNumericDecimalPlaces = 1;
const int XAttribute::MaxNumericDecimalPlaces = 5;

namespace {

// Parses "name", "name[3]" into a name and an element index (-1 when none).
bool splitSegment(const std::string& segment, std::string& name, int& element) {
    element = -1;
    std::size_t open = segment.find('[');
    if (open == std::string::npos) {
        name = segment;
        return !name.empty();
    }
    if (segment.back() != ']' || open == 0) return false;
    name = segment.substr(0, open);
    std::string digits = segment.substr(open + 1, segment.size() - open - 2);
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos || digits.size() > 9) return false;
    element = std::atoi(digits.c_str());
    return true;
}

}  // namespace

XAttribute::XAttribute(XDatabase& database, const std::wstring& path) {
    std::string text = StringUtils::toUtf8(path);
    std::size_t dot = text.find('.');
    if (dot == std::string::npos) return;
    const db::Database& d = database.db();
    int id = d.findPath(text.substr(0, dot));
    const db::Node* n = d.node(id);
    if (!n) return;
    std::vector<std::string> segments;
    std::size_t start = dot + 1;
    while (start <= text.size()) {
        std::size_t end = text.find('.', start);
        if (end == std::string::npos) end = text.size();
        segments.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    db::AttrKey key{id, -1};
    for (std::size_t i = 0; i < segments.size(); ++i) {
        std::string name;
        int element = -1;
        if (!splitSegment(segments[i], name, element)) return;
        if (i == 0) {
            key.slot = n->findTopLevel(name);
        } else if (key.element >= 0) {
            // A field of a compound element.
            const db::AttributeDef* def = d.attributeDef(key.arrayKey());
            if (!def || element >= 0 || key.child >= 0) return;
            key.child = -1;
            for (std::size_t c = 0; c < def->children.size(); ++c)
                if (def->children[c].name == name) key.child = static_cast<int>(c);
            if (key.child < 0) return;
            continue;
        } else if (!n->isCustomSlot(key.slot)) {
            key.slot = n->def().findChild(key.slot, name);
        } else {
            return;
        }
        if (key.slot < 0) return;
        if (element >= 0) key.element = element;
    }
    if (!d.isValidKey(key)) return;
    m_database = &database;
    m_key = key;
}

const db::AttributeDef* XAttribute::def() const { return m_database ? m_database->db().attributeDef(m_key) : nullptr; }
bool XAttribute::IsValid() const { return def() != nullptr; }

std::wstring XAttribute::Name() const {
    const db::AttributeDef* d = def();
    if (!d) return {};
    if (m_key.element >= 0 && m_key.child < 0) return StringUtils::toWide(d->name + "[" + std::to_string(m_key.element) + "]");
    return StringUtils::toWide(d->name);
}

std::wstring XAttribute::DisplayName() const {
    const db::AttributeDef* d = def();
    if (!d) return {};
    std::string name = d->displayName.empty() ? StringUtils::displayNameFromInternal(d->name) : d->displayName;
    if (m_key.element >= 0 && m_key.child < 0) name += " [" + std::to_string(m_key.element) + "]";
    return StringUtils::toWide(name);
}

std::wstring XAttribute::ConciseDisplayName() const {
    const db::AttributeDef* d = def();
    if (!d) return {};
    return StringUtils::toWide(d->conciseName.empty() ? d->name : d->conciseName);
}

void XAttribute::LocalPathName(std::wstring& out) const {
    out.clear();
    const db::AttributeDef* d = def();
    if (!d) return;
    const db::Node* n = m_database->db().node(m_key.node);
    std::string path;
    if (!n->isCustomSlot(m_key.slot) && n->def().slot(m_key.slot).parent >= 0)
        path = n->def().slot(n->def().slot(m_key.slot).parent).def->name + ".";
    path += n->slotDef(m_key.slot)->name;
    if (m_key.element >= 0) path += "[" + std::to_string(m_key.element) + "]";
    if (m_key.child >= 0) path += "." + d->name;
    out = StringUtils::toWide(path);
}

std::wstring XAttribute::Path() const {
    if (!IsValid()) return {};
    std::wstring local;
    LocalPathName(local);
    return StringUtils::toWide(m_database->db().path(m_key.node)) + L"." + local;
}

int XAttribute::AttributeID() const { return m_database ? m_database->db().attributeId(m_key) : -1; }

int XAttribute::Index() const {
    if (!IsValid()) return -1;
    if (m_key.child >= 0) return m_key.child;
    if (m_key.element >= 0) return m_key.element;
    const db::Node* n = m_database->db().node(m_key.node);
    if (n->isCustomSlot(m_key.slot)) return n->def().topLevelCount() + (m_key.slot - n->def().slotCount());
    return n->def().slot(m_key.slot).index;
}

XObject XAttribute::Object() const { return IsValid() ? XObject(m_database, m_key.node) : XObject(); }

XAttribute XAttribute::ParentAttribute() const {
    if (!IsValid()) return {};
    if (m_key.child >= 0) return XAttribute(m_database, m_key.withElement(m_key.element));
    if (m_key.element >= 0) return XAttribute(m_database, m_key.arrayKey());
    const db::Node* n = m_database->db().node(m_key.node);
    if (n->isCustomSlot(m_key.slot) || n->def().slot(m_key.slot).parent < 0) return {};
    return XAttribute(m_database, db::AttrKey{m_key.node, n->def().slot(m_key.slot).parent});
}

std::wstring XAttribute::ConvertToDisplayName(const std::wstring& internalName) {
    return StringUtils::toWide(StringUtils::displayNameFromInternal(StringUtils::toUtf8(internalName)));
}

std::wstring XAttribute::ConvertToInternalName(const std::wstring& displayName) {
    return StringUtils::toWide(StringUtils::internalNameFromDisplay(StringUtils::toUtf8(displayName)));
}

// ---------------------------------------------------------------- structure

bool XAttribute::IsCompositeAttribute() const {
    const db::AttributeDef* d = def();
    if (!d || d->type != db::ValueType::Compound) return false;
    return !d->isArray || (m_key.element >= 0 && m_key.child < 0);
}

int XAttribute::AttributeCount() const {
    const db::AttributeDef* d = def();
    if (!d) return 0;
    if (IsArrayAttribute()) return ArraySize();
    if (!IsCompositeAttribute()) return 0;
    if (d->isArray) return static_cast<int>(d->children.size());
    return m_database->db().node(m_key.node)->def().slot(m_key.slot).childCount;
}

XAttribute XAttribute::Attribute(int index) const {
    if (index < 0 || index >= AttributeCount()) return {};
    if (IsArrayAttribute()) return XAttribute(m_database, m_key.withElement(index));
    if (def()->isArray) return XAttribute(m_database, m_key.withElement(m_key.element, index));
    int first = m_database->db().node(m_key.node)->def().slot(m_key.slot).firstChild;
    return XAttribute(m_database, db::AttrKey{m_key.node, first + index});
}

void XAttribute::Attributes(Velutils::Vector<XAttribute>& out) const {
    for (int i = 0; i < AttributeCount(); ++i) out.push_back(Attribute(i));
}

bool XAttribute::IsArrayAttribute() const { return m_database && m_database->db().isArrayKey(m_key); }
bool XAttribute::IsAttributeArray() const { return IsArrayAttribute() && def()->type == db::ValueType::Compound; }
int XAttribute::ArraySize() const { return m_database ? m_database->db().arraySize(m_key) : 0; }
bool XAttribute::SetArraySize(int size) { return m_database && m_database->db().resizeArray(m_key, size); }
bool XAttribute::IsNode() const { return IsValid() && db::Database::isMessageKey(m_key); }
bool XAttribute::IsCustom() const { return IsValid() && m_database->db().node(m_key.node)->isCustomSlot(m_key.slot); }

// ---------------------------------------------------------------- types and flags

int XAttribute::Type() const {
    const db::AttributeDef* d = def();
    if (!d) return -1;
    if (d->isArray && m_key.element >= 0 && m_key.child < 0 && !d->children.empty()) return 0;
    return static_cast<int>(d->type);
}

#define VELX_TYPE_TEST(Name, Code)                                                        \
    bool XAttribute::Is##Name() const { return Type() == (Code) && !IsArrayAttribute(); } \
    bool XAttribute::Is##Name##Array() const { return Type() == (Code) && IsArrayAttribute(); }
VELX_TYPE_TEST(Int, 1)
VELX_TYPE_TEST(Bool, 2)
VELX_TYPE_TEST(Enum, 3)
VELX_TYPE_TEST(Float, 4)
VELX_TYPE_TEST(Double, 5)
VELX_TYPE_TEST(String, 6)
VELX_TYPE_TEST(Vector, 7)
VELX_TYPE_TEST(ObjectRef, 8)
VELX_TYPE_TEST(Quaternion, 9)
VELX_TYPE_TEST(Matrix, 10)
#undef VELX_TYPE_TEST

bool XAttribute::IsEditable() const {
    const db::AttributeDef* d = def();
    return d && d->has(db::Editable) && !d->has(db::Computed) && !IsConnectedInput();
}
bool XAttribute::IsEditableWhenUndriven() const {
    const db::AttributeDef* d = def();
    return d && d->has(db::Editable) && !d->has(db::Computed);
}
bool XAttribute::IsVisible() const {
    const db::AttributeDef* d = def();
    return d && d->has(db::Visible) && !d->has(db::Internal);
}
bool XAttribute::IsComputed() const {
    const db::AttributeDef* d = def();
    return d && d->has(db::Computed);
}
bool XAttribute::IsAssigned() const {
    const db::AttributeDef* d = def();
    return d && d->has(db::Assigned) && !d->has(db::Computed);
}
bool XAttribute::IsAnimatable() const {
    const db::AttributeDef* d = def();
    return d && d->has(db::Animatable) && !IsArrayAttribute() && db::isNumeric(d->type);
}
bool XAttribute::IsAnimated() const { return Animation().IsValid(); }

// ---------------------------------------------------------------- values

bool XAttribute::Boolean() const { return IsValid() && m_database->db().value(m_key).asBool(); }
int XAttribute::Integer() const { return IsValid() ? m_database->db().value(m_key).asInt() : 0; }
float XAttribute::Float() const { return IsValid() ? static_cast<float>(m_database->db().value(m_key).asDouble()) : 0.0f; }
double XAttribute::Double() const { return IsValid() ? m_database->db().value(m_key).asDouble() : 0.0; }
int XAttribute::Enumeration() const { return IsEnum() ? Integer() : 0; }

std::wstring XAttribute::EnumerationString() const {
    const db::AttributeDef* d = def();
    int i = Enumeration();
    if (!d || !IsEnum() || i < 0 || i >= static_cast<int>(d->enumNames.size())) return {};
    return StringUtils::toWide(d->enumNames[static_cast<std::size_t>(i)]);
}

std::wstring XAttribute::EnumerationDisplayString() const {
    const db::AttributeDef* d = def();
    int i = Enumeration();
    if (!d || !IsEnum() || i < 0 || i >= static_cast<int>(d->enumDisplayNames.size())) return EnumerationString();
    return StringUtils::toWide(d->enumDisplayNames[static_cast<std::size_t>(i)]);
}

void XAttribute::EnumerationDisplayStrings(std::vector<std::wstring>& out) const {
    const db::AttributeDef* d = def();
    if (!d || !IsEnum()) return;
    const auto& names = d->enumDisplayNames.empty() ? d->enumNames : d->enumDisplayNames;
    for (const std::string& s : names) out.push_back(StringUtils::toWide(s));
}

std::wstring XAttribute::String() const {
    return IsValid() ? StringUtils::toWide(m_database->db().value(m_key).asString()) : std::wstring();
}

XObject XAttribute::ObjectRef() const {
    if (!IsObjectRef()) return {};
    XObject target(m_database, m_database->db().value(m_key).asInt());
    return target.IsValid() ? target : XObject();
}

Velutils::Vec3 XAttribute::Vector() const {
    if (!IsValid()) return {};
    db::Value v = m_database->db().value(m_key);
    return v.is<Velutils::Vec3>() ? v.get<Velutils::Vec3>() : Velutils::Vec3{};
}

Velutils::Matrix4 XAttribute::Matrix() const {
    if (!IsValid()) return {};
    db::Value v = m_database->db().value(m_key);
    return v.is<Velutils::Matrix4>() ? v.get<Velutils::Matrix4>() : Velutils::Matrix4{};
}

namespace {
std::string formatValue(const db::Value& v, const db::AttributeDef& d, float factor) {
    auto number = [&](double x) {
        return Velutils::StringUtils::formatNumber(x, XAttribute::MinNumericDecimalPlaces, XAttribute::MaxNumericDecimalPlaces);
    };
    if (auto f = v.tryGet<float>()) return number(static_cast<double>(*f * factor));
    if (auto x = v.tryGet<double>()) return number(*x * factor);
    if (auto i = v.tryGet<std::int32_t>()) {
        if (d.type == db::ValueType::Enum && *i >= 0 && *i < static_cast<int>(d.enumDisplayNames.size()))
            return d.enumDisplayNames[static_cast<std::size_t>(*i)];
        return std::to_string(*i);
    }
    if (auto b = v.tryGet<bool>()) return *b ? "true" : "false";
    if (auto s = v.tryGet<std::string>()) return *s;
    if (auto p = v.tryGet<Velutils::Vec3>()) return number(p->x * factor) + ", " + number(p->y * factor) + ", " + number(p->z * factor);
    if (auto q = v.tryGet<Velutils::Quat>()) return number(q->x) + ", " + number(q->y) + ", " + number(q->z) + ", " + number(q->w);
    if (auto m = v.tryGet<Velutils::Matrix4>()) {
        std::string out;
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) out += (out.empty() ? "" : " ") + number(m->m[r][c]);
        return out;
    }
    return {};
}
}  // namespace

std::wstring XAttribute::DisplayValue() const {
    const db::AttributeDef* d = def();
    if (!d) return {};
    if (IsObjectRef()) return ObjectRef().Path();
    if (IsArrayAttribute()) return L"[" + std::to_wstring(ArraySize()) + L" items]";
    db::Value v = m_database->db().value(m_key);
    if (const db::ValueList* list = v.tryGet<db::ValueList>()) {
        std::string out = "(";
        for (std::size_t i = 0; i < list->size(); ++i) {
            const db::AttributeDef& child = d->isArray ? d->children[i] : *d;
            out += (i ? ", " : "") + formatValue((*list)[i], child, 1.0f);
        }
        return StringUtils::toWide(out + ")");
    }
    float factor = m_database->DisplayUnits().internalToDisplay(d->units);
    return StringUtils::toWide(formatValue(v, *d, factor));
}

int XAttribute::Units() const {
    const db::AttributeDef* d = def();
    return d ? d->units : 0;
}

float XAttribute::AsDisplayFloat() const {
    return Float() * m_database->DisplayUnits().internalToDisplay(Units());
}

XAttribute& XAttribute::SetDisplayFloat(float displayValue) {
    return SetFloat(displayValue * m_database->DisplayUnits().displayToInternal(Units()));
}

// The database checks everything (a live object, a stored and undriven attribute, a value that
// fits), so the handle asks it nothing beforehand.
bool XAttribute::setValue(const db::Value& value) {
    m_refused = !(m_database && m_database->db().setValue(m_key, value));
    return !m_refused;
}

bool XAttribute::HasSameDefinition(const XAttribute& other) const {
    const db::AttributeDef* d = def();
    return d && d == other.def();
}

XAttribute XAttribute::SameAttributeOf(const XObject& object) const {
    const db::Node* mine = m_database ? m_database->db().node(m_key.node) : nullptr;
    const db::Node* theirs = object.IsValid() && object.DatabasePointer() == m_database ? object.getNode() : nullptr;
    if (!mine || !theirs || &mine->def() != &theirs->def() || mine->isCustomSlot(m_key.slot)) return {};
    db::AttrKey key = m_key;
    key.node = object.ObjectID();
    return XAttribute(m_database, key);
}

std::wstring XAttribute::RefusalReason() const {
    if (!m_refused) return {};
    const db::AttributeDef* d = def();
    if (!d) return L"the attribute no longer exists";
    if (d->has(db::Computed)) return L"it is computed by the scene";
    if (IsAnimated()) return L"it is animated";
    if (IsConnectedInput()) return L"it is driven by " + InputAttribute().Path();
    if (IsObjectRef() && !d->refType.empty())
        return L"it takes only objects of type " + StringUtils::toWide(d->refType) + L" (or a type made from it)";
    return L"the value does not fit it";
}

XAttribute& XAttribute::SetBoolean(bool value) { setValue(value); return *this; }
XAttribute& XAttribute::SetInteger(int value) { setValue(static_cast<std::int32_t>(value)); return *this; }
XAttribute& XAttribute::SetFloat(float value) { setValue(value); return *this; }
XAttribute& XAttribute::SetDouble(double value) { setValue(value); return *this; }
XAttribute& XAttribute::SetEnumeration(int index) {
    if (IsEnum()) setValue(static_cast<std::int32_t>(index));
    else m_refused = true;
    return *this;
}
XAttribute& XAttribute::SetEnumeration(const std::wstring& name) {
    if (IsEnum()) setValue(StringUtils::toUtf8(name));
    else m_refused = true;
    return *this;
}
XAttribute& XAttribute::SetString(const std::wstring& value) { setValue(StringUtils::toUtf8(value)); return *this; }
XAttribute& XAttribute::SetVector(const Velutils::Vec3& value) { setValue(value); return *this; }
XAttribute& XAttribute::SetMatrix(const Velutils::Matrix4& value) { setValue(value); return *this; }

XAttribute& XAttribute::SetObjectRef(const XObject& object) {
    m_refused = !IsObjectRef() || !object.IsValid() || object.DatabasePointer() != m_database ||
                !m_database->db().connect(db::AttrKey{object.ObjectID(), 0}, m_key);
    return *this;
}

XAttribute& XAttribute::ClearObjectRef() {
    m_refused = !IsObjectRef();
    if (!m_refused && db::Database::isMessageKey(m_database->db().input(m_key))) m_database->db().disconnect(m_key);
    return *this;
}

XAttribute& XAttribute::CopyValue(const XAttribute& source) {
    m_refused = !IsValid() || !source.IsValid();
    if (m_refused) return *this;
    if (IsObjectRef()) {
        XObject target = source.ObjectRef();
        target.IsValid() ? SetObjectRef(target) : ClearObjectRef();
        return *this;
    }
    setValue(source.m_database->db().value(source.m_key));
    return *this;
}

// ---------------------------------------------------------------- connections

bool XAttribute::HasInput() const { return IsValid() && m_database->db().input(m_key).isValid(); }

bool XAttribute::IsConnectedInput() const {
    if (!IsValid()) return false;
    db::AttrKey in = m_database->db().input(m_key);
    return in.isValid() && !db::Database::isMessageKey(in);
}

XAttribute XAttribute::InputAttribute() const {
    return IsConnectedInput() ? XAttribute(m_database, m_database->db().input(m_key)) : XAttribute();
}

XObject XAttribute::InputObject() const {
    if (!IsValid()) return {};
    db::AttrKey in = m_database->db().input(m_key);
    return in.isValid() ? XObject(m_database, in.node) : XObject();
}

bool XAttribute::ConnectInputTo(const XAttribute& source) {
    if (!IsValid() || !source.IsValid() || source.m_database != m_database) return false;
    return m_database->db().connect(source.m_key, m_key);
}

bool XAttribute::DisconnectInput() { return IsValid() && m_database->db().disconnect(m_key); }

bool XAttribute::HasOutput() const { return IsValid() && m_database->db().hasOutputs(m_key); }

int XAttribute::OutputCount() const {
    std::vector<db::AttrKey> outs;
    if (IsValid()) m_database->db().outputs(m_key, outs);
    return static_cast<int>(outs.size());
}

XAttribute XAttribute::OutputAttribute(int index) const {
    std::vector<db::AttrKey> outs;
    if (IsValid()) m_database->db().outputs(m_key, outs);
    if (index < 0 || index >= static_cast<int>(outs.size())) return {};
    return XAttribute(m_database, outs[static_cast<std::size_t>(index)]);
}

XObject XAttribute::OutputObject(int index) const { return OutputAttribute(index).Object(); }

void XAttribute::OutputAttributes(Velutils::Vector<XAttribute>& out) const {
    std::vector<db::AttrKey> outs;
    if (IsValid()) m_database->db().outputs(m_key, outs);
    for (const db::AttrKey& k : outs) out.emplace_back(m_database, k);
}

void XAttribute::OutputObjects(Velutils::Vector<XObject>& out) const {
    Velutils::Vector<XAttribute> attributes;
    OutputAttributes(attributes);
    for (const XAttribute& a : attributes) out.push_back(a.Object());
}

// ---------------------------------------------------------------- animation

XAnimation XAttribute::Animation() const {
    if (!IsValid()) return {};
    db::AttrKey in = m_database->db().input(m_key);
    if (!in.isValid()) return {};
    const db::Node* n = m_database->db().node(in.node);
    if (!n || !n->isOfType(sg::AnimationNode::Def) || n->def().slot(in.slot).index != sg::Index::AnimOutput) return {};
    return XAnimation(XObject(m_database, in.node));
}

XKeyframe XAttribute::SetKeyframe() { return SetKeyframe(Float()); }

XKeyframe XAttribute::SetDisplayKeyframe(float displayValue) {
    return SetKeyframe(displayValue * m_database->DisplayUnits().displayToInternal(Units()));
}

XKeyframe XAttribute::SetKeyframe(float value) {
    return SetKeyframeAt(sg::AnimationEvaluator::currentTime(m_database->db()), value);
}

XAnimation XAttribute::AnimationToKey() {
    XAnimation animation = Animation();
    if (animation.IsValid() || HasInput()) return animation;
    db::Database& d = m_database->db();
    std::string name = d.node(m_key.node)->name() + "_" + StringUtils::toUtf8(Name());
    int id = d.create(sg::AnimationNode::Def, name, db::Database::RootId);
    animation = XAnimation(XObject(m_database, id));
    d.connect(animation.Output().key(), m_key);
    return animation;
}

XKeyframe XAttribute::SetKeyframeAt(float frame, float value) {
    m_refused = true;
    if (!IsAnimatable()) return {};
    db::Database& d = m_database->db();
    d.beginChangeBlock();
    XAnimation animation = AnimationToKey();
    XKeyframe key = animation.IsValid() ? animation.AddKeyframe(frame, value) : XKeyframe();
    d.endChangeBlock("Set Key");
    m_refused = !key.IsValid();
    return key;
}

bool XAttribute::SetKeyframesAt(const std::vector<float>& frames, const std::vector<float>& values) {
    m_refused = true;
    if (!IsAnimatable() || frames.size() != values.size()) return false;
    for (std::size_t i = 0; i < frames.size(); ++i)
        if (!std::isfinite(frames[i]) || !std::isfinite(values[i])) return false;
    if (frames.empty()) return !(m_refused = false);
    db::Database& d = m_database->db();
    d.beginChangeBlock();
    XAnimation animation = AnimationToKey();
    const bool keyed = animation.IsValid() && animation.AddKeyframes(frames, values);
    d.endChangeBlock("Set Keys");
    m_refused = !keyed;
    return keyed;
}

float XAttribute::ValueAtFrame(float frame) const {
    XAnimation animation = Animation();
    return animation.IsValid() ? animation.Evaluate(frame) : Float();
}

bool XAttribute::ClearAnimation() {
    XAnimation animation = Animation();
    if (!animation.IsValid()) return false;
    db::Database& d = m_database->db();
    const db::Value current = d.value(m_key);
    d.beginChangeBlock();
    d.remove(animation.ObjectID());
    d.setValue(m_key, current);  // the attribute keeps the value it showed
    d.endChangeBlock("Clear Animation");
    return true;
}

}  // namespace VelX
