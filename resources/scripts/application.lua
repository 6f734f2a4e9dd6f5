-- The application script of VelX Studio. It runs once at start in the application's trusted Lua
-- state, with the velx module loaded.
--
-- The "AttributeEditor" table lets the panels ask how to present objects. Each function receives
-- the object's type name (and, where noted, the object's path) and returns a table, or nil to let
-- the panel use its built-in behaviour:
--   AttributeSets(typeName)            named, ordered groups of attribute names to show
--   RelatedAttributes(typeName)        attributes whose value shows or hides other attributes
--   RelatedObjects(typeName, path)     paths of objects shown together with this one
-- The panels that use these tables fill them for the built-in types.

AttributeEditor = AttributeEditor or {}

function AttributeEditor.AttributeSets(typeName)
    return nil
end

function AttributeEditor.RelatedAttributes(typeName)
    return nil
end

function AttributeEditor.RelatedObjects(typeName, path)
    return nil
end
