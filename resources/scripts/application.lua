-- The application script of VelX Studio. It runs once at start in the application's trusted Lua
-- state, with the velx module loaded.
--
-- The "AttributeEditor" table tells the panels how to present objects. Each function receives the
-- object's type name (and, where noted, the object) and returns a table, or nil to let the panel use
-- its built-in behaviour:
--   AttributeSets(typeName)          titled, ordered groups of attribute names to show:
--                                    { {title, {name, {name, label}, ...}}, ... }
--   RelatedAttributes(typeName)      enumerations whose value shows or hides other attributes:
--                                    { {enumName, {choice, {names...}}, {choice, {names...}}}, ... }
--   RelatedObjects(typeName, id, path)  objects shown together with this one: a list of object
--                                    ids or paths

AttributeEditor = AttributeEditor or {}

local transformSet = {"Transform", {
    "translateX", "translateY", "translateZ",
    "rotateX", "rotateY", "rotateZ",
    "scaleX", "scaleY", "scaleZ",
    "rotateOrder", "inheritsTransform"}}

local displaySet = {"Display", {"visibility", "displayMode", "displayHandle"}}

local shadingSet = {"Shading", {"castsShadows", "receivesShadows", "material", "wireframe"}}

-- Sets by type; a type that is not listed gets the panel's default: every visible attribute.
local sets = {
    Transform = {transformSet, displaySet},
    Joint = {transformSet,
             {"Joint", {"jointOrientX", "jointOrientY", "jointOrientZ",
                        "preferredAngleX", "preferredAngleY", "preferredAngleZ",
                        {"radius", "Bone Radius"}, "segmentScaleCompensate", {"limit", "Joint Limit"}}},
             displaySet},
    JointLimit = {{"Rotation Limits", {"limitX", "minRotateX", "maxRotateX",
                                       "limitY", "minRotateY", "maxRotateY",
                                       "limitZ", "minRotateZ", "maxRotateZ"}}},
    IKHandle = {{"IK Chain", {"startJoint", "endJoint", "solver", "weight", "stickiness"}},
                {"Pole Vector", {"poleVectorX", "poleVectorY", "poleVectorZ", "twist"}},
                transformSet},
    Primitive = {{"Primitive", {"primitiveType", "width", "height", "depth", "radius", "segments"}},
                 shadingSet, displaySet},
    MeshInstance = {{"Mesh", {"meshFile", "subdivisionLevel", "smoothShading", "vertexCount"}},
                    shadingSet, displaySet},
    PhysicsJoint = {{"Body", {"drivenJoint", "shape", "shapeRadius", "shapeLength", "mass", "density"}},
                    {"Contact", {"friction", "restitution", "linearDamping", "angularDamping"}},
                    {"Limit", {{"limit", "Joint Limit"}}}},
    PhysicsConstraint = {{"Constraint", {"body1", "body2", "constraintType", "enabled"}},
                         {"Spring", {"linearStiffness", "linearDamping", "angularStiffness", "angularDamping"}},
                         {"Breaking", {"breakForce", "breakTorque"}}},
}

function AttributeEditor.AttributeSets(typeName)
    return sets[typeName]
end

-- Which attributes matter for each choice of an enumeration.
local related = {
    Primitive = {{"primitiveType",
                  {"box", {"width", "height", "depth"}},
                  {"sphere", {"radius", "segments"}},
                  {"capsule", {"radius", "height", "segments"}},
                  {"cylinder", {"radius", "height", "segments"}},
                  {"plane", {"width", "depth"}},
                  {"cone", {"radius", "height", "segments"}}}},
    PhysicsJoint = {{"shape",
                     {"capsule", {"shapeRadius", "shapeLength"}},
                     {"sphere", {"shapeRadius"}},
                     {"box", {"shapeLength"}}}},
    PhysicsConstraint = {{"constraintType",
                          {"spring", {"linearStiffness", "linearDamping", "angularStiffness", "angularDamping"}},
                          {"hinge", {"angularStiffness", "angularDamping"}}}},
}

function AttributeEditor.RelatedAttributes(typeName)
    return related[typeName]
end

-- A joint and a physics body are edited together with their limits.
local limitOwners = {Joint = true, PhysicsJoint = true}

function AttributeEditor.RelatedObjects(typeName, id, path)
    if not limitOwners[typeName] or type(path) ~= "string" or not velx.exists(path) then
        return nil
    end
    local limit = velx.get(path, "limit")
    if type(limit) == "string" and limit ~= "" and velx.exists(limit) then
        return {limit}
    end
    return nil
end
