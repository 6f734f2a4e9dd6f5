#include <velxui/XUnitTables.h>

#include <gtest/gtest.h>

#include <string>

namespace {

template <std::size_t N>
int indexOf(const wchar_t* const (&names)[N], const std::wstring& name) {
    for (std::size_t i = 0; i < N; ++i)
        if (names[i] == name) return static_cast<int>(i);
    return -1;
}

TEST(UnitTables, AreTheCoreTablesThemselves) {
    EXPECT_EQ(&VelXUI::QuantityNames, &VelX::XUnits::QuantityNames);
    EXPECT_EQ(&VelXUI::LengthUnitShortNames, &VelX::XUnits::LengthUnitShortNames);
    EXPECT_EQ(&VelXUI::LengthDisplayToInternal, &VelX::XUnits::LengthDisplayToInternal);
    EXPECT_EQ(&VelXUI::MassInternalToDisplay, &VelX::XUnits::MassInternalToDisplay);
    EXPECT_EQ(&VelXUI::AngleDisplayToInternal, &VelX::XUnits::AngleDisplayToInternal);
    EXPECT_EQ(&VelXUI::DegreeSign, &VelX::XUnits::DegreeSign);
    EXPECT_EQ(&VelXUI::PlaneNames, &VelX::XUnits::PlaneNames);
}

TEST(UnitTables, RoundTripsThroughTheStoredFactorPairs) {
    const int inches = indexOf(VelXUI::LengthUnitShortNames, L"in");
    ASSERT_EQ(inches, 3);
    const float metres = 1.0f * VelXUI::LengthDisplayToInternal[inches];
    EXPECT_EQ(metres, 0.0254f);
    EXPECT_NEAR(metres * VelXUI::LengthInternalToDisplay[inches], 1.0f, 1e-6f);
    const int stones = indexOf(VelXUI::MassUnitShortNames, L"st");
    ASSERT_EQ(stones, 4);
    EXPECT_EQ(1.0f * VelXUI::MassDisplayToInternal[stones], 6.3502932f);

    auto expectInverse = [](const float* toDisplay, const float* toInternal, int count) {
        for (int i = 0; i < count; ++i) EXPECT_NEAR(toDisplay[i] * toInternal[i], 1.0f, 2.5e-7f) << i;
    };
    expectInverse(VelXUI::LengthInternalToDisplay, VelXUI::LengthDisplayToInternal, VelXUI::LengthUnitCount);
    expectInverse(VelXUI::MassInternalToDisplay, VelXUI::MassDisplayToInternal, VelXUI::MassUnitCount);
    expectInverse(VelXUI::AngleInternalToDisplay, VelXUI::AngleDisplayToInternal, VelXUI::AngleUnitCount);
}

}  // namespace
