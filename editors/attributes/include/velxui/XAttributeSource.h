#pragma once

#include <veleditors/VelAttribute.h>
#include <velxcore/XAttribute.h>

#include <string>
#include <vector>

namespace VelXUI {

class XAttributeControl;

// The data of one attribute row: one attribute name of one object type gathered over every shown
// object of that type, so that one row reads and writes the attribute of all of them. The row shows
// the value of the last gathered attribute; it is mixed when the others differ from it.
class XAttributeSource : public wxUtils::VelAttribute {
public:
    // Value kinds of VelX::XAttribute::Type() that a row can show.
    enum ValueKind { IntegerKind = 1, BooleanKind = 2, EnumerationKind = 3, FloatKind = 4, StringKind = 6,
                     ObjectReferenceKind = 8, MatrixKind = 10 };

    XAttributeSource(XAttributeControl* control, const VelX::XAttribute& first, bool conciseLabel);

    void addAttribute(const VelX::XAttribute& attribute) { m_attributes.push_back(attribute); }
    const std::vector<VelX::XAttribute>& attributes() const { return m_attributes; }
    const std::wstring& objectType() const { return m_objectType; }
    const std::wstring& attributeName() const { return m_attributeName; }
    const std::wstring& label() const { return m_label; }
    const std::wstring& unitsLabel() const { return m_unitsLabel; }
    int valueKind() const { return m_valueKind; }
    int unitKind() const { return m_unitKind; }

    // Reads every gathered attribute again: the value of the last, mixed and the folded flags.
    void refresh();
    // Whether the row may be shown at all: a kind a row can show, a visible first attribute and at
    // least one attribute that the control's display filter lets through.
    bool isDisplayable() const;
    std::wstring localPathName() const;
    std::wstring displayValue() const;

    // The row actions, each followed by a refresh.
    void key();          // a keyframe on every animatable attribute
    void clearKeys();    // the animation of every attribute removed
    void disconnect();   // the input connection of every attribute removed
    void unify();        // every attribute takes the value of the last one

    bool isDirty() const { return m_dirty; }
    void setDirty(bool dirty) { m_dirty = dirty; }
    // Whether the row's last setter wrote one value to every attribute, all accepted, since the
    // edit's change block opened: the change round that ends the block then brings the row nothing
    // new. The edit forgets it when its block ends.
    bool wroteEveryAttribute() const { return m_wroteAll; }
    void forgetWrite() { m_wroteAll = false; }

    // wxUtils::VelAttribute
    void getName(wxString& name) override;
    int getType() override;
    bool isAnimated() override { return m_animated; }
    bool isConnected() override { return m_connected; }
    bool isFlagged() override { return m_flagged; }
    bool isEditable() override { return m_editable; }
    // Which row commands apply (the row menu enables them): any of the objects keyed, driven by a
    // connection, or able to take a key.
    bool anyAnimated() const;
    bool anyConnected() const;
    bool anyKeyable() const;
    size_t attributeCount() const { return m_attributes.size(); }
    bool isObjectReference() const { return m_valueKind == ObjectReferenceKind; }
    // A scrub moves each object from its own value: note the values, then offset them.
    void rememberScrubStart();
    bool offsetFromScrubStart(float delta);
    bool isMultiple() override { return m_mixed; }
    bool isSpecial() override { return false; }
    bool getIntegerValue(int& value) override;
    bool setIntegerValue(int value) override;
    bool getFloatValue(float& value, wxString& units) override;
    bool setFloatValue(float value) override;
    bool getBooleanValue(bool& value) override;
    bool setBooleanValue(bool value) override;
    bool getStringValue(wxString& value) override;
    bool setStringValue(const wxString& value) override;
    bool getEnumerationIndex(int& index) override;
    bool getEnumerationValue(wxString& value) override;
    bool getEnumerationValues(std::vector<wxString>& values) override;
    bool setEnumerationIndex(int index) override;
    bool setEnumerationValue(const wxString& value) override;
    bool getIntegerRange(int& min, int& max, bool& hasMin, bool& hasMax) override;
    bool getFloatRange(float& min, float& max, bool& hasMin, bool& hasMax) override;

private:
    // Typed text on an object-reference row: a path or a unique name; empty text clears.
    bool setObjectReference(const std::wstring& text);
    void refreshUnlessFresh();
    // Writes every attribute with `set`, refreshes, and tells the user in the log which objects
    // refused the value and why (a driven or computed attribute, a choice it does not have).
    template <typename Set> void writeEvery(Set set);
    void readValue(const VelX::XAttribute& attribute);
    bool differs(const VelX::XAttribute& attribute) const;
    void foldFlags(const VelX::XAttribute& attribute);

    XAttributeControl* m_control;
    std::wstring m_objectType;
    std::wstring m_attributeName;
    std::vector<VelX::XAttribute> m_attributes;
    std::wstring m_label;
    std::wstring m_unitsLabel;
    std::vector<std::wstring> m_enumStrings;
    int m_valueKind = FloatKind;
    int m_unitKind = 2;
    bool m_animated = true;
    bool m_connected = true;
    bool m_editable = true;
    bool m_mixed = false;
    bool m_flagged = false;
    int m_integer = 0;
    bool m_boolean = false;
    float m_float = 0.0f;
    std::wstring m_string;
    int m_enumIndex = 0;
    std::wstring m_enumString;
    bool m_dirty = false;
    bool m_fresh = false;  // refreshed by a setter and not read since
    std::vector<float> m_scrubStart;  // display values when the scrub began, per attribute
    bool m_wroteAll = false;
};

}  // namespace VelXUI
