#include "FakeAttribute.h"

#include <veleditors/VelAttributeControl.h>

#include <guitest/GuiTest.h>

#include <gtest/gtest.h>
#include <wx/frame.h>
#include <wx/sizer.h>
#include <wx/textctrl.h>
#include <wx/uiaction.h>

#include <memory>

using wxUtils::VelAttribute;
using wxUtils::VelAttributeGroup;

namespace {

// Counts the brackets around a scrub.
class CountingControl : public wxUtils::VelAttributeControl {
public:
    int begins = 0, ends = 0;

protected:
    void onBeginInteractiveEdit() override { ++begins; }
    void onEndInteractiveEdit() override { ++ends; }
};

class AttributeListFixture : public ::testing::Test {
protected:
    void SetUp() override {
        real.real = 1.5f;
        real.units = "cm";
        integer.integer = 7;
        toggle.boolean = false;
        text.text = "hello";
        frame = new wxFrame(nullptr, wxID_ANY, "attributes", wxPoint(40, 40), wxSize(420, 300));
        control = new CountingControl;
        control->Create(frame);
        for (FakeAttribute* attribute : {&real, &toggle, &integer, &text}) control->addAttribute(attribute);
        GuiTest::showFilling(frame, control);
        GuiTest::pumpEvents(50);
    }
    void TearDown() override {
        frame->Destroy();
        GuiTest::pumpEvents(10);
    }
    wxPoint valuePoint(int row, int dx = 12) const {
        const wxRect rect = control->getItemRect(row);
        return control->ClientToScreen(wxPoint(control->getNameColumnWidth() + dx, rect.y + rect.height / 2));
    }
    void clickValue(int row) {
        wxUIActionSimulator input;
        input.MouseMove(valuePoint(row));
        GuiTest::pumpEvents(20);
        input.MouseClick();
        GuiTest::pumpEvents(60);
    }
    void type(const char* keys) {
        wxUIActionSimulator input;
        input.Text(keys);
        GuiTest::pumpEvents(40);
    }
    void press(int key, int modifiers = wxMOD_NONE) {
        wxUIActionSimulator input;
        input.Char(key, modifiers);
        GuiTest::pumpEvents(60);
    }

    FakeAttribute real{"Length", VelAttribute::Float};
    FakeAttribute toggle{"Enabled", VelAttribute::Boolean};
    FakeAttribute integer{"Count", VelAttribute::Integer};
    FakeAttribute text{"Label", VelAttribute::String};
    wxFrame* frame = nullptr;
    CountingControl* control = nullptr;
};

TEST(VelAttributeGroup, ShowsMixedValuesAsADashAndTrimsFloats) {
    FakeAttribute attribute("Width", VelAttribute::Float);
    attribute.real = 2.0f;
    attribute.units = "m";
    VelAttributeGroup group(&attribute, "Custom");
    EXPECT_EQ(group.getLabel(), "Custom");
    EXPECT_EQ(group.getName(), "Width");
    EXPECT_EQ(group.getValueText(), "2");
    EXPECT_EQ(group.getUnits(), "m");
    attribute.multiple = true;
    group.rebuild();
    EXPECT_EQ(group.getValueText(), wxString::FromUTF8("\xe2\x80\x94"));
    EXPECT_EQ(group.getEditText(), "");  // a mixed number is typed fresh
    EXPECT_EQ(VelAttributeGroup::formatFloat(0.125f), "0.125");
    EXPECT_EQ(VelAttributeGroup::formatFloat(-0.00001f), "0");
    EXPECT_EQ(VelAttributeGroup::formatFloat(1.0f / 3.0f), "0.3333");
}

TEST_F(AttributeListFixture, TypedFloatCommitsOnEnterAndEscapeCancels) {
    clickValue(0);
    ASSERT_TRUE(control->isEditing());
    EXPECT_EQ(control->getEditor()->GetValue(), "1.5");
    type("2.25");
    press(WXK_RETURN);
    EXPECT_FALSE(control->isEditing());
    EXPECT_FLOAT_EQ(real.real, 2.25f);
    EXPECT_EQ(control->GetAttributeGroup(0)->getValueText(), "2.25");

    clickValue(0);
    type("9");
    press(WXK_ESCAPE);
    EXPECT_FALSE(control->isEditing());
    EXPECT_FLOAT_EQ(real.real, 2.25f);
    EXPECT_EQ(real.writes, 1);
}

TEST_F(AttributeListFixture, TabCommitsAndMovesToTheNextTypableRow) {
    clickValue(0);
    type("4");
    press(WXK_TAB);
    EXPECT_FLOAT_EQ(real.real, 4.0f);
    ASSERT_TRUE(control->isEditing());
    EXPECT_EQ(control->getEditRow(), 2);  // the check box row is skipped
    EXPECT_EQ(control->getSelectedItems(), std::vector<int>({2}));
    type("12");
    press(WXK_RETURN);
    EXPECT_EQ(integer.integer, 12);
}

TEST_F(AttributeListFixture, TextThatIsNotANumberLeavesTheValue) {
    clickValue(2);
    type("abc");
    press(WXK_RETURN);
    EXPECT_EQ(integer.integer, 7);
    EXPECT_EQ(integer.writes, 0);
    clickValue(2);
    type("2.7");  // a real number typed into an integer row is cut to its integer part
    press(WXK_RETURN);
    EXPECT_EQ(integer.integer, 2);
}

TEST_F(AttributeListFixture, CheckBoxesToggleAndMixedOnesTurnOn) {
    clickValue(1);
    EXPECT_TRUE(toggle.boolean);
    clickValue(1);
    EXPECT_FALSE(toggle.boolean);
    toggle.multiple = true;
    control->rebuildAll();
    clickValue(1);
    EXPECT_TRUE(toggle.boolean);
}

TEST_F(AttributeListFixture, ReadOnlyRowsRefuseEveryEdit) {
    real.editable = false;
    toggle.editable = false;
    control->rebuildAll();
    EXPECT_TRUE(control->isItemReadOnly(0));
    clickValue(0);
    EXPECT_FALSE(control->isEditing());
    clickValue(1);
    EXPECT_FALSE(toggle.boolean);
    EXPECT_FALSE(control->beginEdit(0));
    EXPECT_EQ(real.writes + toggle.writes, 0);
}

TEST_F(AttributeListFixture, ScrubbingIsOneInteractiveEditWithManyWrites) {
    wxUIActionSimulator input;
    const wxPoint start = valuePoint(0, 20);
    input.MouseMove(start);
    GuiTest::pumpEvents(20);
    input.MouseDown();
    GuiTest::pumpEvents(20);
    for (int dx = 10; dx <= 50; dx += 10) {
        input.MouseMove(start + wxPoint(dx, 0));
        GuiTest::pumpEvents(20);
    }
    input.MouseUp();
    GuiTest::pumpEvents(40);
    EXPECT_EQ(control->begins, 1);
    EXPECT_EQ(control->ends, 1);
    EXPECT_GT(real.writes, 1);
    EXPECT_NEAR(real.real, 1.5f + 50 * 0.01f, 0.05f);
    EXPECT_FALSE(control->isEditing());  // a drag never opens the field
}

TEST_F(AttributeListFixture, OneValueGoesToEverySelectedRowThatTakesIt) {
    control->selectAll();
    ASSERT_TRUE(control->beginEdit(0));
    type("3.9");
    press(WXK_RETURN);
    EXPECT_FLOAT_EQ(real.real, 3.9f);
    EXPECT_EQ(integer.integer, 3);     // truncated toward zero
    EXPECT_EQ(text.text, "hello");     // a number is not text
    EXPECT_FALSE(toggle.boolean);
}

TEST_F(AttributeListFixture, RemovingRowsKeepsTheRestAndClearRemovesAll) {
    EXPECT_TRUE(control->removeAttribute(1));
    EXPECT_EQ(control->getItemCount(), 3);
    EXPECT_EQ(control->GetAttributeGroup(1)->getAttribute(), &integer);
    EXPECT_FALSE(control->removeAttribute(9));
    EXPECT_EQ(control->addAttribute(nullptr), nullptr);
    control->clear();
    EXPECT_EQ(control->getItemCount(), 0);
    EXPECT_EQ(control->GetAttributeGroup(0), nullptr);
}

}  // namespace
