#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>
#include <veldatabase/DatabaseObserver.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
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

TEST_F(SceneFileTest, ALongLoadTellsItsProgressPhaseByPhase) {
    for (int i = 0; i < 9000; ++i) database.create(sg::TransformNode::Def, "t" + std::to_string(i));
    const std::string file = (dir / "big.velx").string();
    std::string error;
    ASSERT_TRUE(XSceneFile::save(database, file, error)) << error;

    std::vector<std::string> phases;
    std::size_t lastBuilt = 0, builtTotal = 0, parsed = 0;
    db::Database other;
    sg::registerNodeTypes(other);
    ASSERT_TRUE(XSceneFile::load(other, file, error, [&](const char* phase, std::size_t done, std::size_t total) {
        if (phases.empty() || phases.back() != phase) phases.push_back(phase);
        if (phases.back() == "Parsing") {
            EXPECT_EQ(total, 0u);
            EXPECT_GE(done, parsed);
            parsed = done;
        }
        if (phases.back() == "Building") {
            EXPECT_LE(done, total);
            EXPECT_GE(done, lastBuilt);
            lastBuilt = done;
            builtTotal = total;
        }
    })) << error;
    EXPECT_EQ(phases, (std::vector<std::string>{"Reading", "Parsing", "Building"}));
    EXPECT_GE(parsed, 8192u);
    EXPECT_EQ(lastBuilt, builtTotal) << "the last report says the build is complete";
    EXPECT_GE(builtTotal, 9000u);
}

TEST_F(SceneFileTest, WritesReadableDeterministicJson) {
    const std::string text = XSceneFile::toJson(database);
    EXPECT_EQ(text.rfind("{\n  \"format\": \"velx-scene\",\n  \"version\": 2,\n", 0), 0u);
    Json doc = Json::parse(text);
    const Json& hips = doc["objects"][static_cast<std::size_t>(indexOf(doc, "hips"))];
    const Json& a = hips["attributes"];
    EXPECT_EQ(a["translateX"].dump(), "0.1");
    EXPECT_EQ(a["rotateOrder"], "yxz");
    EXPECT_EQ(a["colour"].dump(), R"({"g":0.25})");  // only fields that differ from the default
    EXPECT_FALSE(a.contains("scaleX"));       // default
    EXPECT_FALSE(a.contains("worldMatrix"));  // computed
    EXPECT_FALSE(a.contains("message"));      // internal
    EXPECT_EQ(hips["custom"][0].dump(), R"({"name":"weightBias","type":4,"isArray":false,"value":0.7})");
    EXPECT_EQ(hips["parent"], nullptr);
    const Json& spine = doc["objects"][static_cast<std::size_t>(indexOf(doc, "spine"))];
    EXPECT_EQ(spine["parent"], hips["id"]);
    const Json& anim = doc["objects"][static_cast<std::size_t>(indexOf(doc, "hipsAnim"))]["attributes"];
    // One list per field of the keys; fields at their defaults in every key (inTangent, inSlope) are left out.
    EXPECT_EQ(anim["keys"].dump(),
              R"({"time":[0.0,10.0,20.0],"value":[1.0,2.5,1e-07],"outTangent":["linear","linear","linear"],)"
              R"("outSlope":[0.25,0.25,0.25]})");
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
         {"version: unsupported version 7 (this build reads versions 1 to 2)"}},
        {"version before the first", edit([](Json& d) { d["version"] = 0; }), {"version: unsupported version 0"}},
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
        {"two equal paths through a '/' in a name, with nothing naming objects by path",
         edit([&](Json& d) {
             d.erase("connections");
             d.erase("selection");
             object(d, "hipsAnim")["name"] = "hips/spine";
         }),
         {".name", "the path 'hips/spine' is also the path of"}},
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
    EXPECT_NE(error.find("is not a regular file (a folder)"), std::string::npos) << error;

    // A pipe (like a device) stays what it is: nothing is renamed over it.
    const fs::path pipe = dir / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(XSceneFile::save(database, pipe.string(), error));
    EXPECT_NE(error.find("is not a regular file (a pipe)"), std::string::npos) << error;
    EXPECT_TRUE(fs::is_fifo(pipe));
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

// ---------------------------------------------------------------- layout, numbers, load order

// Counts the change rounds a database announces.
struct RoundCounter : db::DatabaseObserver {
    int rounds = 0;
    void onDatabaseChanged(db::Database&, const std::shared_ptr<const db::DatabaseChange>&) override { ++rounds; }
};

db::AttributeDef customDef(const char* name, db::ValueType type, bool isArray = false) {
    db::AttributeDef a;
    a.name = name;
    a.type = type;
    a.isArray = isArray;
    return a;
}

bool sameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }
bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(SceneFileLayout, WritesOnlyValuesThatDifferFromTheDefaultsInTypeOrder) {
    db::Database d;
    sg::registerNodeTypes(d);
    int solo = d.create(sg::TransformNode::Def, "solo");
    int anim = d.create(sg::AnimationNode::Def, "anim", solo);
    d.setValue(attr(d, solo, "translateX"), 2.0f);
    d.setValue(field(d, solo, "colour", "b"), 1.0f);  // colour comes first in the type
    d.setValue(attr(d, solo, "scaleY"), 1.0f);        // the default: not written
    d.setValue(db::AttrKey{solo, d.addCustomAttribute(solo, customDef("weight", db::ValueType::Float))}, 0.5f);
    d.setValue(attr(d, anim, "keys"), db::ValueList{key(0, 1)});
    ASSERT_TRUE(d.connect(attr(d, anim, "output"), attr(d, solo, "translateY")));
    d.setSelection({anim});
    const std::string expected = R"({
  "format": "velx-scene",
  "version": 2,
  "objects": [
    {
      "id": 1,
      "type": "Transform",
      "name": "solo",
      "parent": null,
      "attributes": {
        "colour": {"b": 1.0},
        "translateX": 2.0
      },
      "custom": [
        {"name": "weight", "type": 4, "isArray": false, "value": 0.5}
      ]
    },
    {
      "id": 2,
      "type": "Animation",
      "name": "anim",
      "parent": 1,
      "attributes": {
        "keys": {
          "time": [0.0],
          "value": [1.0],
          "outTangent": ["linear"],
          "outSlope": [0.25]
        }
      }
    }
  ],
  "connections": [
    {"from": "solo/anim.output", "to": "solo.translateY"}
  ],
  "selection": [
    "solo/anim"
  ]
}
)";
    EXPECT_EQ(XSceneFile::toJson(d), expected);

    // Back to the defaults, the attributes disappear; an empty scene keeps its lists.
    d.setValue(attr(d, solo, "translateX"), 0.0f);
    d.setValue(field(d, solo, "colour", "b"), 0.6f);
    EXPECT_EQ(Json::parse(XSceneFile::toJson(d))["objects"][0].count("attributes"), 0u);
    db::Database empty;
    EXPECT_EQ(XSceneFile::toJson(empty),
              "{\n  \"format\": \"velx-scene\",\n  \"version\": 2,\n  \"objects\": [],\n  \"connections\": [],\n"
              "  \"selection\": []\n}\n");
}

TEST(SceneFileLayout, FloatsAndDoublesRoundTripBitForBit) {
    const std::vector<float> floats = {0.0f, -0.0f, 0.1f, 1.0f / 3.0f, 1e-7f, 16777216.0f, 3e38f,
                                       FLT_MAX, -FLT_MAX, FLT_MIN, std::numeric_limits<float>::denorm_min(),
                                       std::nextafter(1.0f, 2.0f), 123456789.0f};
    const std::vector<double> doubles = {0.1, -0.0, 1.0 / 3.0, DBL_MAX, DBL_MIN, 5e-324, 1e300, 9007199254740993.0};
    db::Database d;
    sg::registerNodeTypes(d);
    for (const db::NodeDef* def : sg::allNodeDefs())
        if (def->hasFlag(db::SettingsType)) d.create(*def, def->typeName());
    int solo = d.create(sg::TransformNode::Def, "solo");
    db::ValueList fl, dl;
    for (float f : floats) fl.push_back(f);
    for (double x : doubles) dl.push_back(x);
    fl.push_back(std::numeric_limits<float>::infinity());
    fl.push_back(-std::numeric_limits<float>::infinity());
    fl.push_back(std::numeric_limits<float>::quiet_NaN());
    d.setValue(db::AttrKey{solo, d.addCustomAttribute(solo, customDef("fl", db::ValueType::Float, true))}, fl);
    d.setValue(db::AttrKey{solo, d.addCustomAttribute(solo, customDef("dl", db::ValueType::Double, true))}, dl);
    d.setValue(attr(d, solo, "translateX"), -0.0f);  // differs from the default 0 in its sign only
    int matrix = d.create(sg::MatrixConversionNode::Def, "matrix");
    Velutils::Matrix4 m = Velutils::Matrix4::identity();
    m.m[3][0] = 0.1f;
    m.m[3][1] = FLT_MAX;
    m.m[3][2] = std::numeric_limits<float>::denorm_min();
    d.setValue(attr(d, matrix, "inputMatrix"), m);

    const std::string text = XSceneFile::toJson(d);
    EXPECT_NE(text.find("\"translateX\": -0.0"), std::string::npos);
    db::Database other;
    sg::registerNodeTypes(other);
    std::string error;
    ASSERT_TRUE(XSceneFile::loadJson(other, text, "numbers.velx", error)) << error;
    EXPECT_EQ(XSceneFile::toJson(other), text);
    int loaded = other.findPath("solo");
    const db::ValueList flBack = other.storedValue(db::AttrKey{loaded, other.node(loaded)->findTopLevel("fl")}).get<db::ValueList>();
    const db::ValueList dlBack = other.storedValue(db::AttrKey{loaded, other.node(loaded)->findTopLevel("dl")}).get<db::ValueList>();
    ASSERT_EQ(flBack.size(), fl.size());
    for (std::size_t i = 0; i < floats.size(); ++i)
        EXPECT_TRUE(sameBits(flBack[i].get<float>(), floats[i])) << i << ": " << flBack[i].get<float>();
    EXPECT_EQ(flBack[floats.size()].get<float>(), std::numeric_limits<float>::infinity());
    EXPECT_EQ(flBack[floats.size() + 1].get<float>(), -std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(flBack[floats.size() + 2].get<float>()));
    ASSERT_EQ(dlBack.size(), doubles.size());
    for (std::size_t i = 0; i < doubles.size(); ++i)
        EXPECT_TRUE(sameBits(dlBack[i].get<double>(), doubles[i])) << i << ": " << dlBack[i].get<double>();
    EXPECT_TRUE(std::signbit(other.storedValue(attr(other, loaded, "translateX")).get<float>()));
    const Velutils::Matrix4 back = other.storedValue(attr(other, other.findPath("matrix"), "inputMatrix")).get<Velutils::Matrix4>();
    for (int i = 0; i < 16; ++i) EXPECT_TRUE(sameBits(back.m[i / 4][i % 4], m.m[i / 4][i % 4])) << i;
}

TEST(SceneFileLayout, NumbersBeyondTheRangeAreRefusedWithTheirPlace) {
    auto scene = [](const std::string& x) {
        return "{\"format\": \"velx-scene\", \"version\": 1, \"objects\": [{\"id\": 1, \"type\": \"Transform\", "
               "\"name\": \"t\", \"parent\": null, \"attributes\": {\"translateX\": " + x + "}}]}";
    };
    db::Database d;
    sg::registerNodeTypes(d);
    std::string error;
    // The largest float is written as 3.4028235e+38, a little above it: it must still load.
    ASSERT_TRUE(XSceneFile::loadJson(d, scene("3.4028235e+38"), "max.velx", error)) << error;
    EXPECT_EQ(d.storedValue(attr(d, d.findPath("t"), "translateX")).get<float>(), FLT_MAX);
    EXPECT_FALSE(XSceneFile::loadJson(d, scene("3.5e38"), "big.velx", error));
    EXPECT_NE(error.find("objects[0].attributes.translateX: number out of range"), std::string::npos) << error;
    // Too large even for a double: a message with the place, not an exception.
    EXPECT_FALSE(XSceneFile::loadJson(d, scene("1e999"), "huge.velx", error));
    EXPECT_EQ(error.rfind("huge.velx: line 1, column ", 0), 0u) << error;
    EXPECT_NE(error.find("number overflow"), std::string::npos) << error;
    EXPECT_EQ(d.storedValue(attr(d, d.findPath("t"), "translateX")).get<float>(), FLT_MAX);
}

TEST(SceneFileLayout, ObjectsAreCheckedInTheOrderOfTheChecks) {
    const std::string good = R"({"id": 1, "type": "Transform", "name": "a", "parent": null})";
    const std::string badType = R"({"id": 2, "type": "Teapot", "name": "b", "parent": null})";
    const std::string badName = R"({"id": 3, "type": "Transform", "name": "", "parent": null})";
    auto scene = [](const std::string& objects, const std::string& after = "") {
        return R"({"format": "velx-scene", "version": 1, "objects": [)" + objects + "]" + after + "}";
    };
    struct Case {
        const char* what;
        std::string text;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"first bad object", scene(good + "," + badType + "," + badName), "objects[1].type: unknown object type"},
        {"syntax after a bad object", scene(badType) + ",", "syntax error"},
        {"unknown key after a bad object", scene(badType, R"(, "extra": 1)"), "extra: unknown key"},
        {"format after a bad object", R"({"objects": [)" + badType + R"(], "format": "other", "version": 1})",
         "format: expected \"velx-scene\""},
        {"objects not an array", R"({"format": "velx-scene", "version": 1, "objects": {"id": 1}})", "objects: expected an array"},
        {"not an object", "[1, 2]", "expected a scene (a JSON object), found an array"},
        {"element not an object", scene(good + ", 7"), "objects[1]: expected an object, found 7"},
    };
    db::Database d;
    sg::registerNodeTypes(d);
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(XSceneFile::loadJson(d, c.text, "order.velx", error)) << c.what;
        EXPECT_NE(error.find(c.expected), std::string::npos) << c.what << ": " << error;
    }
    // A repeated "objects" is refused like any key given twice: readers would disagree on which counts.
    std::string error;
    EXPECT_FALSE(XSceneFile::loadJson(d, scene(badType, R"(, "objects": [)" + good + "]"), "twice.velx", error));
    EXPECT_NE(error.find("duplicate key \"objects\" in the scene"), std::string::npos) << error;
}

TEST_F(SceneFileTest, LoadTellsObserversNothingAndNeverReusesIds) {
    const std::string text = XSceneFile::toJson(database);
    RoundCounter counter;
    database.addObserver(&counter);
    const int limit = database.idLimit();
    std::string error;

    ASSERT_FALSE(XSceneFile::loadJson(database, text.substr(0, text.size() - 3), "cut.velx", error));
    ASSERT_FALSE(XSceneFile::loadJson(database, R"({"format": "velx-scene", "version": 1, "objects": [],
        "selection": ["ghost"]})", "ghost.velx", error));
    EXPECT_EQ(database.idLimit(), limit);
    EXPECT_EQ(XSceneFile::toJson(database), text);

    ASSERT_TRUE(XSceneFile::loadJson(database, text, "scene.velx", error)) << error;
    EXPECT_EQ(counter.rounds, 0);
    EXPECT_FALSE(database.canUndo());
    for (int id : database.node(db::Database::RootId)->children()) EXPECT_GE(id, limit);
    EXPECT_EQ(database.nodeCount(), static_cast<std::size_t>(database.idLimit() - limit + 1));
    EXPECT_EQ(XSceneFile::toJson(database), text);

    // The loaded scene is live: edits announce themselves and undo.
    database.setValue(attr(database, database.findPath("hips"), "translateX"), 3.0f);
    EXPECT_EQ(counter.rounds, 1);
    EXPECT_TRUE(database.undo());
    EXPECT_EQ(XSceneFile::toJson(database), text);
    database.removeObserver(&counter);
}

TEST_F(SceneFileTest, LoadedAnimationFollowsTheTime) {
    std::string error;
    ASSERT_TRUE(XSceneFile::loadJson(database, XSceneFile::toJson(database), "scene.velx", error)) << error;
    const int settings = database.findPath("SceneSettings");
    database.setTimeKey(attr(database, settings, "frame"));
    const db::AttrKey driven = attr(database, database.findPath("hips"), "translateY");
    database.setValue(attr(database, settings, "frame"), 0.0f);
    EXPECT_FLOAT_EQ(static_cast<float>(database.value(driven).asDouble()), 1.0f);
    database.setValue(attr(database, settings, "frame"), 10.0f);
    EXPECT_FLOAT_EQ(static_cast<float>(database.value(driven).asDouble()), 2.5f);
}

TEST_F(SceneFileTest, ManyObjectsAndAWideSelectionRoundTrip) {
    int group = database.create(sg::TransformNode::Def, "group");
    std::vector<int> selection;
    for (int i = 0; i < 3000; ++i) {
        int id = database.create(sg::TransformNode::Def, "item" + std::to_string(i), group);
        database.setValue(attr(database, id, "translateX"), static_cast<float>(i) * 0.1f);
        selection.push_back(id);
    }
    database.setSelection(selection);
    const std::string text = XSceneFile::toJson(database);
    db::Database other;
    sg::registerNodeTypes(other);
    std::string error;
    ASSERT_TRUE(XSceneFile::loadJson(other, text, "many.velx", error)) << error;
    EXPECT_EQ(other.selection().size(), selection.size());
    EXPECT_EQ(XSceneFile::toJson(other), text);
}

// ---------------------------------------------------------------- bulk building in the database

TEST(DatabaseBulk, UnrecordedEditsAreNeitherJournaledNorAnnounced) {
    db::Database d;
    sg::registerNodeTypes(d);
    RoundCounter counter;
    d.addObserver(&counter);
    d.create(sg::TransformNode::Def, "before");
    ASSERT_TRUE(d.canUndo());
    const int rounds = counter.rounds;

    ASSERT_TRUE(d.setRecording(false));
    EXPECT_FALSE(d.isRecording());
    EXPECT_FALSE(d.canUndo());  // history cannot replay over unrecorded edits
    int a = d.create(sg::TransformNode::Def, "a");
    int b = d.create(sg::TransformNode::Def, "b", a);
    d.beginChangeBlock();
    d.setValue(attr(d, a, "translateX"), 1.0f);
    d.rename(b, "bee");
    d.setParent(b, db::Database::RootId);
    EXPECT_TRUE(d.connect(attr(d, a, "translateX"), attr(d, b, "translateY")));
    d.setValue(db::AttrKey{a, d.addCustomAttribute(a, customDef("extra", db::ValueType::Int))}, std::int32_t(4));
    d.setSelection({a, b});
    EXPECT_FALSE(d.setRecording(true)) << "refused inside a block";
    d.endChangeBlock("bulk");
    d.remove(d.findPath("before"));
    EXPECT_EQ(counter.rounds, rounds);
    EXPECT_FALSE(d.canUndo());
    EXPECT_EQ(d.value(attr(d, b, "translateY")).asDouble(), 1.0);
    EXPECT_EQ(d.findPath("bee"), b);

    ASSERT_TRUE(d.setRecording(true));
    d.setValue(attr(d, a, "translateX"), 2.0f);
    EXPECT_EQ(counter.rounds, rounds + 1);
    ASSERT_TRUE(d.undo());
    EXPECT_EQ(d.value(attr(d, b, "translateY")).asDouble(), 1.0);
    EXPECT_FALSE(d.canUndo());
    d.removeObserver(&counter);
}

TEST(DatabaseBulk, ReservedIdsAreSkipped) {
    db::Database d;
    sg::registerNodeTypes(d);
    d.reserveIds(100);
    EXPECT_EQ(d.create(sg::TransformNode::Def, "a"), 100);
    d.reserveIds(50);  // never lowers
    EXPECT_EQ(d.create(sg::TransformNode::Def, "b"), 101);
    EXPECT_EQ(d.nodeCount(), 3u);
    EXPECT_FALSE(d.isAlive(50));
}

TEST(DatabaseBulk, TakeContentsExchangesTheWholeScene) {
    db::Database live, scratch;
    sg::registerNodeTypes(live);
    sg::registerNodeTypes(scratch);
    RoundCounter liveRounds, scratchRounds;
    live.addObserver(&liveRounds);
    scratch.addObserver(&scratchRounds);

    // Both use the same ids, so anything left behind would show.
    int old = live.create(sg::TransformNode::Def, "old");
    live.setValue(attr(live, old, "translateX"), 5.0f);
    live.setSelection({old});
    const Velutils::Matrix4 oldWorld = live.value(attr(live, old, "worldMatrix")).get<Velutils::Matrix4>();
    int parent = scratch.create(sg::TransformNode::Def, "new");
    int child = scratch.create(sg::TransformNode::Def, "child", parent);
    ASSERT_EQ(parent, old);
    scratch.setValue(attr(scratch, parent, "translateX"), 7.0f);
    ASSERT_TRUE(scratch.connect(attr(scratch, parent, "translateX"), attr(scratch, child, "translateY")));
    scratch.setSelection({child});
    scratch.setTimeKey(attr(scratch, parent, "rotateX"));
    const Velutils::Matrix4 newWorld = scratch.value(attr(scratch, parent, "worldMatrix")).get<Velutils::Matrix4>();
    ASSERT_TRUE(live.canUndo());
    ASSERT_TRUE(scratch.canUndo());
    const int liveBefore = liveRounds.rounds, scratchBefore = scratchRounds.rounds;

    scratch.beginChangeBlock();
    EXPECT_FALSE(live.takeContents(scratch)) << "refused while a block is open";
    scratch.endChangeBlock();
    ASSERT_TRUE(live.takeContents(scratch));
    EXPECT_EQ(liveRounds.rounds, liveBefore);
    EXPECT_FALSE(live.canUndo());
    EXPECT_FALSE(scratch.canUndo());

    EXPECT_EQ(live.findPath("new/child"), child);
    EXPECT_EQ(live.findPath("old"), -1);
    EXPECT_EQ(live.nodeCount(), 3u);
    EXPECT_EQ(live.selection(), std::vector<int>{child});
    EXPECT_TRUE(live.isSelected(child));
    EXPECT_EQ(live.input(attr(live, child, "translateY")), attr(live, parent, "translateX"));
    EXPECT_EQ(live.timeKey(), attr(live, parent, "rotateX"));
    EXPECT_EQ(live.value(attr(live, parent, "worldMatrix")).get<Velutils::Matrix4>().m[3][0], newWorld.m[3][0]);
    EXPECT_EQ(scratch.findPath("old"), old);
    EXPECT_EQ(scratch.selection(), std::vector<int>{old});
    EXPECT_EQ(scratch.value(attr(scratch, old, "worldMatrix")).get<Velutils::Matrix4>().m[3][0], oldWorld.m[3][0]);

    // Each keeps its own observers, and cached values follow the new inputs.
    live.setValue(attr(live, parent, "translateX"), 9.0f);
    EXPECT_EQ(liveRounds.rounds, liveBefore + 1);
    EXPECT_EQ(scratchRounds.rounds, scratchBefore);
    EXPECT_EQ(live.value(attr(live, child, "translateY")).asDouble(), 9.0);
    EXPECT_EQ(live.value(attr(live, parent, "worldMatrix")).get<Velutils::Matrix4>().m[3][0], 9.0f);
    live.removeObserver(&liveRounds);
    scratch.removeObserver(&scratchRounds);
}

}  // namespace
