// Scene files as a stranger would write them: every test builds its own hostile text and checks
// that the loader refuses it with a short message naming the place, leaving the open scene as it was.
#include <velxcore/XJsonValueCodec.h>
#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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
        EXPECT_EQ(XSceneFile::toJson(database), before) << what << ": the open scene changed";
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
