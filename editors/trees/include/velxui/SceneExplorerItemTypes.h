#pragma once

// The fifteen item types of the scene explorer, for the code that registers them.
#include <velxui/CameraItemType.h>
#include <velxui/CharacterItemType.h>
#include <velxui/IKHandleItemType.h>
#include <velxui/JointItemType.h>
#include <velxui/JointLimitItemType.h>
#include <velxui/KinematicsCharacterItemType.h>
#include <velxui/MeshInstanceItemType.h>
#include <velxui/PhysicsCharacterItemType.h>
#include <velxui/PhysicsConstraintItemType.h>
#include <velxui/PhysicsJointItemType.h>
#include <velxui/PhysicsJointLimitItemType.h>
#include <velxui/PrimitiveItemType.h>
#include <velxui/SceneItemType.h>
#include <velxui/ShapeItemType.h>
#include <velxui/TransformItemType.h>
