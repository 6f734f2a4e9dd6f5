#pragma once

#include <velxcore/XUnits.h>

// The unit and name tables that every editor shares: quantity names by quantity code
// (XAttribute::Units()), the display units of length, mass and angle with their long and short names
// and conversion factors, the further unit labels, and the name lists of rotations, object group
// kinds, axes, alignments and planes.
//
// The numbers and names live once, in the scene core, which converts attribute values with them;
// each name here is a reference to the core's own array, so the editors and the core can never
// disagree. Arrays of one kind of unit share their index. A value v in internal units (metre,
// kilogram, radian) shows in display unit i as v * ...InternalToDisplay[i]; a display value goes
// back with ...DisplayToInternal[i]. Both factors are stored, so a round trip uses exactly them.
namespace VelXUI {

// Quantity names, by quantity code: "dimensionless", "external", "linear", ... "filename".
inline constexpr int QuantityCount = VelX::XUnits::QuantityCount;
inline constexpr auto& QuantityNames = VelX::XUnits::QuantityNames;

// Millimetres, centimetres, metres, inches, feet, yards.
inline constexpr int LengthUnitCount = VelX::XUnits::LengthUnitCount;
inline constexpr auto& LengthUnitNames = VelX::XUnits::LengthUnitNames;
inline constexpr auto& LengthUnitShortNames = VelX::XUnits::LengthUnitShortNames;
inline constexpr auto& LengthInternalToDisplay = VelX::XUnits::LengthInternalToDisplay;
inline constexpr auto& LengthDisplayToInternal = VelX::XUnits::LengthDisplayToInternal;

// Grams, kilograms, tonnes, pounds, stones.
inline constexpr int MassUnitCount = VelX::XUnits::MassUnitCount;
inline constexpr auto& MassUnitNames = VelX::XUnits::MassUnitNames;
inline constexpr auto& MassUnitShortNames = VelX::XUnits::MassUnitShortNames;
inline constexpr auto& MassInternalToDisplay = VelX::XUnits::MassInternalToDisplay;
inline constexpr auto& MassDisplayToInternal = VelX::XUnits::MassDisplayToInternal;

// Degrees, radians.
inline constexpr int AngleUnitCount = VelX::XUnits::AngleUnitCount;
inline constexpr auto& AngleUnitNames = VelX::XUnits::AngleUnitNames;
inline constexpr auto& AngleUnitShortNames = VelX::XUnits::AngleUnitShortNames;
inline constexpr auto& AngleInternalToDisplay = VelX::XUnits::AngleInternalToDisplay;
inline constexpr auto& AngleDisplayToInternal = VelX::XUnits::AngleDisplayToInternal;

// Labels of the units that have only one: frames per second, second, Newton; the degree sign.
inline constexpr auto& FrameRateUnitName = VelX::XUnits::FrameRateUnitName;
inline constexpr auto& FrameRateUnitShortName = VelX::XUnits::FrameRateUnitShortName;
inline constexpr auto& TimeUnitName = VelX::XUnits::TimeUnitName;
inline constexpr auto& TimeUnitShortName = VelX::XUnits::TimeUnitShortName;
inline constexpr auto& ForceUnitName = VelX::XUnits::ForceUnitName;
inline constexpr auto& ForceUnitShortName = VelX::XUnits::ForceUnitShortName;
inline constexpr auto& DegreeSign = VelX::XUnits::DegreeSign;

// Rotation units ("Degrees", "Radians", "Revolutions") and the six rotation orders ("xyz" ... "zyx").
inline constexpr int RotationUnitCount = VelX::XUnits::RotationUnitCount;
inline constexpr auto& RotationUnitNames = VelX::XUnits::RotationUnitNames;
inline constexpr int RotateOrderCount = VelX::XUnits::RotateOrderCount;
inline constexpr auto& RotateOrderNames = VelX::XUnits::RotateOrderNames;

// Object group kinds, axes, alignments of a parent to its children, and planes.
inline constexpr auto& GroupKindNames = VelX::XUnits::GroupKindNames;
inline constexpr auto& AxisNames = VelX::XUnits::AxisNames;
inline constexpr auto& AlignmentNames = VelX::XUnits::AlignmentNames;
inline constexpr auto& PlaneNames = VelX::XUnits::PlaneNames;

}  // namespace VelXUI
