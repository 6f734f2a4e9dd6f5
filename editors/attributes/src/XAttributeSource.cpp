#include <velxui/XAttributeControl.h>
#include <velxui/XAttributeSource.h>
#include <velxui/XStatusNote.h>

#include <velxcore/XApplication.h>
#include <velxcore/XDatabase.h>
#include <velxcore/XKeyframe.h>
#include <velxcore/XObject.h>

#include <algorithm>

namespace VelXUI {

namespace {
// Row kinds of wxUtils::VelAttribute by value kind.
int rowKind(int valueKind) {
    switch (valueKind) {
    case XAttributeSource::IntegerKind: return wxUtils::VelAttribute::Integer;
    case XAttributeSource::BooleanKind: return wxUtils::VelAttribute::Boolean;
    case XAttributeSource::EnumerationKind: return wxUtils::VelAttribute::Enumeration;
    case XAttributeSource::FloatKind: return wxUtils::VelAttribute::Float;
    case XAttributeSource::StringKind:
    case XAttributeSource::ObjectReferenceKind: return wxUtils::VelAttribute::String;
    default: return wxUtils::VelAttribute::None;
    }
}

std::wstring referencedName(const VelX::XAttribute& attribute) {
    const VelX::XObject input = attribute.InputObject();
    return input.IsValid() ? input.Name() : std::wstring();
}
}  // namespace

XAttributeSource::XAttributeSource(XAttributeControl* control, const VelX::XAttribute& first, bool conciseLabel)
    : m_control(control) {
    m_attributes.push_back(first);
    m_objectType = first.Object().ObjectType();
    m_attributeName = first.Name();
    m_label = conciseLabel ? first.ConciseDisplayName() : first.DisplayName();
    m_valueKind = first.Type();
    m_unitKind = first.Units();
    m_unitsLabel = VelX::XApplication::Instance().DisplayUnits().shortName(m_unitKind);
    if (first.IsEnum() || first.IsEnumArray()) first.EnumerationDisplayStrings(m_enumStrings);
    refresh();
}

void XAttributeSource::refresh() {
    m_fresh = false;
    // The display units may have changed since the row was made (the values are read in them too).
    m_unitsLabel = VelX::XApplication::Instance().DisplayUnits().shortName(m_unitKind);
    m_animated = m_connected = m_editable = true;
    m_mixed = m_flagged = false;
    m_integer = 0;
    m_float = 0.0f;
    m_boolean = false;
    m_string.clear();
    m_enumString.clear();
    m_enumIndex = 0;
    if (m_attributes.empty()) return;
    // The row shows the last attribute's value; the others only decide whether it is mixed.
    const VelX::XAttribute& last = m_attributes.back();
    readValue(last);
    foldFlags(last);
    for (size_t i = 0; i + 1 < m_attributes.size(); ++i) {
        // Once mixed, and once a flag is false, there is nothing more to learn from the values or
        // that flag: over thousands of objects the remaining reads are skipped.
        if (!m_mixed && differs(m_attributes[i])) m_mixed = true;
        foldFlags(m_attributes[i]);
    }
}

void XAttributeSource::readValue(const VelX::XAttribute& attribute) {
    switch (m_valueKind) {
    case IntegerKind: m_integer = attribute.Integer(); break;
    case BooleanKind: m_boolean = attribute.Boolean(); break;
    case EnumerationKind:
        m_enumIndex = attribute.Enumeration();
        m_enumString = attribute.EnumerationDisplayString();
        break;
    case FloatKind: m_float = attribute.AsDisplayFloat(); break;
    case StringKind: m_string = attribute.String(); break;
    case ObjectReferenceKind: m_string = referencedName(attribute); break;
    default: break;
    }
    m_mixed = false;
}

bool XAttributeSource::differs(const VelX::XAttribute& attribute) const {
    switch (m_valueKind) {
    case IntegerKind: return attribute.Integer() != m_integer;
    case BooleanKind: return attribute.Boolean() != m_boolean;
    case EnumerationKind: return attribute.Enumeration() != m_enumIndex;
    case FloatKind: return attribute.AsDisplayFloat() != m_float;  // exact: no tolerance on purpose
    case StringKind: return attribute.String() != m_string;
    case ObjectReferenceKind: return true;  // two or more references always read as mixed
    default: return false;
    }
}

void XAttributeSource::foldFlags(const VelX::XAttribute& attribute) {
    // Every gathered attribute has the source's value kind, so the matrix test is the kind's. A keyed
    // or driven row still takes typing: a key at the current frame, or a refusal naming the driver.
    m_editable = m_editable && m_valueKind != MatrixKind && attribute.IsEditableWhenUndriven();
    m_animated = m_animated && attribute.IsAnimated();
    m_connected = m_connected && attribute.IsConnectedInput();
}

void XAttributeSource::refreshUnlessFresh() {
    // A setter has just read everything back; the row that rebuilds right after it need not read
    // thousands of attributes again. Any later read refreshes.
    if (!m_fresh) refresh();
    m_fresh = false;
}

bool XAttributeSource::isDisplayable() const {
    switch (m_valueKind) {
    case IntegerKind: case BooleanKind: case EnumerationKind: case FloatKind: case StringKind:
    case ObjectReferenceKind: break;
    default: return false;
    }
    if (m_attributes.empty() || !m_attributes.front().IsVisible()) return false;
    if (!m_control) return true;
    for (const VelX::XAttribute& attribute : m_attributes)
        if (m_control->satisfiesDisplayFilter(attribute)) return true;
    return false;
}

std::wstring XAttributeSource::localPathName() const {
    std::wstring path;
    if (!m_attributes.empty()) m_attributes.front().LocalPathName(path);
    return path;
}

std::wstring XAttributeSource::displayValue() const {
    return m_attributes.empty() ? std::wstring() : m_attributes.front().DisplayValue();
}

bool XAttributeSource::anyAnimated() const {
    return std::any_of(m_attributes.begin(), m_attributes.end(), [](const VelX::XAttribute& a) { return a.IsAnimated(); });
}
bool XAttributeSource::anyConnected() const {
    return std::any_of(m_attributes.begin(), m_attributes.end(),
                       [](const VelX::XAttribute& a) { return a.IsConnectedInput() && !a.IsAnimated(); });
}
bool XAttributeSource::anyKeyable() const {
    return std::any_of(m_attributes.begin(), m_attributes.end(), [](const VelX::XAttribute& a) { return a.IsAnimatable(); });
}

void XAttributeSource::key() {
    for (VelX::XAttribute& attribute : m_attributes)
        if (attribute.IsAnimatable()) attribute.SetKeyframe();
    refresh();
}

void XAttributeSource::clearKeys() {
    for (VelX::XAttribute& attribute : m_attributes) attribute.ClearAnimation();
    refresh();
}

void XAttributeSource::disconnect() {
    for (VelX::XAttribute& attribute : m_attributes) attribute.DisconnectInput();
    refresh();
}

void XAttributeSource::unify() {
    if (m_attributes.size() >= 2) {
        const VelX::XAttribute last = m_attributes.back();
        for (size_t i = 0; i + 1 < m_attributes.size(); ++i) m_attributes[i].CopyValue(last);
    }
    refresh();
}

void XAttributeSource::getName(wxString& name) { name = wxString(m_label); }

int XAttributeSource::getType() { return rowKind(m_valueKind); }

// A keyed attribute refuses a plain write (its curve drives it); the setters then key the value at
// the current frame instead. Asking first would cost a look-up per attribute on every write.
template <typename Set> void XAttributeSource::writeEvery(Set set) {
    size_t refused = 0;
    VelX::XAttribute first;
    for (VelX::XAttribute& attribute : m_attributes) {
        set(attribute);
        if (attribute.WasRefused() && refused++ == 0) first = attribute;
    }
    m_wroteAll = refused == 0;
    if (refused == 0 && !m_attributes.empty()) {
        // Every attribute took the same value and a write changes no flag: one read gives the
        // row's value, over thousands of objects.
        readValue(m_attributes.back());
    } else {
        refresh();
    }
    m_fresh = true;
    if (refused == 0) return;
    std::wstring line = L"\"" + m_label + L"\": ";
    if (m_attributes.size() > 1)
        line += std::to_wstring(refused) + L" of " + std::to_wstring(m_attributes.size()) + L" objects kept their value; ";
    line += first.Object().Path() + L" refused it: " + first.RefusalReason() + L".";
    // Said where the user looks (the status bar) and kept in the log.
    XStatusNote::Show(m_control, wxString(line));
}

bool XAttributeSource::getIntegerValue(int& value) {
    refreshUnlessFresh();
    value = m_integer;
    return true;
}

bool XAttributeSource::setIntegerValue(int value) {
    writeEvery([&](VelX::XAttribute& attribute) {
        if (attribute.SetInteger(value).WasRefused() && attribute.IsAnimated())
            attribute.SetKeyframe(static_cast<float>(value));
    });
    return true;
}

bool XAttributeSource::getFloatValue(float& value, wxString& units) {
    refreshUnlessFresh();
    value = m_float;
    units = wxString(m_unitsLabel);
    return true;
}

bool XAttributeSource::setFloatValue(float value) {
    writeEvery([&](VelX::XAttribute& attribute) {
        if (attribute.SetDisplayFloat(value).WasRefused() && attribute.IsAnimated()) attribute.SetDisplayKeyframe(value);
    });
    return true;
}

void XAttributeSource::rememberScrubStart() {
    m_scrubStart.clear();
    for (const VelX::XAttribute& attribute : m_attributes)
        m_scrubStart.push_back(m_valueKind == IntegerKind ? static_cast<float>(attribute.Integer()) : attribute.AsDisplayFloat());
}

bool XAttributeSource::offsetFromScrubStart(float delta) {
    if (m_scrubStart.size() != m_attributes.size() || (m_valueKind != FloatKind && m_valueKind != IntegerKind)) return false;
    const VelX::XAttribute* first = m_attributes.data();
    writeEvery([&](VelX::XAttribute& attribute) {
        const float value = m_scrubStart[static_cast<size_t>(&attribute - first)] + delta;
        if (m_valueKind == IntegerKind) {
            if (attribute.SetInteger(static_cast<int>(value)).WasRefused() && attribute.IsAnimated())
                attribute.SetKeyframe(static_cast<float>(static_cast<int>(value)));
        } else if (attribute.SetDisplayFloat(value).WasRefused() && attribute.IsAnimated()) {
            attribute.SetDisplayKeyframe(value);
        }
    });
    if (m_attributes.size() > 1) {
        refresh();  // the objects moved from different values: the row may still be mixed
        m_fresh = true;
    }
    return true;
}

bool XAttributeSource::getBooleanValue(bool& value) {
    refreshUnlessFresh();
    value = m_boolean;
    return true;
}

bool XAttributeSource::setBooleanValue(bool value) {
    writeEvery([&](VelX::XAttribute& attribute) {
        if (attribute.SetBoolean(value).WasRefused() && attribute.IsAnimated()) attribute.SetKeyframe(value ? 1.0f : 0.0f);
    });
    return true;
}

bool XAttributeSource::getStringValue(wxString& value) {
    refreshUnlessFresh();
    value = wxString(m_string);
    return true;
}

bool XAttributeSource::setStringValue(const wxString& value) {
    if (m_valueKind == ObjectReferenceKind) return setObjectReference(value.Strip(wxString::both).ToStdWstring());
    const std::wstring text = value.ToStdWstring();
    writeEvery([&](VelX::XAttribute& attribute) { attribute.SetString(text); });
    return true;
}

namespace {
// The object a user means by what they typed: a path, or a name that only one object has.
VelX::XObject objectNamed(VelX::XDatabase& database, const std::wstring& text, std::wstring& problem) {
    VelX::XObject byPath = database.Object(text);
    if (byPath.IsValid()) return byPath;
    std::vector<VelX::XObject> found, stack{database.RootObject()};
    while (!stack.empty() && found.size() < 2) {
        const VelX::XObject object = stack.back();
        stack.pop_back();
        for (int i = 0; i < object.ChildCount(); ++i) stack.push_back(object.Child(i));
        if (object.Name() == text) found.push_back(object);
    }
    if (found.size() == 1) return found.front();
    problem = found.empty() ? L"no object is called \"" + text + L"\""
                            : L"several objects are called \"" + text + L"\"; type its path";
    return {};
}
}  // namespace

bool XAttributeSource::setObjectReference(const std::wstring& text) {
    if (m_attributes.empty()) return true;
    if (text.empty()) {
        writeEvery([](VelX::XAttribute& attribute) { attribute.ClearObjectRef(); });
        return true;
    }
    // The field starts with the referenced name: committing it unchanged changes nothing.
    if (!m_mixed && text == referencedName(m_attributes.back())) return true;
    std::wstring problem;
    const VelX::XObject target = objectNamed(*m_attributes.front().DatabasePointer(), text, problem);
    if (!target.IsValid()) {
        XStatusNote::Show(m_control, wxString(L"\"" + m_label + L"\" keeps its object: " + problem + L"."));
        return true;
    }
    writeEvery([&](VelX::XAttribute& attribute) { attribute.SetObjectRef(target); });
    return true;
}

bool XAttributeSource::getEnumerationIndex(int& index) {
    refreshUnlessFresh();
    index = m_enumIndex;
    return true;
}

bool XAttributeSource::getEnumerationValue(wxString& value) {
    refreshUnlessFresh();
    value = wxString(m_enumString);
    return true;
}

bool XAttributeSource::getEnumerationValues(std::vector<wxString>& values) {
    values.clear();
    for (const std::wstring& text : m_enumStrings) values.emplace_back(text);
    return true;
}

bool XAttributeSource::setEnumerationIndex(int index) {
    writeEvery([&](VelX::XAttribute& attribute) {
        if (attribute.SetEnumeration(index).WasRefused() && attribute.IsAnimated())
            attribute.SetKeyframe(static_cast<float>(index));
    });
    return true;
}

bool XAttributeSource::setEnumerationValue(const wxString& value) {
    const std::wstring text = value.ToStdWstring();
    writeEvery([&](VelX::XAttribute& attribute) { attribute.SetEnumeration(text); });
    return true;
}

bool XAttributeSource::getIntegerRange(int& min, int& max, bool& hasMin, bool& hasMax) {
    min = max = 0;
    hasMin = hasMax = false;
    return true;
}

bool XAttributeSource::getFloatRange(float& min, float& max, bool& hasMin, bool& hasMax) {
    min = max = 0.0f;
    hasMin = hasMax = false;
    return true;
}

}  // namespace VelXUI
