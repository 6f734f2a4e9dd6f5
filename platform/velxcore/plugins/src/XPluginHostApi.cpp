#include "XPluginHostApi.h"
#include "XPluginRecords.h"

#include <velxcore/XActiveScene.h>
#include <velxcore/XLog.h>
#include <velxcore/XScene.h>
#include <velxcore/XScriptApi.h>

#include <veldatabase/Database.h>
#include <velutils/StringUtils.h>

#include <algorithm>
#include <cctype>
#include <cmath>

namespace VelX {

using Velutils::StringUtils;

namespace {

void log(const std::string& text) { XLog::Write(text); }

bool isIdentifier(const char* name) {
    if (!name || !*name || std::isdigit(static_cast<unsigned char>(name[0]))) return false;
    for (const char* c = name; *c; ++c)
        if (!std::isalnum(static_cast<unsigned char>(*c)) && *c != '_') return false;
    return true;
}

bool sameAttributes(const db::NodeDef& def, const std::vector<db::AttributeDef>& attributes) {
    const int first = def.base() ? def.base()->topLevelCount() : 0;
    if (def.topLevelCount() - first != static_cast<int>(attributes.size())) return false;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const db::AttributeDef& a = *def.slot(def.topLevelSlot(first + static_cast<int>(i))).def;
        if (a.name != attributes[i].name || a.type != attributes[i].type || a.defaultValue != attributes[i].defaultValue)
            return false;
    }
    return true;
}

// Script values in both directions.
bool toC(const db::Value& v, VelXValue& out, std::string& text) {
    out = VelXValue{VELX_VALUE_NIL, 0, 0.0, nullptr};
    if (v.isNone()) return true;
    if (v.is<bool>()) {
        out.type = VELX_VALUE_BOOL;
        out.boolean = v.get<bool>() ? 1 : 0;
    } else if (v.is<std::int32_t>() || v.is<float>() || v.is<double>()) {
        out.type = VELX_VALUE_NUMBER;
        out.number = v.asDouble();
    } else if (v.is<std::string>()) {
        text = v.asString();
        out.type = VELX_VALUE_STRING;
        out.string = text.c_str();
    } else {
        return false;
    }
    return true;
}

db::Value fromC(const VelXValue& v) {
    switch (v.type) {
    case VELX_VALUE_BOOL: return v.boolean != 0;
    case VELX_VALUE_NUMBER: return v.number;
    case VELX_VALUE_STRING: return std::string(v.string ? v.string : "");
    default: return {};
    }
}

}  // namespace

const std::string*& XPluginHostApi::current() {
    thread_local const std::string* running = nullptr;
    return running;
}

db::Database& XPluginHostApi::SceneDatabase() { return XActiveScene::Get().Database().db(); }

XScriptFunctions::Function XPluginHostApi::Wrap(VelXScriptFunction callback, const std::string& name, const std::string& owner) {
    return [callback, name, owner](const std::vector<db::Value>& arguments) -> db::Value {
        std::vector<VelXValue> in(arguments.size());
        std::vector<std::string> strings(arguments.size());
        for (std::size_t i = 0; i < arguments.size(); ++i)
            if (!toC(arguments[i], in[i], strings[i]))
                throw XScriptError(name + ": argument " + std::to_string(i + 1) +
                                   " must be nil, a boolean, a number or a string");
        VelXValue out{VELX_VALUE_NIL, 0, 0.0, nullptr};
        int code = VELX_ERROR;
        RunAs(owner, [&] {
            try {
                code = callback(in.data(), static_cast<int>(in.size()), &out);
            } catch (...) {
                out = VelXValue{VELX_VALUE_STRING, 0, 0.0, "the plug-in function threw an exception"};
            }
        });
        if (code != VELX_OK)
            throw XScriptError(name + ": " +
                               (out.type == VELX_VALUE_STRING && out.string ? out.string : "the plug-in function failed"));
        return fromC(out);
    };
}

void XPluginHostApi::Log(const char* message) {
    if (!message) return;
    try {
        log("Plug-in '" + (current() ? *current() : std::string("?")) + "': " + message);
    } catch (...) {
    }
}

int XPluginHostApi::RegisterFunction(void* context, const char* name, VelXScriptFunction callback) {
    auto* session = static_cast<XPluginManager::Session*>(context);
    if (!session) return VELX_ERROR;
    try {
        std::string reason;
        const std::string text = name ? name : "";
        if (!session->open) reason = "registering is only possible during " VELX_PLUGIN_ENTRY_NAME;
        else if (!isIdentifier(name)) reason = "'" + text + "' is not a valid script function name";
        else if (!callback) reason = "script function '" + text + "' has no callback";
        else if (XScriptFunctions::Shared().has(text) ||
                 std::any_of(session->functions.begin(), session->functions.end(),
                             [&](const auto& f) { return f.first == text; }))
            reason = "the script function name '" + text + "' is taken";
        if (!reason.empty()) {
            log("Plug-in '" + session->plugin->filename + "': " + reason + ".");
            return VELX_ERROR;
        }
        session->functions.emplace_back(text, callback);
        return VELX_OK;
    } catch (...) {
        return VELX_ERROR;
    }
}

int XPluginHostApi::RegisterType(void* context, const char* typeName, const char* baseTypeName,
                                  const VelXAttributeSpec* attributes, int count) {
    auto* session = static_cast<XPluginManager::Session*>(context);
    if (!session) return VELX_ERROR;
    XPluginManager& manager = *session->manager;
    const std::string& owner = session->plugin->filename;
    const std::string name = typeName ? typeName : "";
    auto fail = [&](const std::string& reason) {
        log("Plug-in '" + owner + "': object type '" + name + "' refused: " + reason + ".");
        return VELX_ERROR;
    };
    try {
        if (!session->open) return fail("registering is only possible during " VELX_PLUGIN_ENTRY_NAME);
        if (!isIdentifier(typeName)) return fail("the type name must be letters, digits and '_'");
        db::Database& scene = SceneDatabase();
        auto record = manager.m_types.find(name);
        const bool ours = record != manager.m_types.end() && record->second->owner == owner;
        if (session->staged(name) || (scene.findType(name) && !ours) ||
            (record != manager.m_types.end() && !ours))
            return fail("the name is taken by another type");

        // The base: a type staged earlier in this load, or one the scene knows.
        const std::string baseName = baseTypeName && *baseTypeName ? baseTypeName : "Object";
        const db::NodeDef* base = nullptr;
        if (const XPluginManager::Session::StagedType* s = session->staged(baseName)) base = s->def;
        else base = scene.findType(baseName);
        if (!base) return fail("there is no base type '" + baseName + "'");
        if (base->hasFlag(db::SettingsType)) return fail("'" + baseName + "' is a settings type");
        auto baseRecord = manager.m_types.find(baseName);
        if (baseRecord != manager.m_types.end() && base == baseRecord->second->retired)
            return fail("the plug-in of base type '" + baseName + "' is not loaded");

        if (count < 0 || count > 1000) return fail("the attribute count " + std::to_string(count) + " is out of range");
        if (count > 0 && !attributes) return fail("the attribute list is missing");
        std::vector<db::AttributeDef> own;
        for (int i = 0; i < count; ++i) {
            const VelXAttributeSpec& given = attributes[i];
            const std::string attributeName = given.name ? given.name : "";
            if (!isIdentifier(given.name)) return fail("attribute " + std::to_string(i + 1) + " has no valid name");
            if (base->findTopLevel(attributeName) >= 0 ||
                std::any_of(own.begin(), own.end(), [&](const db::AttributeDef& a) { return a.name == attributeName; }))
                return fail("attribute '" + attributeName + "' is defined twice");
            if (!std::isfinite(given.default_number)) return fail("attribute '" + attributeName + "' has no finite default");
            db::AttributeDef a;
            a.name = attributeName;
            a.displayName = StringUtils::displayNameFromInternal(attributeName);
            a.conciseName = attributeName;
            a.flags = db::DefaultFlags;
            switch (given.type) {
            case VELX_ATTRIBUTE_FLOAT:
                a.type = db::ValueType::Float;
                a.defaultValue = static_cast<float>(given.default_number);
                a.flags |= db::Animatable;
                break;
            case VELX_ATTRIBUTE_INT:
                if (std::fabs(given.default_number) > 2147483647.0)
                    return fail("the default of attribute '" + attributeName + "' is out of range");
                a.type = db::ValueType::Int;
                a.defaultValue = static_cast<std::int32_t>(given.default_number);
                break;
            case VELX_ATTRIBUTE_BOOL:
                a.type = db::ValueType::Bool;
                a.defaultValue = given.default_number != 0.0;
                break;
            case VELX_ATTRIBUTE_STRING:
                a.type = db::ValueType::String;
                a.defaultValue = std::string(given.default_string ? given.default_string : "");
                break;
            default: return fail("attribute '" + attributeName + "' has unknown kind " + std::to_string(given.type));
            }
            own.push_back(std::move(a));
        }

        XPluginManager::Session::StagedType staged;
        staged.name = name;
        staged.attributes = own;
        // Loading the same plug-in again reuses its node type when nothing changed, so that old and
        // new objects share one type.
        if (ours && record->second->live && record->second->live->base() == base &&
            sameAttributes(*record->second->live, own)) {
            staged.def = record->second->live;
        } else {
            const std::uint32_t flags = base->typeFlags() & ~static_cast<std::uint32_t>(db::Abstract | db::SettingsType |
                                                                                         db::HiddenFromExplorer);
            staged.made = std::make_unique<db::NodeDef>(name, base, std::move(own), flags,
                                                        StringUtils::displayNameFromInternal(name));
            staged.def = staged.made.get();
        }
        session->types.push_back(std::move(staged));
        return VELX_OK;
    } catch (const std::exception& e) {
        return fail(e.what());
    } catch (...) {
        return VELX_ERROR;
    }
}

}  // namespace VelX
