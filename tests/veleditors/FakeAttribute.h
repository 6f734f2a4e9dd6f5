#pragma once

#include <veleditors/VelAttribute.h>

#include <vector>

// Row data held in memory: what a test sets is what the row reads; edits are counted.
class FakeAttribute : public wxUtils::VelAttribute {
public:
    FakeAttribute(const wxString& name, int kind) : name(name), kind(kind) {}

    wxString name;
    int kind;
    bool animated = false, connected = false, editable = true, multiple = false;
    int integer = 0;
    float real = 0.0f;
    bool boolean = false;
    wxString text;
    std::vector<wxString> choices;
    int choice = 0;
    int writes = 0;
    wxString units;

    void getName(wxString& out) override { out = name; }
    int getType() override { return kind; }
    bool isAnimated() override { return animated; }
    bool isConnected() override { return connected; }
    bool isFlagged() override { return false; }
    bool isEditable() override { return editable; }
    bool isMultiple() override { return multiple; }
    bool isSpecial() override { return false; }
    bool getIntegerValue(int& value) override { value = integer; return true; }
    bool setIntegerValue(int value) override { integer = value; ++writes; return true; }
    bool getFloatValue(float& value, wxString& unitsOut) override { value = real; unitsOut = units; return true; }
    bool setFloatValue(float value) override { real = value; ++writes; return true; }
    bool getBooleanValue(bool& value) override { value = boolean; return true; }
    bool setBooleanValue(bool value) override { boolean = value; ++writes; return true; }
    bool getStringValue(wxString& value) override { value = text; return true; }
    bool setStringValue(const wxString& value) override { text = value; ++writes; return true; }
    bool getEnumerationIndex(int& index) override { index = choice; return true; }
    bool getEnumerationValue(wxString& value) override {
        value = choice >= 0 && choice < static_cast<int>(choices.size()) ? choices[choice] : wxString();
        return true;
    }
    bool getEnumerationValues(std::vector<wxString>& values) override { values = choices; return true; }
    bool setEnumerationIndex(int index) override { choice = index; ++writes; return true; }
    bool setEnumerationValue(const wxString& value) override {
        for (size_t i = 0; i < choices.size(); ++i)
            if (choices[i] == value) { choice = static_cast<int>(i); ++writes; return true; }
        return false;
    }
    bool getIntegerRange(int& min, int& max, bool& hasMin, bool& hasMax) override {
        min = max = 0; hasMin = hasMax = false; return true;
    }
    bool getFloatRange(float& min, float& max, bool& hasMin, bool& hasMax) override {
        min = max = 0; hasMin = hasMax = false; return true;
    }
};
