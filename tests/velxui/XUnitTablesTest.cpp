// The shared unit tables, checked entry by entry against the published tables: every quantity
// name, every unit's long and short name, both factors of every unit, and the further labels.
#include <velxui/XUnitTables.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

struct Unit {
    const wchar_t* name;
    const wchar_t* shortName;
    float toDisplay;
    float toInternal;
};

// Each factor is the single-precision float nearest to the published decimal.
template <std::size_t N>
void expectUnits(const Unit (&expected)[N], int count, const wchar_t* const* names, const wchar_t* const* shortNames,
                 const float* toDisplay, const float* toInternal) {
    ASSERT_EQ(count, static_cast<int>(N));
    for (std::size_t i = 0; i < N; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(std::wstring(names[i]), expected[i].name);
        EXPECT_EQ(std::wstring(shortNames[i]), expected[i].shortName);
        EXPECT_EQ(toDisplay[i], expected[i].toDisplay);
        EXPECT_EQ(toInternal[i], expected[i].toInternal);
    }
}

TEST(UnitTables, QuantityNamesByCode) {
    const char* expected[] = {"dimensionless", "external", "linear", "velocity", "acceleration",
                              "angular", "angularVelocity", "angularAcceleration", "time", "mass",
                              "density", "force", "torque", "stiffness", "damping",
                              "angularStiffness", "angularDamping", "framerate", "filename"};
    ASSERT_EQ(VelXUI::QuantityCount, 19);
    for (int code = 0; code < 19; ++code) EXPECT_EQ(std::string(VelXUI::QuantityNames[code]), expected[code]) << code;
}

TEST(UnitTables, LengthMassAndAngleUnitsWithBothFactors) {
    const Unit length[] = {{L"Millimetres", L"mm", 1000.0f, 0.001f},   {L"Centimetres", L"cm", 100.0f, 0.01f},
                           {L"Metres", L"m", 1.0f, 1.0f},              {L"Inches", L"in", 39.370079f, 0.0254f},
                           {L"Feet", L"ft", 3.2808399f, 0.3048f},      {L"Yards", L"yd", 1.0936133f, 0.9144f}};
    expectUnits(length, VelXUI::LengthUnitCount, VelXUI::LengthUnitNames, VelXUI::LengthUnitShortNames,
                VelXUI::LengthInternalToDisplay, VelXUI::LengthDisplayToInternal);
    const Unit mass[] = {{L"Grams", L"g", 1000.0f, 0.001f},   {L"Kilograms", L"kg", 1.0f, 1.0f},
                         {L"Tonnes", L"T", 0.001f, 1000.0f},  {L"Pounds", L"lb", 2.2046225f, 0.45359236f},
                         {L"Stones", L"st", 0.15747304f, 6.3502932f}};
    expectUnits(mass, VelXUI::MassUnitCount, VelXUI::MassUnitNames, VelXUI::MassUnitShortNames,
                VelXUI::MassInternalToDisplay, VelXUI::MassDisplayToInternal);
    const Unit angle[] = {{L"Degrees", L"deg", 57.29578f, 0.017453292f}, {L"Radians", L"rad", 1.0f, 1.0f}};
    expectUnits(angle, VelXUI::AngleUnitCount, VelXUI::AngleUnitNames, VelXUI::AngleUnitShortNames,
                VelXUI::AngleInternalToDisplay, VelXUI::AngleDisplayToInternal);
}

TEST(UnitTables, AnInchAndAStoneConvertWithTheStoredPair) {
    const float metres = 1.0f * VelXUI::LengthDisplayToInternal[3];
    EXPECT_EQ(metres, 0.0254f);
    EXPECT_NEAR(metres * VelXUI::LengthInternalToDisplay[3], 1.0f, 1e-6f);
    EXPECT_EQ(1.0f * VelXUI::MassDisplayToInternal[4], 6.3502932f);
}

TEST(UnitTables, FurtherLabelsAndNameLists) {
    EXPECT_EQ(std::wstring(VelXUI::FrameRateUnitName), L"frames per second");
    EXPECT_EQ(std::wstring(VelXUI::FrameRateUnitShortName), L"fps");
    EXPECT_EQ(std::wstring(VelXUI::TimeUnitName), L"second");
    EXPECT_EQ(std::wstring(VelXUI::TimeUnitShortName), L"s");
    EXPECT_EQ(std::wstring(VelXUI::ForceUnitName), L"Newton");
    EXPECT_EQ(std::wstring(VelXUI::ForceUnitShortName), L"N");
    EXPECT_EQ(std::wstring(VelXUI::DegreeSign), L"\u00b0");

    auto expectNames = [](const char* const* names, std::initializer_list<const char*> expected) {
        int i = 0;
        for (const char* name : expected) EXPECT_EQ(std::string(names[i++]), name);
    };
    ASSERT_EQ(VelXUI::RotationUnitCount, 3);
    expectNames(VelXUI::RotationUnitNames, {"Degrees", "Radians", "Revolutions"});
    ASSERT_EQ(VelXUI::RotateOrderCount, 6);
    expectNames(VelXUI::RotateOrderNames, {"xyz", "xzy", "yzx", "yxz", "zxy", "zyx"});
    expectNames(VelXUI::GroupKindNames, {"Object", "DisplayGroup", "SelectionGroup", "CollisionGroup"});
    expectNames(VelXUI::AxisNames, {"XAxis", "YAxis", "ZAxis"});
    expectNames(VelXUI::AlignmentNames, {"AlignToChildAverage", "AlignToFirstChild"});
    expectNames(VelXUI::PlaneNames, {"XYPlane", "YZPlane", "XZPlane"});
}

}  // namespace
