#include <veleditors/VelAttributeGroup.h>

namespace wxUtils {

namespace {
const wxString MixedText = wxString::FromUTF8("\xe2\x80\x94");  // an em dash
}

VelAttributeGroup::VelAttributeGroup(VelAttribute* attribute, const wxString& customLabel)
    : m_attribute(attribute), m_customLabel(customLabel) {
    rebuild();
}

bool VelAttributeGroup::setIntegerValue(int value) { return m_attribute && m_attribute->setIntegerValue(value); }
bool VelAttributeGroup::setFloatValue(float value) { return m_attribute && m_attribute->setFloatValue(value); }
bool VelAttributeGroup::setBooleanValue(bool value) { return m_attribute && m_attribute->setBooleanValue(value); }
bool VelAttributeGroup::setStringValue(const wxString& value) {
    return m_attribute && m_attribute->setStringValue(value);
}
bool VelAttributeGroup::setEnumerationIndex(int index) { return m_attribute && m_attribute->setEnumerationIndex(index); }
bool VelAttributeGroup::setEnumerationValue(const wxString& value) {
    return m_attribute && m_attribute->setEnumerationValue(value);
}

wxString VelAttributeGroup::formatFloat(float value) {
    wxString text = wxString::Format("%.4f", static_cast<double>(value));
    while (text.EndsWith("0")) text.RemoveLast();
    if (text.EndsWith(".")) text.RemoveLast();
    if (text == "-0") text = "0";
    return text;
}

wxString VelAttributeGroup::getEditText() const {
    if (m_multiple && m_type != VelAttribute::String) return wxEmptyString;
    switch (m_type) {
    case VelAttribute::Integer: return wxString::Format("%d", m_int);
    case VelAttribute::Float: return formatFloat(m_float);
    case VelAttribute::String: return m_multiple ? wxString() : m_string;
    default: return m_valueText;
    }
}

void VelAttributeGroup::rebuild() {
    m_type = VelAttribute::None;
    m_valueText.clear();
    m_units.clear();
    m_enumValues.clear();
    if (!m_attribute) return;
    m_attribute->getName(m_name);
    m_label = m_customLabel.empty() ? m_name : m_customLabel;
    m_type = m_attribute->getType();
    switch (m_type) {
    case VelAttribute::Integer:
        m_attribute->getIntegerValue(m_int);
        m_valueText = wxString::Format("%d", m_int);
        break;
    case VelAttribute::Float:
        m_attribute->getFloatValue(m_float, m_units);
        m_valueText = formatFloat(m_float);
        break;
    case VelAttribute::Boolean:
        m_attribute->getBooleanValue(m_bool);
        m_valueText = m_bool ? "on" : "off";
        break;
    case VelAttribute::Enumeration: {
        int index = 0;
        m_attribute->getEnumerationIndex(index);
        m_int = index;
        m_attribute->getEnumerationValue(m_valueText);
        m_attribute->getEnumerationValues(m_enumValues);
        break;
    }
    case VelAttribute::String:
        m_attribute->getStringValue(m_string);
        m_valueText = m_string;
        break;
    default: break;
    }
    // Flags after the value: the data object refreshes its flags when its value is read.
    m_animated = m_attribute->isAnimated();
    m_connected = m_attribute->isConnected();
    m_editable = m_attribute->isEditable();
    m_multiple = m_attribute->isMultiple();
    if (m_multiple) m_valueText = MixedText;
}

}  // namespace wxUtils
