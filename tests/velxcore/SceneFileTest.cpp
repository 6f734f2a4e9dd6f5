#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

using VelX::XSceneFile;
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

db::AttrKey attr(const db::Database& d, int id, const char* name) {
    return db::AttrKey{id, d.node(id)->def().findTopLevel(name)};
}

db::AttrKey field(const db::Database& d, int id, const char* compound, const char* name) {
    return db::AttrKey{id, d.node(id)->def().findChild(attr(d, id, compound).slot, name)};
}

db::Value key(float time, float value) {
    return db::ValueList{time, value, std::int32_t(4), std::int32_t(1), 0.0f, 0.25f};
}

// Settings objects, a transform hierarchy, a joint referencing its limit, a custom attribute,
// an animation curve driving and driven through connections, and a selection.
void buildScene(db::Database& d) {
    for (const db::NodeDef* def : sg::allNodeDefs())
        if (def->hasFlag(db::SettingsType)) d.create(*def, def->typeName());
    int hips = d.create(sg::TransformNode::Def, "hips");
    int spine = d.create(sg::JointNode::Def, "spine", hips);
    int limit = d.create(sg::JointLimitNode::Def, "spineLimit", hips);
    int anim = d.create(sg::AnimationNode::Def, "hipsAnim");
    d.setValue(attr(d, hips, "translateX"), 0.1f);
    d.setValue(attr(d, hips, "rotateY"), 1.0f / 3.0f);
    d.setValue(attr(d, hips, "rotateOrder"), std::int32_t(3));
    d.setValue(field(d, hips, "colour", "g"), 0.25f);
    d.setValue(attr(d, limit, "maxRotateX"), 0.5f);
    d.setValue(attr(d, anim, "postExtrapolation"), std::int32_t(2));
    d.setValue(attr(d, anim, "keys"), db::ValueList{key(0, 1), key(10, 2.5f), key(20, 1e-7f)});
    d.setValue(attr(d, d.findPath("SceneSettings"), "frame"), 12.0f);

    db::AttributeDef bias;
    bias.name = "weightBias";
    bias.type = db::ValueType::Float;
    d.setValue(db::AttrKey{hips, d.addCustomAttribute(hips, bias)}, 0.7f);
    db::AttributeDef tags;
    tags.name = "tags";
    tags.type = db::ValueType::String;
    tags.isArray = true;
    d.setValue(db::AttrKey{hips, d.addCustomAttribute(hips, tags)}, db::ValueList{"left", "r\xC3\xBC" "cken"});

    EXPECT_TRUE(d.connect(db::AttrKey{limit, 0}, attr(d, spine, "limit")));
    EXPECT_TRUE(d.connect(attr(d, anim, "output"), attr(d, hips, "translateY")));
    EXPECT_TRUE(d.connect(attr(d, hips, "translateZ"), db::AttrKey{anim, attr(d, anim, "keys").slot, 2, 1}));
    EXPECT_TRUE(d.connect(field(d, hips, "colour", "r"), field(d, spine, "colour", "b")));
    d.setSelection({spine, hips});
    d.clearUndo();
}

std::string readText(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

std::vector<std::string> folderEntries(const fs::path& dir) {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

class SceneFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        sg::registerNodeTypes(database);
        buildScene(database);
        std::string pattern = (fs::temp_directory_path() / "velx-scenefile-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir = pattern;
    }
    void TearDown() override {
        for (const auto& e : fs::recursive_directory_iterator(dir))
            if (e.is_directory()) fs::permissions(e.path(), fs::perms::owner_all, fs::perm_options::add);
        fs::permissions(dir, fs::perms::owner_all, fs::perm_options::add);
        fs::remove_all(dir);
    }
    int indexOf(const Json& doc, const std::string& name) const {
        for (std::size_t i = 0; i < doc["objects"].size(); ++i)
            if (doc["objects"][i]["name"] == name) return static_cast<int>(i);
        return -1;
    }

    db::Database database;
    fs::path dir;
};

TEST_F(SceneFileTest, SaveAndLoadGiveByteIdenticalText) {
    const std::string text = XSceneFile::toJson(database);
    const std::string file = (dir / "scene.velx").string();
    std::string error;
    ASSERT_TRUE(XSceneFile::save(database, file, error)) << error;
    EXPECT_EQ(readText(file), text);

    db::Database other;
    sg::registerNodeTypes(other);
    ASSERT_TRUE(XSceneFile::load(other, file, error)) << error;
    EXPECT_EQ(XSceneFile::toJson(other), text);

    // Loading over an open scene replaces it; the time key follows the new settings object.
    database.setTimeKey(attr(database, database.findPath("SceneSettings"), "frame"));
    ASSERT_TRUE(XSceneFile::load(database, file, error)) << error;
    EXPECT_EQ(XSceneFile::toJson(database), text);
    EXPECT_FALSE(database.canUndo());
    int settings = database.findPath("SceneSettings");
    EXPECT_EQ(database.timeKey(), attr(database, settings, "frame"));

    int hips = database.findPath("hips"), spine = database.findPath("hips/spine");
    int limit = database.findPath("hips/spineLimit"), anim = database.findPath("hipsAnim");
    EXPECT_EQ(database.value(attr(database, spine, "limit")).asInt(), limit);
    EXPECT_EQ(database.storedValue(attr(database, hips, "translateX")).get<float>(), 0.1f);
    EXPECT_EQ(database.storedValue(attr(database, hips, "rotateY")).get<float>(), 1.0f / 3.0f);
    EXPECT_EQ(database.storedValue(db::AttrKey{anim, attr(database, anim, "keys").slot, 2, 1}).get<float>(), 1e-7f);
    EXPECT_EQ(database.input(db::AttrKey{anim, attr(database, anim, "keys").slot, 2, 1}),
              attr(database, hips, "translateZ"));
    EXPECT_EQ(database.selection(), (std::vector<int>{spine, hips}));
}

TEST_F(SceneFileTest, WritesReadableDeterministicJson) {
    const std::string text = XSceneFile::toJson(database);
    EXPECT_EQ(text.rfind("{\n  \"format\": \"velx-scene\",\n  \"version\": 1,\n", 0), 0u);
    Json doc = Json::parse(text);
    const Json& hips = doc["objects"][static_cast<std::size_t>(indexOf(doc, "hips"))];
    const Json& a = hips["attributes"];
    EXPECT_EQ(a["translateX"].dump(), "0.1");
    EXPECT_EQ(a["rotateOrder"], "yxz");
    EXPECT_EQ(a["colour"].dump(), R"({"r":0.6,"g":0.25,"b":0.6})");
    EXPECT_FALSE(a.contains("worldMatrix"));  // computed
    EXPECT_FALSE(a.contains("message"));      // internal
    EXPECT_EQ(hips["custom"][0].dump(), R"({"name":"weightBias","type":4,"isArray":false,"value":0.7})");
    EXPECT_EQ(hips["parent"], nullptr);
    const Json& spine = doc["objects"][static_cast<std::size_t>(indexOf(doc, "spine"))];
    EXPECT_EQ(spine["parent"], hips["id"]);
    const Json& anim = doc["objects"][static_cast<std::size_t>(indexOf(doc, "hipsAnim"))]["attributes"];
    EXPECT_EQ(anim["keys"][1].dump(),
              R"({"time":10.0,"value":2.5,"inTangent":"smooth","outTangent":"linear","inSlope":0.0,"outSlope":0.25})");
    EXPECT_EQ(doc["connections"].dump(),
              R"([{"from":"hipsAnim.output","to":"hips.translateY"},)"
              R"({"from":"hips.colour.r","to":"hips/spine.colour.b"},)"
              R"({"from":"hips/spineLimit.message","to":"hips/spine.limit"},)"
              R"({"from":"hips.translateZ","to":"hipsAnim.keys[2].value"}])");
    EXPECT_EQ(doc["selection"].dump(), R"(["hips/spine","hips"])");

    // The same scene built with other database ids and another connection order writes the same text.
    db::Database other;
    sg::registerNodeTypes(other);
    other.remove(other.create(sg::TransformNode::Def, "scratch"));
    buildScene(other);
    EXPECT_EQ(XSceneFile::toJson(other), text);
}

TEST_F(SceneFileTest, SmallFileGetsDefaultsAndSettingsObjects) {
    const std::string text = R"({"format": "velx-scene", "version": 1,
        "objects": [{"id": 5, "type": "Transform", "name": "solo", "parent": null,
                     "attributes": {"translateX": 2, "colour": {"b": 1}}}]})";
    std::string error;
    ASSERT_TRUE(XSceneFile::loadJson(database, text, "small.velx", error)) << error;
    int solo = database.findPath("solo");
    EXPECT_EQ(database.storedValue(attr(database, solo, "translateX")).get<float>(), 2.0f);
    EXPECT_EQ(database.storedValue(attr(database, solo, "scaleX")).get<float>(), 1.0f);
    EXPECT_EQ(database.storedValue(field(database, solo, "colour", "b")).get<float>(), 1.0f);
    for (const char* type : {"SceneSettings", "CurveEditorSettings", "AttributeEditorSettings"}) {
        int id = database.findPath(type);
        ASSERT_GE(id, 0) << type;
        EXPECT_EQ(database.node(id)->def().typeName(), type);
    }
    EXPECT_EQ(database.storedValue(attr(database, database.findPath("SceneSettings"), "frameRate")).get<float>(), 30.0f);
}

TEST_F(SceneFileTest, RefusesBrokenFilesAndKeepsTheOpenScene) {
    const std::string good = XSceneFile::toJson(database);
    const Json doc = Json::parse(good);
    const std::string hips = "objects[" + std::to_string(indexOf(doc, "hips")) + "]";
    const std::string limit = "objects[" + std::to_string(indexOf(doc, "spineLimit")) + "]";
    auto edit = [&](const std::function<void(Json&)>& change) {
        Json copy = doc;
        change(copy);
        return copy.dump(2);
    };
    auto object = [&](Json& d, const char* name) -> Json& { return d["objects"][static_cast<std::size_t>(indexOf(doc, name))]; };
    auto connectionTo = [&](Json& d, const std::string& to) -> Json& {
        for (Json& c : d["connections"])
            if (c["to"] == to) return c;
        return d;
    };
    struct Case {
        const char* what;
        std::string text;
        std::vector<std::string> expected;
    };
    const std::vector<Case> cases = {
        {"truncated", good.substr(0, good.size() / 2), {"line ", ", column ", "syntax error", "truncated"}},
        {"not json", "{\"format\": \"velx-scene\",\n  \"version\": 1,\n  oops}", {"line 3, column 3", "syntax error"}},
        {"wrong value type", edit([&](Json& d) { object(d, "hips")["attributes"]["translateX"] = "far"; }),
         {hips + ".attributes.translateX", "expected a number", "\"far\""}},
        {"wrong compound field type", edit([&](Json& d) { object(d, "hips")["attributes"]["colour"]["g"] = true; }),
         {hips + ".attributes.colour.g", "expected a number"}},
        {"bad enum name", edit([&](Json& d) { object(d, "hips")["attributes"]["rotateOrder"] = "xyw"; }),
         {hips + ".attributes.rotateOrder", "not one of xyz, xzy"}},
        {"unknown attribute", edit([&](Json& d) { object(d, "hips")["attributes"]["wobble"] = 1; }),
         {hips + ".attributes.wobble", "no attribute 'wobble' on type Transform"}},
        {"unknown version", edit([](Json& d) { d["version"] = 7; }),
         {"version: unsupported version 7 (this build reads version 1)"}},
        {"unknown type", edit([&](Json& d) { object(d, "spineLimit")["type"] = "Teapot"; }),
         {limit + ".type", "unknown object type \"Teapot\""}},
        {"dangling parent", edit([&](Json& d) { object(d, "spineLimit")["parent"] = 999; }),
         {limit + ".parent", "dangling reference", "999"}},
        {"parenting cycle", edit([&](Json& d) { object(d, "hips")["parent"] = object(d, "spineLimit")["id"]; }),
         {".parent", "parenting cycle"}},
        {"duplicate sibling names", edit([&](Json& d) { object(d, "spineLimit")["name"] = "spine"; }),
         {limit + ".name", "duplicate name: 'spine'"}},
        {"dangling reference", edit([&](Json& d) { connectionTo(d, "hips/spine.limit")["from"] = "hips/ghost.message"; }),
         {"connections[2].from", "dangling reference", "'hips/ghost'"}},
        {"dangling array element",
         edit([&](Json& d) { connectionTo(d, "hipsAnim.keys[2].value")["to"] = "hipsAnim.keys[3].value"; }),
         {"connections[3].to", "no element 3"}},
        {"reference of the wrong type", edit([&](Json& d) { connectionTo(d, "hips/spine.limit")["from"] = "hips.message"; }),
         {"connections[2]", "not of the referenced type"}},
        {"second input", edit([&](Json& d) { d["connections"].push_back({{"from", "hips.translateX"}, {"to", "hips.translateY"}}); }),
         {"connections[4].to", "already has an input"}},
        {"unknown selection", edit([](Json& d) { d["selection"].push_back("nobody"); }), {"selection[2]", "'nobody'"}},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(XSceneFile::loadJson(database, c.text, "broken.velx", error)) << c.what;
        EXPECT_EQ(error.rfind("broken.velx: ", 0), 0u) << c.what << ": " << error;
        for (const std::string& part : c.expected)
            EXPECT_NE(error.find(part), std::string::npos) << c.what << ": '" << part << "' missing from: " << error;
        EXPECT_EQ(XSceneFile::toJson(database), good) << c.what;
    }
}

TEST_F(SceneFileTest, LoadNamesAMissingFile) {
    std::string error;
    const std::string file = (dir / "absent.velx").string();
    EXPECT_FALSE(XSceneFile::load(database, file, error));
    EXPECT_NE(error.find(file), std::string::npos) << error;
    EXPECT_NE(error.find("No such file or directory"), std::string::npos) << error;
}

TEST_F(SceneFileTest, SaveReplacesTheFileAndLeavesNoTemporaryFiles) {
    const fs::path file = dir / "scene.velx";
    std::string error;
    ASSERT_TRUE(XSceneFile::save(database, file.string(), error)) << error;
    database.setValue(attr(database, database.findPath("hips"), "translateX"), 4.0f);
    ASSERT_TRUE(XSceneFile::save(database, file.string(), error)) << error;
    EXPECT_EQ(readText(file), XSceneFile::toJson(database));
    EXPECT_EQ(folderEntries(dir), std::vector<std::string>{"scene.velx"});
}

TEST_F(SceneFileTest, FailedSaveLeavesNoTemporaryFiles) {
    std::string error;
    const std::string missing = (dir / "no-such-folder" / "scene.velx").string();
    EXPECT_FALSE(XSceneFile::save(database, missing, error));
    EXPECT_NE(error.find(missing), std::string::npos) << error;
    EXPECT_NE(error.find("No such file or directory"), std::string::npos) << error;

    // A folder in the way: the temporary file is written, then the rename fails.
    fs::create_directories(dir / "taken" / "inside");
    const std::string taken = (dir / "taken").string();
    EXPECT_FALSE(XSceneFile::save(database, taken, error));
    EXPECT_NE(error.find(taken), std::string::npos) << error;
    EXPECT_EQ(folderEntries(dir), std::vector<std::string>{"taken"});
    EXPECT_EQ(folderEntries(dir / "taken"), std::vector<std::string>{"inside"});
}

TEST_F(SceneFileTest, SaveIntoReadOnlyFolderKeepsTheOldFile) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions are not enforced for root";
    const fs::path file = dir / "scene.velx";
    { std::ofstream(file) << "old contents"; }
    ASSERT_EQ(chmod(dir.c_str(), 0555), 0);
    std::string error;
    EXPECT_FALSE(XSceneFile::save(database, file.string(), error));
    EXPECT_NE(error.find(file.string()), std::string::npos) << error;
    EXPECT_NE(error.find("Permission denied"), std::string::npos) << error;
    EXPECT_EQ(readText(file), "old contents");
    EXPECT_EQ(folderEntries(dir), std::vector<std::string>{"scene.velx"});
}

}  // namespace
