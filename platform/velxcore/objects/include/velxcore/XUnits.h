#pragma once

#include <string>

namespace VelX {

// Quantity codes returned by XAttribute::Units().
enum XQuantity : int {
    QuantityDimensionless = 0,
    QuantityExternal = 1,
    QuantityLinear = 2,
    QuantityVelocity = 3,
    QuantityAcceleration = 4,
    QuantityAngular = 5,
    QuantityAngularVelocity = 6,
    QuantityAngularAcceleration = 7,
    QuantityTime = 8,
    QuantityMass = 9,
    QuantityDensity = 10,
    QuantityForce = 11,
    QuantityTorque = 12,
    QuantityStiffness = 13,
    QuantityDamping = 14,
    QuantityAngularStiffness = 15,
    QuantityAngularDamping = 16,
    QuantityFramerate = 17,
    QuantityFilename = 18,
};

// The unit tables: names and the stored factor pairs between internal units (metre, kilogram,
// radian, second) and the display units the user picks. Both directions are stored so that a
// round trip uses exactly these two numbers.
struct XUnits {
    static constexpr int QuantityCount = 19;
    static const char* const QuantityNames[QuantityCount];

    static constexpr int LengthUnitCount = 6;
    static const wchar_t* const LengthUnitNames[LengthUnitCount];
    static const wchar_t* const LengthUnitShortNames[LengthUnitCount];
    static const float LengthInternalToDisplay[LengthUnitCount];
    static const float LengthDisplayToInternal[LengthUnitCount];

    static constexpr int MassUnitCount = 5;
    static const wchar_t* const MassUnitNames[MassUnitCount];
    static const wchar_t* const MassUnitShortNames[MassUnitCount];
    static const float MassInternalToDisplay[MassUnitCount];
    static const float MassDisplayToInternal[MassUnitCount];

    static constexpr int AngleUnitCount = 2;
    static const wchar_t* const AngleUnitNames[AngleUnitCount];
    static const wchar_t* const AngleUnitShortNames[AngleUnitCount];
    static const float AngleInternalToDisplay[AngleUnitCount];
    static const float AngleDisplayToInternal[AngleUnitCount];

    static const wchar_t* const FrameRateUnitName;
    static const wchar_t* const FrameRateUnitShortName;
    static const wchar_t* const TimeUnitName;
    static const wchar_t* const TimeUnitShortName;
    static const wchar_t* const ForceUnitName;
    static const wchar_t* const ForceUnitShortName;
    static const wchar_t* const DegreeSign;

    static constexpr int RotationUnitCount = 3;
    static const char* const RotationUnitNames[RotationUnitCount];
    static constexpr int RotateOrderCount = 6;
    static const char* const RotateOrderNames[RotateOrderCount];
    static const char* const GroupKindNames[4];
    static const char* const AxisNames[3];
    static const char* const AlignmentNames[2];
    static const char* const PlaneNames[3];

    // Default display unit indices.
    static constexpr int DefaultLengthUnit = 2;  // metres
    static constexpr int DefaultMassUnit = 1;    // kilograms
    static constexpr int DefaultAngleUnit = 0;   // degrees
};

// The display units the user has chosen; the core's display conversions read them.
struct XDisplayUnits {
    int length = XUnits::DefaultLengthUnit;
    int mass = XUnits::DefaultMassUnit;
    int angle = XUnits::DefaultAngleUnit;

    // The units of the running program, which its scenes use unless they are given others.
    static XDisplayUnits& Shared();

    // Factor from internal to display units for a quantity, and its stored inverse.
    float internalToDisplay(int quantity) const;
    float displayToInternal(int quantity) const;
    // The short label of the display unit of a quantity ("" when dimensionless).
    std::wstring shortName(int quantity) const;
};

}  // namespace VelX
