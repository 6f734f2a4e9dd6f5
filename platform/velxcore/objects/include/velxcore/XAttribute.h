#pragma once

#include <velxcore/XObject.h>

#include <veldatabase/AttrKey.h>
#include <velutils/Matrix4.h>
#include <velutils/Vector.h>

#include <string>
#include <vector>

namespace db {
struct AttributeDef;
class Value;
}

namespace VelX {

class XAnimation;
class XKeyframe;

// A cheap value handle to one attribute of one object: a top-level attribute, a child of a
// compound ("colour.r"), an array element ("plugins[3]") or a field of an element ("plugins[3].path").
class XAttribute {
public:
    static const XAttribute Undefined;
    static const int MinNumericDecimalPlaces;
    static const int MaxNumericDecimalPlaces;

    XAttribute() = default;
    XAttribute(XDatabase* database, const db::AttrKey& key) : m_database(database), m_key(key) {}
    // Resolves "Object/Path.attribute", "Object.colour.r" or "Object.plugins[3].path".
    XAttribute(XDatabase& database, const std::wstring& path);

    // Identity.
    bool IsValid() const;
    std::wstring Name() const;
    std::wstring DisplayName() const;
    std::wstring ConciseDisplayName() const;
    std::wstring Path() const;
    void LocalPathName(std::wstring& out) const;
    int AttributeID() const;
    int Index() const;
    XObject Object() const;
    XAttribute ParentAttribute() const;
    bool operator==(const XAttribute& o) const { return m_database == o.m_database && m_key == o.m_key; }
    bool operator!=(const XAttribute& o) const { return !(*this == o); }
    bool operator<(const XAttribute& o) const {
        return m_database != o.m_database ? m_database < o.m_database : m_key < o.m_key;
    }
    static std::wstring ConvertToDisplayName(const std::wstring& internalName);
    static std::wstring ConvertToInternalName(const std::wstring& displayName);

    // Structure: compounds list their children, arrays their elements, compound elements their fields.
    bool IsCompositeAttribute() const;
    int AttributeCount() const;
    XAttribute Attribute(int index) const;
    void Attributes(Velutils::Vector<XAttribute>& out) const;
    bool IsArrayAttribute() const;   // an array (not one of its elements)
    bool IsAttributeArray() const;   // an array whose elements are compounds
    int ArraySize() const;
    bool SetArraySize(int size);
    bool IsNode() const;             // the object's own message attribute
    bool IsCustom() const;

    // Value type tests.
    int Type() const;
    bool IsBool() const, IsInt() const, IsFloat() const, IsDouble() const, IsEnum() const, IsString() const,
        IsVector() const, IsQuaternion() const, IsMatrix() const, IsObjectRef() const;
    bool IsBoolArray() const, IsIntArray() const, IsFloatArray() const, IsDoubleArray() const, IsEnumArray() const,
        IsStringArray() const, IsVectorArray() const, IsQuaternionArray() const, IsMatrixArray() const,
        IsObjectRefArray() const;

    // Flags.
    bool IsEditable() const;
    // Editable by its definition, whether or not an input (animation or a connection) drives it now.
    bool IsEditableWhenUndriven() const;
    bool IsVisible() const;
    bool IsComputed() const;
    bool IsAssigned() const;
    bool IsAnimatable() const;
    bool IsAnimated() const;

    // Values (evaluated: inputs and animation are followed).
    bool Boolean() const;
    int Integer() const;
    float Float() const;
    double Double() const;
    int Enumeration() const;
    std::wstring EnumerationString() const;
    std::wstring EnumerationDisplayString() const;
    void EnumerationDisplayStrings(std::vector<std::wstring>& out) const;
    std::wstring String() const;
    XObject ObjectRef() const;
    Velutils::Vec3 Vector() const;
    Velutils::Matrix4 Matrix() const;
    std::wstring DisplayValue() const;
    int Units() const;
    float AsDisplayFloat() const;
    XAttribute& SetDisplayFloat(float displayValue);

    XAttribute& SetBoolean(bool value);
    XAttribute& SetInteger(int value);
    XAttribute& SetFloat(float value);
    XAttribute& SetDouble(double value);
    XAttribute& SetEnumeration(int index);
    XAttribute& SetEnumeration(const std::wstring& name);
    XAttribute& SetString(const std::wstring& value);
    XAttribute& SetVector(const Velutils::Vec3& value);
    XAttribute& SetMatrix(const Velutils::Matrix4& value);
    XAttribute& SetObjectRef(const XObject& object);
    XAttribute& ClearObjectRef();
    XAttribute& CopyValue(const XAttribute& source);

    // Connections. HasInput counts object references too; IsConnectedInput only value connections.
    bool HasInput() const;
    bool IsConnectedInput() const;
    XAttribute InputAttribute() const;
    XObject InputObject() const;
    bool ConnectInputTo(const XAttribute& source);
    bool DisconnectInput();
    bool HasOutput() const;
    int OutputCount() const;
    XAttribute OutputAttribute(int index) const;
    XObject OutputObject(int index) const;
    void OutputAttributes(Velutils::Vector<XAttribute>& out) const;
    void OutputObjects(Velutils::Vector<XObject>& out) const;

    // Animation.
    XAnimation Animation() const;
    // The value this attribute would show at another frame: its curve there when animated.
    float ValueAtFrame(float frame) const;
    XKeyframe SetKeyframe();
    // Keys this value (in internal or in display units) at the current frame: what typing into an
    // animated attribute does. Refused (see WasRefused) when the attribute cannot be keyed.
    XKeyframe SetKeyframe(float value);
    XKeyframe SetDisplayKeyframe(float displayValue);
    // Keys a value at any frame, without moving the current one (an importer, a script).
    XKeyframe SetKeyframeAt(float frame, float value);
    // Keys many values at once (frames and values pair up), as one edit of the curve: a key at a
    // frame that has one replaces its value. Refused (false) when the attribute cannot be keyed,
    // the lists differ in length or hold a number that is not finite.
    bool SetKeyframesAt(const std::vector<float>& frames, const std::vector<float>& values);
    bool ClearAnimation();

    // Whether the database refused the last setter called on this handle (the setters return the
    // handle itself), and why, in words for the user ("it is animated"); "" when it was accepted.
    bool WasRefused() const { return m_refused; }
    std::wstring RefusalReason() const;

    // Objects of one type share their attributes' definitions: whether this attribute and the
    // other are the same attribute of their type (custom attributes have definitions of their own).
    bool HasSameDefinition(const XAttribute& other) const;
    // The same attribute of the type on another object of the same type, made without a look-up
    // (a panel gathering one attribute over thousands of objects); invalid for objects of another
    // type or when this is a custom attribute.
    XAttribute SameAttributeOf(const XObject& object) const;

    // Core internals.
    const db::AttrKey& key() const { return m_key; }
    XDatabase* DatabasePointer() const { return m_database; }
    const db::AttributeDef* def() const;

private:
    bool setValue(const db::Value& value);
    // The curve that animates this attribute, made and connected when there is none yet.
    XAnimation AnimationToKey();

    XDatabase* m_database = nullptr;
    db::AttrKey m_key;
    bool m_refused = false;
};

}  // namespace VelX
