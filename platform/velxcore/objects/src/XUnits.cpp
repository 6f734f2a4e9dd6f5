#include <velxcore/XUnits.h>

namespace VelX {

const char* const XUnits::QuantityNames[QuantityCount] = {
    "dimensionless", "external", "linear", "velocity", "acceleration", "angular", "angularVelocity",
    "angularAcceleration", "time", "mass", "density", "force", "torque", "stiffness", "damping",
    "angularStiffness", "angularDamping", "framerate", "filename"};

const wchar_t* const XUnits::LengthUnitNames[LengthUnitCount] = {L"Millimetres", L"Centimetres", L"Metres",
                                                                  L"Inches",      L"Feet",        L"Yards"};
const wchar_t* const XUnits::LengthUnitShortNames[LengthUnitCount] = {L"mm", L"cm", L"m", L"in", L"ft", L"yd"};
const float XUnits::LengthInternalToDisplay[LengthUnitCount] = {1000.0f, 100.0f, 1.0f, 39.370079f, 3.2808399f, 1.0936133f};
const float XUnits::LengthDisplayToInternal[LengthUnitCount] = {0.001f, 0.01f, 1.0f, 0.0254f, 0.3048f, 0.9144f};

const wchar_t* const XUnits::MassUnitNames[MassUnitCount] = {L"Grams", L"Kilograms", L"Tonnes", L"Pounds", L"Stones"};
const wchar_t* const XUnits::MassUnitShortNames[MassUnitCount] = {L"g", L"kg", L"T", L"lb", L"st"};
const float XUnits::MassInternalToDisplay[MassUnitCount] = {1000.0f, 1.0f, 0.001f, 2.2046225f, 0.15747304f};
const float XUnits::MassDisplayToInternal[MassUnitCount] = {0.001f, 1.0f, 1000.0f, 0.45359236f, 6.3502932f};

const wchar_t* const XUnits::AngleUnitNames[AngleUnitCount] = {L"Degrees", L"Radians"};
const wchar_t* const XUnits::AngleUnitShortNames[AngleUnitCount] = {L"deg", L"rad"};
const float XUnits::AngleInternalToDisplay[AngleUnitCount] = {57.29578f, 1.0f};
const float XUnits::AngleDisplayToInternal[AngleUnitCount] = {0.017453292f, 1.0f};

const wchar_t* const XUnits::FrameRateUnitName = L"frames per second";
const wchar_t* const XUnits::FrameRateUnitShortName = L"fps";
const wchar_t* const XUnits::TimeUnitName = L"second";
const wchar_t* const XUnits::TimeUnitShortName = L"s";
const wchar_t* const XUnits::ForceUnitName = L"Newton";
const wchar_t* const XUnits::ForceUnitShortName = L"N";
const wchar_t* const XUnits::DegreeSign = L"\u00B0";

const char* const XUnits::RotationUnitNames[RotationUnitCount] = {"Degrees", "Radians", "Revolutions"};
const char* const XUnits::RotateOrderNames[RotateOrderCount] = {"xyz", "xzy", "yzx", "yxz", "zxy", "zyx"};
const char* const XUnits::GroupKindNames[4] = {"Object", "DisplayGroup", "SelectionGroup", "CollisionGroup"};
const char* const XUnits::AxisNames[3] = {"XAxis", "YAxis", "ZAxis"};
const char* const XUnits::AlignmentNames[2] = {"AlignToChildAverage", "AlignToFirstChild"};
const char* const XUnits::PlaneNames[3] = {"XYPlane", "YZPlane", "XZPlane"};

namespace {
int clampIndex(int i, int count, int fallback) { return (i >= 0 && i < count) ? i : fallback; }
}  // namespace

// Derived quantities take the factors of their base units: a velocity in cm/s scales like a
// length, an angular velocity like an angle. Mass-based quantities follow the mass unit.
XDisplayUnits& XDisplayUnits::Shared() {
    static XDisplayUnits units;
    return units;
}

float XDisplayUnits::internalToDisplay(int quantity) const {
    const int l = clampIndex(length, XUnits::LengthUnitCount, XUnits::DefaultLengthUnit);
    const int m = clampIndex(mass, XUnits::MassUnitCount, XUnits::DefaultMassUnit);
    const int a = clampIndex(angle, XUnits::AngleUnitCount, XUnits::DefaultAngleUnit);
    switch (quantity) {
    case QuantityLinear:
    case QuantityVelocity:
    case QuantityAcceleration: return XUnits::LengthInternalToDisplay[l];
    case QuantityAngular:
    case QuantityAngularVelocity:
    case QuantityAngularAcceleration: return XUnits::AngleInternalToDisplay[a];
    case QuantityMass: return XUnits::MassInternalToDisplay[m];
    default: return 1.0f;
    }
}

float XDisplayUnits::displayToInternal(int quantity) const {
    const int l = clampIndex(length, XUnits::LengthUnitCount, XUnits::DefaultLengthUnit);
    const int m = clampIndex(mass, XUnits::MassUnitCount, XUnits::DefaultMassUnit);
    const int a = clampIndex(angle, XUnits::AngleUnitCount, XUnits::DefaultAngleUnit);
    switch (quantity) {
    case QuantityLinear:
    case QuantityVelocity:
    case QuantityAcceleration: return XUnits::LengthDisplayToInternal[l];
    case QuantityAngular:
    case QuantityAngularVelocity:
    case QuantityAngularAcceleration: return XUnits::AngleDisplayToInternal[a];
    case QuantityMass: return XUnits::MassDisplayToInternal[m];
    default: return 1.0f;
    }
}

std::wstring XDisplayUnits::shortName(int quantity) const {
    const int l = clampIndex(length, XUnits::LengthUnitCount, XUnits::DefaultLengthUnit);
    const int m = clampIndex(mass, XUnits::MassUnitCount, XUnits::DefaultMassUnit);
    const int a = clampIndex(angle, XUnits::AngleUnitCount, XUnits::DefaultAngleUnit);
    switch (quantity) {
    case QuantityLinear: return XUnits::LengthUnitShortNames[l];
    case QuantityVelocity: return std::wstring(XUnits::LengthUnitShortNames[l]) + L"/s";
    case QuantityAcceleration: return std::wstring(XUnits::LengthUnitShortNames[l]) + L"/s\u00B2";
    case QuantityAngular: return a == 0 ? XUnits::DegreeSign : XUnits::AngleUnitShortNames[a];
    case QuantityAngularVelocity: return std::wstring(XUnits::AngleUnitShortNames[a]) + L"/s";
    case QuantityAngularAcceleration: return std::wstring(XUnits::AngleUnitShortNames[a]) + L"/s\u00B2";
    case QuantityTime: return XUnits::TimeUnitShortName;
    case QuantityMass: return XUnits::MassUnitShortNames[m];
    case QuantityDensity: return L"kg/m\u00B3";
    case QuantityForce: return XUnits::ForceUnitShortName;
    case QuantityTorque: return L"N m";
    case QuantityStiffness: return L"N/m";
    case QuantityDamping: return L"N s/m";
    case QuantityAngularStiffness: return L"N m/rad";
    case QuantityAngularDamping: return L"N m s/rad";
    case QuantityFramerate: return XUnits::FrameRateUnitShortName;
    default: return {};
    }
}

}  // namespace VelX
