#pragma once

#include <wx/string.h>

#include <vector>

namespace wxUtils {

// The data behind one row of an attribute list. The list never sees where the value lives: it asks
// this object for the row's name, kind, flags and value, and hands it the user's edits. Value getters
// answer true when they gave a value; setters answer true when the value was taken.
class VelAttribute {
public:
    // Row kinds that getType() answers.
    enum Kind { Integer = 0, Enumeration = 1, Boolean = 2, Float = 3, String = 4, None = 5 };

    virtual ~VelAttribute();

    virtual void getName(wxString& name) = 0;
    virtual int getType() = 0;
    virtual bool isAnimated() = 0;
    virtual bool isConnected() = 0;
    virtual bool isFlagged() = 0;
    virtual bool isEditable() = 0;
    virtual bool isMultiple() = 0;  // the gathered values differ
    virtual bool isSpecial() = 0;
    virtual bool getIntegerValue(int& value) = 0;
    virtual bool setIntegerValue(int value) = 0;
    virtual bool getFloatValue(float& value, wxString& units) = 0;
    virtual bool setFloatValue(float value) = 0;
    virtual bool getBooleanValue(bool& value) = 0;
    virtual bool setBooleanValue(bool value) = 0;
    virtual bool getStringValue(wxString& value) = 0;
    virtual bool setStringValue(const wxString& value) = 0;
    virtual bool getEnumerationIndex(int& index) = 0;
    virtual bool getEnumerationValue(wxString& value) = 0;
    virtual bool getEnumerationValues(std::vector<wxString>& values) = 0;
    virtual bool setEnumerationIndex(int index) = 0;
    virtual bool setEnumerationValue(const wxString& value) = 0;
    virtual bool getIntegerRange(int& min, int& max, bool& hasMin, bool& hasMax) = 0;
    virtual bool getFloatRange(float& min, float& max, bool& hasMin, bool& hasMax) = 0;
};

}  // namespace wxUtils
