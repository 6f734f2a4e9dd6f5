#pragma once

#include <veleditors/VelAttribute.h>

#include <wx/string.h>

#include <vector>

namespace wxUtils {

// One row of an attribute list over its data object. The row keeps what it paints (label, value
// text, flags) from its last rebuild(), so a paint never goes back to the data; setters hand the
// value to the data object, and the caller rebuilds the row afterwards.
class VelAttributeGroup {
public:
    // The data object is not owned; a custom label replaces the data's name when not empty.
    VelAttributeGroup(VelAttribute* attribute, const wxString& customLabel = wxEmptyString);

    VelAttribute* getAttribute() const { return m_attribute; }
    int getType() const { return m_type; }

    bool setIntegerValue(int value);
    bool setFloatValue(float value);
    bool setBooleanValue(bool value);
    bool setStringValue(const wxString& value);
    bool setEnumerationIndex(int index);
    bool setEnumerationValue(const wxString& value);

    // Reads name, flags and value from the data object again.
    void rebuild();

    const wxString& getLabel() const { return m_label; }
    const wxString& getName() const { return m_name; }  // the data's own name, whatever the label
    // The value as the row shows it; a dash when the gathered values differ.
    const wxString& getValueText() const { return m_valueText; }
    // The value as an edit field starts with (the number without a dash or units).
    wxString getEditText() const;
    const wxString& getUnits() const { return m_units; }
    const std::vector<wxString>& getEnumerationValues() const { return m_enumValues; }
    int getIntegerValue() const { return m_int; }
    float getFloatValue() const { return m_float; }
    bool getBooleanValue() const { return m_bool; }
    bool isAnimated() const { return m_animated; }
    bool isConnected() const { return m_connected; }
    bool isEditable() const { return m_editable; }
    bool isMultiple() const { return m_multiple; }

    // The text a float is shown with: up to four decimals, trailing zeros dropped.
    static wxString formatFloat(float value);

private:
    VelAttribute* m_attribute;
    wxString m_customLabel;
    wxString m_label;
    wxString m_name;
    int m_type = VelAttribute::None;
    wxString m_valueText;
    wxString m_units;
    std::vector<wxString> m_enumValues;
    int m_int = 0;
    float m_float = 0.0f;
    bool m_bool = false;
    wxString m_string;
    bool m_animated = false;
    bool m_connected = false;
    bool m_editable = false;
    bool m_multiple = false;
};

}  // namespace wxUtils
