// Scene files as a stranger would write them: every test builds its own hostile text and checks
// that the loader refuses it with a short message naming the place, leaving the open scene as it was.
#include "PeakResident.h"

#include <velxcore/XJsonValueCodec.h>
#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using VelX::XJsonValueCodec;
using VelX::XSceneFile;
namespace fs = std::filesystem;

namespace {

// One Transform object per entry of `objects` (already written JSON objects) in a minimal scene.
std::string sceneText(const std::string& objects, const std::string& after = "") {
    return R"({"format": "velx-scene", "version": 1, "objects": [)" + objects + "]" + after + "}";
}

std::string transform(int id, const std::string& name, const std::string& extra = "") {
    return R"({"id": )" + std::to_string(id) + R"(, "type": "Transform", "name": ")" + name + R"(", "parent": null)" +
           extra + "}";
}

bool isWellFormedUtf8(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const std::size_t length = c < 0x80 ? 1 : (c >> 5) == 0x6 ? 2 : (c >> 4) == 0xE ? 3 : (c >> 3) == 0x1E ? 4 : 0;
        if (length == 0 || i + length > text.size()) return false;
        for (std::size_t k = 1; k < length; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
        i += length;
    }
    return true;
}

bool hasControlCharacters(const std::string& text) {
    for (char c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return true;
    return false;
}

class SceneFileHostile : public ::testing::Test {
protected:
    void SetUp() override {
        sg::registerNodeTypes(database);
        database.create(sg::TransformNode::Def, "kept");
        database.clearUndo();
        before = XSceneFile::toJson(database);
    }
    // Loads the text, which must be refused; returns the message.
    std::string refusal(const std::string& text, const char* what) {
        std::string error;
        EXPECT_FALSE(XSceneFile::loadJson(database, text, "hostile.velx", error)) << what;
        EXPECT_EQ(error.rfind("hostile.velx: ", 0), 0u) << what << ": " << error.substr(0, 300);
        EXPECT_TRUE(XSceneFile::toJson(database) == before) << what << ": the open scene changed";
        return error;
    }

    db::Database database;
    std::string before;
};

// The same, with a folder of its own for files on disk.
class SceneFileOnDisk : public SceneFileHostile {
protected:
    void SetUp() override {
        SceneFileHostile::SetUp();
        std::string pattern = (fs::temp_directory_path() / "velx-hostile-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        dir = pattern;
    }
    void TearDown() override { fs::remove_all(dir); }
    // Loads the file, which must be refused; returns the message.
    std::string fileRefusal(const fs::path& file, const char* what) {
        std::string error;
        EXPECT_FALSE(XSceneFile::load(database, file.string(), error)) << what;
        EXPECT_EQ(XSceneFile::toJson(database), before) << what << ": the open scene changed";
        return error;
    }

    fs::path dir;
};

// ---------------------------------------------------------------- what messages quote

TEST(SceneFileExcerpt, CutsLongTextOnACharacterAndEscapesWhatDoesNotPrint) {
    EXPECT_EQ(XJsonValueCodec::excerpt("translateX"), "translateX");
    EXPECT_EQ(XJsonValueCodec::excerpt(std::string(60, 'a')), std::string(60, 'a'));
    EXPECT_EQ(XJsonValueCodec::excerpt(std::string(61, 'a')), std::string(60, 'a') + "...");
    EXPECT_EQ(XJsonValueCodec::excerpt("a\nb\tc\\d"), "a\\nb\\tc\\\\d");
    EXPECT_EQ(XJsonValueCodec::excerpt("bell\x07 del\x7F"), "bell\\u0007 del\\u007F");
    // A right-to-left override and a zero-width space would hide or reorder what follows them.
    EXPECT_EQ(XJsonValueCodec::excerpt("a\xE2\x80\xAE" "b\xE2\x80\x8B" "c"), "a\\u202Eb\\u200Bc");
    EXPECT_EQ(XJsonValueCodec::excerpt("bad\xFF\xC3"), "bad\\xFF\\xC3");
    EXPECT_EQ(XJsonValueCodec::excerpt("\xED\xA0\x80"), "\\xED\\xA0\\x80") << "a surrogate is no character";

    // Two-byte characters: never split, each counts as one.
    std::string accents;
    for (int i = 0; i < 100; ++i) accents += "\xC3\xA9";
    const std::string cut = XJsonValueCodec::excerpt(accents);
    EXPECT_EQ(cut, accents.substr(0, 120) + "...");
    EXPECT_TRUE(isWellFormedUtf8(cut));
}

TEST_F(SceneFileHostile, MessagesQuoteOnlyAShortExcerptOfWhatTheFileHolds) {
    const std::string huge(1 << 20, 'k');
    const std::string hugeName(1 << 20, 'n');
    std::string accents;
    for (int i = 0; i < 200000; ++i) accents += "\xC3\xA9";
    struct Case {
        const char* what;
        std::string text;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"unknown key", sceneText("", ", \"" + huge + "\": 1"), ": unknown key"},
        {"unknown attribute", sceneText(transform(1, "t", ", \"attributes\": {\"" + huge + "\": 1}")), "no attribute 'kkk"},
        {"unknown compound field",
         sceneText(transform(1, "t", ", \"attributes\": {\"colour\": {\"" + huge + "\": 1}}")), "no field 'kkk"},
        {"long name twice", sceneText(transform(1, hugeName) + "," + transform(2, hugeName)), "duplicate name: 'nnn"},
        {"string for a number", sceneText(transform(1, "t", ", \"attributes\": {\"translateX\": \"" + huge + "\"}")),
         "expected a number, found \"kkk"},
        {"long type name", sceneText(R"({"id": 1, "type": ")" + huge + R"(", "name": "t", "parent": null})"),
         "unknown object type \"kkk"},
        {"long selection path", sceneText(transform(1, "t"), ", \"selection\": [\"" + huge + "\"]"), "no object 'kkk"},
        {"long connection end", sceneText(transform(1, "t"), ", \"connections\": [{\"from\": \"" + huge + ".x\", \"to\": \"t.translateX\"}]"),
         "dangling reference: no object 'kkk"},
        {"long custom attribute name",
         sceneText(transform(1, "t", ", \"custom\": [{\"name\": \"" + huge + "!\", \"type\": 4}]")), "is not a valid attribute name"},
        {"syntax error in a long string", sceneText(transform(1, "t" + huge + "\n")), "last read: '\"tkkk"},
        {"unknown key of escaped controls", sceneText("", R"(, "a\u0007b\u202Ec\nd": 1)"), "a\\u0007b\\u202Ec\\nd: unknown key"},
        {"accented key", sceneText("", ", \"" + accents + "\": 1"), "\xC3\xA9\xC3\xA9..."},
    };
    for (const Case& c : cases) {
        const std::string error = refusal(c.text, c.what);
        EXPECT_LT(error.size(), 400u) << c.what << ": " << error.substr(0, 400);
        EXPECT_NE(error.find(c.expected), std::string::npos) << c.what << ": " << error.substr(0, 400);
        EXPECT_TRUE(isWellFormedUtf8(error)) << c.what;
        EXPECT_FALSE(hasControlCharacters(error)) << c.what;
    }
}

// ---------------------------------------------------------------- keys given twice

// "line L, column C" of the n-th (from 0) occurrence of `needle` in the text.
std::string placeOfOccurrence(const std::string& text, const std::string& needle, int n) {
    std::size_t at = text.find(needle);
    while (n-- > 0 && at != std::string::npos) at = text.find(needle, at + 1);
    if (at == std::string::npos) return "nowhere";
    const std::size_t lineStart = text.rfind('\n', at);
    const std::size_t line = 1 + static_cast<std::size_t>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
    const std::size_t column = lineStart == std::string::npos ? at + 1 : at - lineStart;
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// A reader of the file sees the first value, the loader would take the last: one start script
// shown, another run. Every JSON object of the file refuses a key it already has.
TEST_F(SceneFileHostile, AKeyGivenTwiceInAnyObjectIsRefusedWithItsPlace) {
    const std::string animation = R"({"id": 2, "type": "Animation", "name": "anim", "parent": null, "attributes": )";
    struct Case {
        const char* what;
        std::string text;
        std::string key;       // as written the second time
        int occurrence;        // of `key` in the text
        std::string container;
    };
    const std::vector<Case> cases = {
        {"document", sceneText(transform(1, "t"), R"(, "format": "velx-scene")"), "\"format\"", 1, "the scene"},
        {"object", sceneText(transform(1, "t", R"(, "name": "other")")), "\"name\"", 1, "objects[0]"},
        {"attribute on a line of its own",
         sceneText(transform(1, "t", ",\n   \"attributes\": {\"translateX\": 1,\n     \"translateX\": 2}")), "\"translateX\"", 1,
         "objects[0].attributes"},
        {"compound field", sceneText(transform(1, "t", R"(, "attributes": {"colour": {"g": 1, "g": 0.5}})")), "\"g\"", 1,
         "objects[0].attributes.colour"},
        {"written differently", sceneText(transform(1, "t", R"(, "attributes": {"rotateX": 1, "rotat\u0065X": 2})")),
         "\"rotat\\u0065X\"", 0, "objects[0].attributes"},
        {"array element", sceneText(animation + R"({"keys": [{"time": 0, "value": 1, "time": 5}]}})"), "\"time\"", 1,
         "objects[0].attributes.keys[0]"},
        {"custom attribute",
         sceneText(transform(1, "t", R"(, "custom": [{"name": "a", "type": 4}, {"name": "b", "type": 4, "type": 5}])")),
         "\"type\"", 3, "objects[0].custom[1]"},
        {"connection", sceneText(transform(1, "t"), R"(, "connections": [{"from": "t.translateX", "to": "t.translateY", "to": "t.translateZ"}])"),
         "\"to\"", 1, "connections[0]"},
    };
    for (const Case& c : cases) {
        const std::string error = refusal(c.text, c.what);
        std::string key = c.key;
        if (key.find("\\u0065") != std::string::npos) key = "\"rotateX\"";
        const std::string expected = "hostile.velx: " + placeOfOccurrence(c.text, c.key, c.occurrence) + ": duplicate key " + key + " in " + c.container;
        EXPECT_EQ(error, expected) << c.what;
    }
}

// ---------------------------------------------------------------- limits

TEST_F(SceneFileHostile, WhatGoesBeyondTheLimitsIsRefusedWithThePlace) {
    const std::string tooLongText(XSceneFile::MaxStringBytes + 1, 'x');
    std::string nested = "1";
    for (int i = 0; i < XSceneFile::MaxNesting; ++i) nested = "[" + nested + "]";
    // The scene, its objects, the object and its attributes are four levels: the list that is one
    // too many is the 61st.
    std::string deepest = "objects[0].attributes.translateX";
    for (int i = 4; i < XSceneFile::MaxNesting; ++i) deepest += "[0]";
    deepest += ": lists and objects inside each other more than the 64 levels";
    std::string manyKeys;
    for (std::size_t i = 0; i <= XSceneFile::MaxObjectKeys; ++i) manyKeys += (i ? ", \"k" : "\"k") + std::to_string(i) + "\": 0";
    std::string manyCustom;
    for (int i = 0; i <= XSceneFile::MaxCustomAttributes; ++i)
        manyCustom += (i ? ", " : "") + std::string(R"({"name": "c)") + std::to_string(i) + R"(", "type": 4})";
    std::string manyZeros = "0";
    for (std::size_t i = 0; i < XSceneFile::MaxArrayElements; ++i) manyZeros += ",0";
    struct Case {
        const char* what;
        std::string text;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"long name", sceneText(transform(1, tooLongText)),
         "line 1, column 91: objects[0].name: a text of 16777217 bytes, more than the 16777216 bytes a scene file may hold"},
        {"long key", sceneText(transform(1, "t", ", \"attributes\": {\"" + tooLongText + "\": 1}")),
         "objects[0].attributes: a key of 16777217 bytes, more than the 16777216 bytes"},
        {"deep lists", sceneText(transform(1, "t", ", \"attributes\": {\"translateX\": " + nested + "}")), deepest},
        {"many keys", sceneText(transform(1, "t", ", \"attributes\": {" + manyKeys + "}")),
         "objects[0].attributes: more than the 10000 keys in one object"},
        {"many custom attributes", sceneText(transform(1, "t", ", \"custom\": [" + manyCustom + "]")),
         "objects[0].custom: more than the 1000 custom attributes an object may have"},
        {"long list", sceneText(transform(1, "t"), ", \"selection\": [" + manyZeros + "]"),
         "selection: more than the 10000000 elements in one list"},
        {"many objects", sceneText(manyZeros), "objects: more than the 10000000 objects"},
        {"text after a NUL byte", sceneText(transform(1, "t")) + std::string(1, '\0') + "{\"more\": 1}", "a NUL byte"},
    };
    for (const Case& c : cases) {
        const std::string error = refusal(c.text, c.what);
        EXPECT_NE(error.find(c.expected), std::string::npos) << c.what << ": " << error.substr(0, 400);
        EXPECT_LT(error.size(), 400u) << c.what;
    }
}

// A parent chain 50,000 levels deep in a 3 MB file: refused at the first object past the limit.
TEST_F(SceneFileHostile, AHierarchyDeeperThanTheLimitIsRefused) {
    auto chain = [](int depth) {
        std::string objects;
        for (int i = 1; i <= depth; ++i)
            objects += (i > 1 ? "," : "") + std::string(R"({"id":)") + std::to_string(i) + R"(,"type":"Transform","name":"c","parent":)" +
                       (i > 1 ? std::to_string(i - 1) : "null") + "}";
        return sceneText(objects, R"(, "selection": ["c)" + [&] {
            std::string path;
            for (int i = 1; i < depth; ++i) path += "/c";
            return path;
        }() + "\"]");
    };
    const std::string error = refusal(chain(50000), "50,000 levels");
    EXPECT_NE(error.find("objects[2000].parent: the hierarchy is more than 2000 levels deep"), std::string::npos) << error;

    std::string loaded;
    ASSERT_TRUE(XSceneFile::loadJson(database, chain(XSceneFile::MaxDepth), "deepest.velx", loaded)) << loaded;
    ASSERT_EQ(database.selection().size(), 1u);
    const db::Node* deepest = database.node(database.selection()[0]);
    int depth = 0;
    for (const db::Node* n = deepest; n->parent() != db::Database::RootId; n = database.node(n->parent())) ++depth;
    EXPECT_EQ(depth + 1, XSceneFile::MaxDepth);
}

// Bytes the allocator has handed out, including blocks served by mmap.
std::size_t heapBytes() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Connections and the selection name objects by path: at the deepest level allowed, with long
// names, every object's path together would be gigabytes. Loading must take memory in proportion
// to the file.
TEST_F(SceneFileHostile, PathsIntoADeepHierarchyTakeMemoryInProportionToTheFile) {
    const std::string name(1000, 'n');
    std::string objects, path;
    for (int i = 1; i <= XSceneFile::MaxDepth; ++i) {
        objects += (i > 1 ? "," : "") + std::string(R"({"id":)") + std::to_string(i) + R"(,"type":"Transform","name":")" + name +
                   R"(","parent":)" + (i > 1 ? std::to_string(i - 1) : "null") + "}";
        path += (i > 1 ? "/" : "") + name;
    }
    const std::string text = sceneText(objects, R"(, "connections": [{"from": ")" + path + R"(.translateX", "to": ")" + name +
                                                    R"(.translateY"}], "selection": [")" + path + "\"]");
    const std::size_t before = heapBytes();
    std::size_t peak = before;
    std::string error;
    ASSERT_TRUE(XSceneFile::loadJson(database, text, "deep.velx", error, [&](const char*, std::size_t, std::size_t) {
        peak = std::max(peak, heapBytes());
    })) << error.substr(0, 300);
    EXPECT_LT(peak - before, 10 * text.size()) << "for " << text.size() << " bytes of text";
    ASSERT_EQ(database.selection().size(), 1u);
    const db::Node* top = database.node(database.node(db::Database::RootId)->children()[0]);
    EXPECT_EQ(database.input(db::AttrKey{top->id(), top->def().findTopLevel("translateY")}).node, database.selection()[0]);
}

// Arrays are read element by element, each element's value kept once and handed to the database
// whole: an animation of 40,000 keys is never also held as JSON, nor copied on its way in.
TEST_F(SceneFileHostile, ALongAnimationTakesMemoryInProportionToTheFile) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the address sanitizer keeps freed memory aside";
#endif
    constexpr int Keys = 40000;
    std::string keys;
    for (int k = 0; k < Keys; ++k)
        keys += (k ? ",\n" : "") + std::string(R"({"time": )") + std::to_string(k) +
                R"(.0, "value": 1.5, "inTangent": "smooth", "outTangent": "linear", "inSlope": 0.0, "outSlope": 0.25})";
    const std::string text = sceneText(R"({"id": 1, "type": "Animation", "name": "walk", "parent": null, "attributes": {"keys": [)" +
                                       keys + "]}}");
    PeakResident peak;
    if (!peak.start()) GTEST_SKIP() << "the peak resident size cannot be started anew here";
    std::string error;
    ASSERT_TRUE(XSceneFile::loadJson(database, text, "walk.velx", error)) << error;
    EXPECT_LT(peak.growthBytes(), 10 * text.size()) << "for " << text.size() << " bytes of text";
    const int walk = database.findPath("walk");
    const db::AttrKey list{walk, database.node(walk)->def().findTopLevel("keys")};
    EXPECT_EQ(database.arraySize(list), Keys);
    EXPECT_EQ(database.storedValue(db::AttrKey{walk, list.slot, Keys - 1, 0}).get<float>(), static_cast<float>(Keys - 1));
}

// Read element by element, arrays still name the element and field that is wrong.
TEST_F(SceneFileHostile, AWrongElementOfAnArrayIsNamedWithItsPlace) {
    const std::string animation = R"({"id": 1, "type": "Animation", "name": "walk", "parent": null, )";
    struct Case {
        const char* what;
        std::string text;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"key field", sceneText(animation + R"("attributes": {"keys": [{"time": 0}, {"time": "soon"}]}})"),
         R"(objects[0].attributes.keys[1].time: expected a number, found "soon")"},
        {"key that is no object", sceneText(animation + R"("attributes": {"keys": [{"time": 0}, 3]}})"),
         "objects[0].attributes.keys[1]: expected an object with the fields of 'keys', found 3"},
        {"custom list", sceneText(transform(1, "t", R"(, "custom": [{"name": "fl", "type": 4, "isArray": true, "value": [1, 2, true]}])")),
         "objects[0].custom[0].value[2]: expected a number, found true"},
        {"custom choices", sceneText(transform(1, "t", R"(, "custom": [{"name": "e", "type": 3, "isArray": true, "enumNames": ["a", "b"], "value": ["a", "c"]}])")),
         "objects[0].custom[0].value[1]: \"c\" is not one of a, b"},
        {"type after the attributes", sceneText(R"({"id": 1, "name": "walk", "parent": null, "attributes": {"keys": [{"time": "x"}]}, "type": "Animation"})"),
         R"(objects[0].attributes.keys[0].time: expected a number, found "x")"},
        {"a wrong object before", sceneText(transform(1, "t", R"(, "attributes": {"wobble": 1})") + "," + animation +
                                            R"("attributes": {"keys": [{"time": "x"}]}})"),
         "objects[0].attributes.wobble: no attribute 'wobble'"},
    };
    for (const Case& c : cases) {
        const std::string error = refusal(c.text, c.what);
        EXPECT_NE(error.find(c.expected), std::string::npos) << c.what << ": " << error;
    }
}

// A chain of connections, each object driving the next, checked for loops link by link is work in
// the square of its length: a 2.5 MB file took 36 s. The loop checks must stay in proportion.
TEST_F(SceneFileHostile, AChainOfConnectionsLoadsInWorkInProportionToItsLength) {
    constexpr int Length = 5000;
    std::string objects, connections;
    for (int i = 1; i <= Length; ++i) {
        objects += (i > 1 ? "," : "") + transform(i, "t" + std::to_string(i));
        if (i < Length)
            connections += (i > 1 ? "," : "") + std::string(R"({"from": "t)") + std::to_string(i) + R"(.translateX", "to": "t)" +
                           std::to_string(i + 1) + R"(.translateX"})";
    }
    const std::uint64_t stepsBefore = db::Database::loopCheckSteps();
    std::string error;
    ASSERT_TRUE(XSceneFile::loadJson(database, sceneText(objects, ", \"connections\": [" + connections + "]"), "chain.velx", error))
        << error;
    EXPECT_LT(db::Database::loopCheckSteps() - stepsBefore, 30u * Length);
    const int translateX = sg::TransformNode::Def.topLevelSlot(sg::Index::TranslateX);
    EXPECT_EQ(database.input(db::AttrKey{database.findPath("t" + std::to_string(Length)), translateX}),
              (db::AttrKey{database.findPath("t" + std::to_string(Length - 1)), translateX}));

    // Closed into a loop by its last link: refused there.
    before = XSceneFile::toJson(database);
    const std::string loop = connections + R"(, {"from": "t5000.translateX", "to": "t1.translateX"})";
    const std::string refused = refusal(sceneText(objects, ", \"connections\": [" + loop + "]"), "a loop");
    EXPECT_NE(refused.find("connections[4999]: cannot connect t5000.translateX to t1.translateX: the connection would make a cycle"),
              std::string::npos)
        << refused;
}

// Running out of memory is a refusal like any other: the open scene stays.
TEST_F(SceneFileHostile, RunningOutOfMemoryIsARefusal) {
    const std::string text = sceneText(transform(1, "a") + "," + transform(2, "b"));
    for (const char* phase : {"Parsing", "Building"}) {
        std::string error;
        EXPECT_FALSE(XSceneFile::loadJson(database, text, "big.velx", error, [&](const char* now, std::size_t, std::size_t) {
            if (std::string(now) == phase) throw std::bad_alloc();
        })) << phase;
        EXPECT_EQ(error, "big.velx: there is not enough memory to load this scene (" + std::to_string(text.size()) + " bytes of text)");
        EXPECT_EQ(XSceneFile::toJson(database), before) << phase;
    }
    std::string error;
    EXPECT_FALSE(XSceneFile::loadJson(database, text, "big.velx", error, [](const char*, std::size_t, std::size_t) {
        throw std::length_error("vector::reserve");
    }));
    EXPECT_NE(error.find("not enough memory"), std::string::npos) << error;
    EXPECT_EQ(XSceneFile::toJson(database), before);
}

// ---------------------------------------------------------------- what is read at all

TEST_F(SceneFileOnDisk, RefusesWhatIsNotARegularFile) {
    const fs::path fifo = dir / "pipe.velx";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    // Whoever opens the FIFO for reading is handed a valid scene, so a loader that reads it anyway
    // loads it instead of waiting for ever.
    std::thread writer([&] {
        sigset_t pipeSignal;
        sigemptyset(&pipeSignal);
        sigaddset(&pipeSignal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
        const int fd = ::open(fifo.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd < 0) return;
        const std::string text = sceneText(transform(1, "fromPipe"));
        (void)!::write(fd, text.data(), text.size());
        ::close(fd);
    });
    const std::string error = fileRefusal(fifo, "a FIFO");
    // Lets the writer finish whether or not the loader opened the FIFO.
    const int reader = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    writer.join();
    if (reader >= 0) ::close(reader);
    EXPECT_NE(error.find("'" + fifo.string() + "' is not a regular file (it is a FIFO)"), std::string::npos) << error;

    EXPECT_NE(fileRefusal("/dev/null", "an empty device").find("'/dev/null' is not a regular file (it is a character device)"),
              std::string::npos);
    EXPECT_NE(fileRefusal("/dev/zero", "an endless device").find("is not a regular file"), std::string::npos);
    fs::create_directory(dir / "folder.velx");
    EXPECT_NE(fileRefusal(dir / "folder.velx", "a folder").find("is not a regular file (it is a folder)"), std::string::npos);
}

TEST_F(SceneFileOnDisk, RefusesAFileLargerThanTheCapBeforeReadingIt) {
    // Sparse: it takes no room on disk, and its size alone must refuse it.
    const fs::path file = dir / "huge.velx";
    { std::ofstream(file) << sceneText(""); }
    fs::resize_file(file, XSceneFile::MaxFileBytes + 1);
    std::size_t bytesRead = 0;
    std::string error;
    EXPECT_FALSE(XSceneFile::load(database, file.string(), error,
                                  [&](const char* phase, std::size_t done, std::size_t) {
                                      if (std::string(phase) == "Reading") bytesRead = std::max(bytesRead, done);
                                  }));
    EXPECT_NE(error.find("'" + file.string() + "' is too large: " + std::to_string(XSceneFile::MaxFileBytes + 1) + " bytes"),
              std::string::npos) << error;
    EXPECT_EQ(bytesRead, 0u) << "refused before reading";
    EXPECT_EQ(XSceneFile::toJson(database), before);
}

}  // namespace
