// Scene files: the facade over the writer, the validating reader and the builder, and the atomic
// save. A file is read and checked completely and built aside before it replaces a scene.
#include "XRegularFile.h"
#include "XSceneBuilder.h"
#include "XSceneReader.h"
#include "XSceneWriter.h"
#include "XTextCursor.h"

#include <velxcore/XAtomicFile.h>
#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <new>
#include <stdexcept>

namespace VelX {

namespace {

// A file may ask for more than the machine has: that is a refusal like any other.
std::string outOfMemory(const std::string& file, std::size_t textBytes) {
    return file + ": there is not enough memory to load this scene" +
           (textBytes ? " (" + std::to_string(textBytes) + " bytes of text)" : std::string());
}

std::string describe(const std::string& file, const XJsonValueCodec::Error& e) {
    return file + ": " + (e.place.empty() ? "" : e.place + ": ") + e.problem;
}

}  // namespace

std::string XSceneFile::toJson(const db::Database& database) { return XSceneWriter::text(database); }

// The text goes to the file as it is made, piece by piece.
bool XSceneFile::save(const db::Database& database, const std::string& fileName, std::string& error) {
    const auto produce = [&](const XAtomicFile::Piece& write) { XSceneWriter::write(database, write); };
    if (!XAtomicFile::WriteInPieces(fileName, produce, error)) {
        error = "cannot save '" + fileName + "': " + error;
        return false;
    }
    return true;
}

namespace {

// Reads and checks the whole text; the scene's contents are then independent of it.
bool readScene(const db::Database& types, std::string_view text, const std::string& file, FileScene& scene,
               std::string& error, const XSceneFile::Progress& progress) {
    XTextCursor cursor(text);
    XSceneReader reader(types, progress, cursor);
    std::string problem;
    if (!reader.parse(problem)) {
        error = file + ": " + problem;
        return false;
    }
    scene = reader.scene();
    return true;
}

// The scene is built once, aside: whatever the file or the database refuses leaves the open scene
// untouched. Its ids follow the open scene's, so no id is handed out twice in a session. A text
// the loader read itself (`owned`) is let go before the scene is built.
bool loadScene(db::Database& database, std::string_view text, std::string* owned, const std::string& fileName,
               std::string& error, const XSceneFile::Progress& progress) {
    const std::string file = fileName.empty() ? "scene" : fileName;
    if (database.blockDepth() > 0) {
        error = file + ": cannot load a scene while a change block is open";
        return false;
    }
    const std::size_t textBytes = text.size();
    db::Database scratch;
    try {
        for (const db::NodeDef* def : database.types()) scratch.registerType(*def);
        scratch.setRecording(false);
        scratch.reserveIds(database.idLimit());
        FileScene scene;
        if (!readScene(database, text, file, scene, error, progress)) return false;
        if (owned) std::string().swap(*owned);
        XSceneBuilder::build(scratch, scene, progress);
    } catch (const XJsonValueCodec::Error& e) {
        error = describe(file, e);
        return false;
    } catch (const nlohmann::json::exception& e) {
        error = file + ": " + XJsonValueCodec::excerpt(e.what(), 200);
        return false;
    } catch (const std::bad_alloc&) {
        error = outOfMemory(file, textBytes);
        return false;
    } catch (const std::length_error&) {
        error = outOfMemory(file, textBytes);
        return false;
    }

    // The time key points into the settings object being replaced: move it to the new one.
    const db::AttrKey timeKey = database.timeKey();
    const db::Node* timeNode = database.node(timeKey.node);
    const db::NodeDef* timeType =
        timeKey.isValid() && timeNode && timeNode->def().hasFlag(db::SettingsType) ? &timeNode->def() : nullptr;

    if (!database.takeContents(scratch)) {
        error = file + ": cannot load a scene while a change block is open";
        return false;
    }
    if (timeType && timeKey.slot < timeType->slotCount()) {
        for (int id : database.node(db::Database::RootId)->children())
            if (&database.node(id)->def() == timeType) database.setTimeKey(db::AttrKey{id, timeKey.slot, timeKey.element, timeKey.child});
    }
    return true;
}

}  // namespace

bool XSceneFile::loadJson(db::Database& database, const std::string& text, const std::string& fileName,
                          std::string& error, const Progress& progress) {
    return loadScene(database, text, nullptr, fileName, error, progress);
}

bool XSceneFile::load(db::Database& database, const std::string& fileName, std::string& error,
                      const Progress& progress) {
    std::string text;
    try {
        XRegularFile::Progress reading;
        if (progress) reading = [&](std::size_t done, std::size_t total) { progress("Reading", done, total); };
        if (!XRegularFile::Read(fileName, MaxFileBytes, text, error, reading)) return false;
    } catch (const std::bad_alloc&) {
        error = outOfMemory(fileName, 0);
        return false;
    }
    return loadScene(database, text, &text, fileName, error, progress);
}

}  // namespace VelX
