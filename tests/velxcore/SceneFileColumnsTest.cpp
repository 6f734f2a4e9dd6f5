// Animation keys in a scene file: one list per field ("keys": {"time": [...], "value": [...]}),
// read straight into the packed keys. Files of the first version, one object per key, still load.
#include "PeakResident.h"

#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

using VelX::XSceneFile;
using Json = nlohmann::ordered_json;

namespace {

constexpr std::int32_t Linear = 1, Flat = 2, Step = 3, Smooth = 4;

db::AttrKey keysOf(const db::Database& d, int id) { return db::AttrKey{id, d.node(id)->def().findTopLevel("keys")}; }

db::Value key(float time, float value, std::int32_t in = Smooth, std::int32_t out = Smooth, float inSlope = 0,
              float outSlope = 0) {
    return db::ValueList{time, value, in, out, inSlope, outSlope};
}

bool sameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

std::unique_ptr<db::Database> emptyScene() {
    auto d = std::make_unique<db::Database>();
    sg::registerNodeTypes(*d);
    return d;
}

// Curves whose keys leave fields at their defaults in different ways, one driving a transform
// and one of its keys driven by it; with the settings objects that loading adds when missing.
std::unique_ptr<db::Database> animatedScene(bool settings = true) {
    auto d = emptyScene();
    for (const db::NodeDef* def : sg::allNodeDefs())
        if (settings && def->hasFlag(db::SettingsType)) d->create(*def, def->typeName());
    const int hips = d->create(sg::TransformNode::Def, "hips");
    const int plain = d->create(sg::AnimationNode::Def, "plain");
    const int mixed = d->create(sg::AnimationNode::Def, "mixed");
    const int still = d->create(sg::AnimationNode::Def, "still");
    d->setValue(keysOf(*d, plain), db::ValueList{key(1, 0.1f), key(3, 0.25f), key(5, -0.5f)});
    d->setValue(keysOf(*d, mixed),
                db::ValueList{key(0, std::numeric_limits<float>::quiet_NaN(), Linear, Step, -0.0f),
                              key(1.0f / 3.0f, FLT_MAX, Smooth, Flat, 0, 1e-7f),
                              key(std::numeric_limits<float>::denorm_min(), -std::numeric_limits<float>::infinity(), Linear)});
    d->setValue(keysOf(*d, still), db::ValueList{key(0, 0)});
    EXPECT_TRUE(d->connect(db::AttrKey{mixed, d->node(mixed)->def().findTopLevel("output")},
                           db::AttrKey{hips, d->node(hips)->def().findTopLevel("translateX")}));
    EXPECT_TRUE(d->connect(db::AttrKey{hips, d->node(hips)->def().findTopLevel("translateY")},
                           db::AttrKey{plain, keysOf(*d, plain).slot, 2, 1}));
    return d;
}

const Json& keysIn(const Json& doc, const std::string& name) {
    for (const Json& o : doc["objects"])
        if (o["name"] == name) return o["attributes"]["keys"];
    static const Json none;
    return none;
}

// The same document with each object's "type" last: its arrays cannot be read as they come (the
// reader does not know their attribute yet) and are read from the object held whole.
std::string typeLast(const std::string& text) {
    Json doc = Json::parse(text);
    for (Json& o : doc["objects"]) {
        Json type = o["type"];
        o.erase("type");
        o["type"] = type;
    }
    return doc.dump(2);
}

std::string loadedAgain(const std::string& text, const char* what) {
    auto d = emptyScene();
    std::string error;
    EXPECT_TRUE(XSceneFile::loadJson(*d, text, "keys.velx", error)) << what << ": " << error;
    return XSceneFile::toJson(*d);
}

}  // namespace

TEST(SceneFileColumns, KeysRoundTripBitForBitWithFieldsAtTheirDefaultsLeftOut) {
    const auto scene = animatedScene();
    const std::string text = XSceneFile::toJson(*scene);
    const Json doc = Json::parse(text);
    EXPECT_EQ(keysIn(doc, "plain").dump(), R"({"time":[1.0,3.0,5.0],"value":[0.1,0.25,-0.5]})");
    EXPECT_EQ(keysIn(doc, "still").dump(), R"({"time":[0.0]})") << "the first column is always written";
    EXPECT_EQ(keysIn(doc, "mixed").dump(),
              R"({"time":[0.0,0.33333334,1e-45],"value":["nan",3.4028235e+38,"-inf"],"inTangent":["linear","smooth","linear"],)"
              R"("outTangent":["step","flat","smooth"],"inSlope":[-0.0,0.0,0.0],"outSlope":[0.0,1e-07,0.0]})")
        << "-0.0 is not the default 0.0";
    EXPECT_NE(text.find("\n        \"keys\": {\n          \"time\": [1.0, 3.0, 5.0],\n          \"value\": [0.1, 0.25, -0.5]\n        }"),
              std::string::npos)
        << "one column to a line:\n" << text;

    auto loaded = emptyScene();
    std::string error;
    ASSERT_TRUE(XSceneFile::loadJson(*loaded, text, "keys.velx", error)) << error;
    EXPECT_EQ(XSceneFile::toJson(*loaded), text);
    const int mixed = loaded->findPath("mixed");
    const db::AttrKey keys = keysOf(*loaded, mixed);
    ASSERT_EQ(loaded->arraySize(keys), 3);
    EXPECT_TRUE(std::isnan(loaded->storedValue(db::AttrKey{mixed, keys.slot, 0, 1}).get<float>()));
    EXPECT_TRUE(sameBits(loaded->storedValue(db::AttrKey{mixed, keys.slot, 0, 4}).get<float>(), -0.0f));
    EXPECT_TRUE(sameBits(loaded->storedValue(db::AttrKey{mixed, keys.slot, 1, 0}).get<float>(), 1.0f / 3.0f));
    EXPECT_TRUE(sameBits(loaded->storedValue(db::AttrKey{mixed, keys.slot, 2, 0}).get<float>(),
                         std::numeric_limits<float>::denorm_min()));
    EXPECT_EQ(loaded->storedValue(db::AttrKey{mixed, keys.slot, 1, 3}).asInt(), Flat);
    EXPECT_EQ(loaded->storedValue(db::AttrKey{mixed, keys.slot, 2, 3}).asInt(), Smooth) << "a default within a written column";
    const int still = loaded->findPath("still");
    EXPECT_EQ(loaded->storedValue(db::AttrKey{still, keysOf(*loaded, still).slot, 0, 2}).asInt(), Smooth)
        << "a column left out gives the default";

    EXPECT_EQ(loadedAgain(typeLast(text), "type last"), text);
}

// A file of the first version writes one object per key; it loads to the scene that the columns
// describe, whether its keys are read as they come or with the object held whole.
TEST(SceneFileColumns, AFileWithOneObjectPerKeyLoadsToTheSameScene) {
    const std::string current = loadedAgain(XSceneFile::toJson(*animatedScene(false)), "current");
    const std::string firstVersion = R"({"format": "velx-scene", "version": 1, "objects": [
  {"id": 1, "type": "Transform", "name": "hips", "parent": null},
  {"id": 2, "type": "Animation", "name": "plain", "parent": null, "attributes": {"keys": [
    {"time": 1.0, "value": 0.1, "inTangent": "smooth", "outTangent": "smooth", "inSlope": 0.0, "outSlope": 0.0},
    {"time": 3.0, "value": 0.25},
    {"value": -0.5, "time": 5.0}]}},
  {"id": 3, "type": "Animation", "name": "mixed", "parent": null, "attributes": {"keys": [
    {"time": 0.0, "value": "nan", "inTangent": "linear", "outTangent": "step", "inSlope": -0.0},
    {"time": 0.33333334, "value": 3.4028235e+38, "outTangent": "flat", "outSlope": 1e-07},
    {"time": 1e-45, "value": "-inf", "inTangent": "linear"}]}},
  {"id": 4, "type": "Animation", "name": "still", "parent": null, "attributes": {"keys": [{}]}}],
 "connections": [{"from": "mixed.output", "to": "hips.translateX"}, {"from": "hips.translateY", "to": "plain.keys[2].value"}],
 "selection": []})";
    EXPECT_EQ(loadedAgain(firstVersion, "first version"), current);
    EXPECT_EQ(loadedAgain(typeLast(firstVersion), "first version, type last"), current);
}

// Every problem of a column is named by its place, whether the columns are read as they come or
// from the object held whole (its type given last).
TEST(SceneFileColumns, AWrongColumnIsNamedWithItsPlace) {
    const auto scene = [](const std::string& keys, bool typeFirst) {
        const std::string type = R"("type": "Animation", )";
        return R"({"format": "velx-scene", "version": 2, "objects": [{"id": 1, )" + (typeFirst ? type : "") +
               R"("name": "walk", "parent": null, )" + (typeFirst ? "" : type) + R"("attributes": {"keys": )" + keys + "}}]}";
    };
    struct Case {
        const char* what;
        std::string keys;
        std::string expected;
    };
    const std::string place = "objects[0].attributes.keys";
    const std::vector<Case> cases = {
        {"a word among numbers", R"({"time": [0, 1, 2, 3, 4, 5, 6, "x"], "value": [0, 0, 0, 0, 0, 0, 0, 0]})",
         place + R"(.time[7]: expected a number, found "x")"},
        {"no time", R"({"value": [1, 2]})", place + R"(: missing "time")"},
        {"nothing", "{}", place + R"(: missing "time")"},
        {"a short column", R"({"time": [0, 1, 2], "value": [1, 2]})",
         place + R"(.value: expected 3 elements, as many as "time" has, found 2)"},
        {"a long column before the time", R"({"value": [1, 2, 3], "time": [0, 1]})",
         place + R"(.value: expected 2 elements, as many as "time" has, found 3)"},
        {"an empty column", R"({"time": [0], "outSlope": []})",
         place + R"(.outSlope: expected 1 element, as many as "time" has, found 0)"},
        {"an unknown field", R"({"time": [0], "speed": [1]})", place + ".speed: no field 'speed' in 'keys'"},
        {"a number for a column", R"({"time": 3})", place + ".time: expected an array, found 3"},
        {"an object for a column", R"({"time": {"at": [1]}})", place + ".time: expected an array, found an object"},
        {"a list in a column", R"({"time": [0, [1]]})", place + ".time[1]: expected a number, found an array"},
        {"an object in a column", R"({"time": [{"t": 1}]})", place + ".time[0]: expected a number, found an object"},
        {"a choice by a wrong name", R"({"time": [0, 1], "inTangent": ["smooth", "wavy"]})",
         place + R"(.inTangent[1]: "wavy" is not one of fixed, linear, flat, step, smooth)"},
        {"a choice by number", R"({"time": [0], "outTangent": [2]})", place + ".outTangent[0]: expected one of fixed"},
        {"a number beyond a float", R"({"time": [3.5e38]})", place + ".time[0]: number out of range"},
        {"a list of keys that is neither", "3", place + ": expected an array, found 3"},
    };
    for (const bool typeFirst : {true, false}) {
        for (const Case& c : cases) {
            auto d = emptyScene();
            const std::string before = XSceneFile::toJson(*d);
            std::string error;
            EXPECT_FALSE(XSceneFile::loadJson(*d, scene(c.keys, typeFirst), "keys.velx", error)) << c.what;
            EXPECT_EQ(error.rfind("keys.velx: " + c.expected, 0), 0u) << c.what << (typeFirst ? "" : ", type last") << ": " << error;
            EXPECT_EQ(XSceneFile::toJson(*d), before) << c.what;
        }
    }
    // Only arrays of numbers are kept in columns: other arrays of compounds are lists of objects.
    auto d = emptyScene();
    std::string error;
    EXPECT_FALSE(XSceneFile::loadJson(
        *d, R"({"format": "velx-scene", "version": 2, "objects": [{"id": 1, "type": "SceneSettings", "name": "s", "parent": null, )"
            R"("attributes": {"plugins": {"path": ["a.so"]}}}]})",
        "plugins.velx", error));
    EXPECT_EQ(error, "plugins.velx: objects[0].attributes.plugins: expected an array, found an object");
}

// The parser refuses, with the line and column, a column given twice and more keys than any
// object may have, as it does for every JSON object of the file.
TEST(SceneFileColumns, TheParserRefusesAColumnGivenTwiceAndTooManyKeys) {
    const std::string start = R"({"format": "velx-scene", "version": 2, "objects": [{"id": 1, "type": "Animation", "name": "walk", )"
                              R"("parent": null, "attributes": {"keys": )";
    const std::string twice = start + R"({"time": [0], "value": [1], "time": [2]}}}]})";
    auto d = emptyScene();
    std::string error;
    EXPECT_FALSE(XSceneFile::loadJson(*d, twice, "keys.velx", error));
    EXPECT_EQ(error, "keys.velx: line 1, column " + std::to_string(twice.rfind("\"time\"") + 1) +
                         ": duplicate key \"time\" in objects[0].attributes.keys");

    std::string many = R"("time": [0])";
    for (std::size_t k = 0; k < XSceneFile::MaxObjectKeys; ++k) many += ", \"k" + std::to_string(k) + "\": 0";
    EXPECT_FALSE(XSceneFile::loadJson(*d, start + "{" + many + "}}}]}", "keys.velx", error));
    EXPECT_NE(error.find(": objects[0].attributes.keys: more than the 10000 keys in one object"), std::string::npos) << error;
}

// Keys in columns, a few bytes of text each, go straight into the packed keys (24 bytes each): a
// curve of 400,000 keys is never also held as JSON or as a list of values.
TEST(SceneFileColumns, ALongCurveTakesMemoryInProportionToItsKeys) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the address sanitizer keeps freed memory aside";
#endif
    constexpr int Keys = 400000;
    std::string times, values;
    for (int k = 0; k < Keys; ++k) {
        times += (k ? ", " : "") + std::to_string(k) + ".0";
        values += (k ? ", " : "") + std::to_string(k % 100) + ".5";
    }
    const std::string text = R"({"format": "velx-scene", "version": 2, "objects": [{"id": 1, "type": "Animation", "name": "walk", )"
                             R"("parent": null, "attributes": {"keys": {"time": [)" + times + R"(], "value": [)" + values + "]}}}]}";
    auto d = emptyScene();
    PeakResident peak;
    if (!peak.start()) GTEST_SKIP() << "the peak resident size cannot be started anew here";
    std::string error;
    ASSERT_TRUE(XSceneFile::loadJson(*d, text, "walk.velx", error)) << error;
    EXPECT_LT(peak.growthBytes(), 2 * text.size()) << "for " << text.size() << " bytes of text";
    const int walk = d->findPath("walk");
    ASSERT_EQ(d->arraySize(keysOf(*d, walk)), Keys);
    EXPECT_EQ(d->storedValue(db::AttrKey{walk, keysOf(*d, walk).slot, Keys - 1, 0}).get<float>(), static_cast<float>(Keys - 1));
    EXPECT_EQ(d->storedValue(db::AttrKey{walk, keysOf(*d, walk).slot, Keys - 1, 1}).get<float>(), 99.5f);
}

// A scene of a few megabytes is saved in pieces as its text is made: the file holds the whole
// text, in order, and loads back to the same scene.
TEST(SceneFileColumns, ALargeSceneIsSavedInPiecesThatMakeTheWholeText) {
    auto d = animatedScene();
    for (int c = 0; c < 60; ++c) {
        db::ValueList keys;
        for (int k = 0; k < 2000; ++k) keys.push_back(key(static_cast<float>(k), std::sin(0.1f * static_cast<float>(k + c)), Linear));
        d->setValue(keysOf(*d, d->create(sg::AnimationNode::Def, "curve")), std::move(keys));
    }
    const std::string text = XSceneFile::toJson(*d);
    ASSERT_GT(text.size(), 3u << 20);
    std::string folder = (std::filesystem::temp_directory_path() / "velx-columns-XXXXXX").string();
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    const std::string file = folder + "/large.velx";
    std::string error;
    EXPECT_TRUE(XSceneFile::save(*d, file, error)) << error;
    std::ifstream in(file, std::ios::binary);
    const std::string saved((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_TRUE(saved == text) << saved.size() << " bytes saved of " << text.size();
    auto loaded = emptyScene();
    EXPECT_TRUE(XSceneFile::load(*loaded, file, error)) << error;
    EXPECT_TRUE(XSceneFile::toJson(*loaded) == text);
    std::filesystem::remove_all(folder);
}
