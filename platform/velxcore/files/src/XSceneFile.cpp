// Scene files: the facade over the writer, the validating reader and the builder, and the atomic
// save. A file is read and checked completely and built aside before it replaces a scene.
#include "XRegularFile.h"
#include "XSceneBuilder.h"
#include "XSceneReader.h"
#include "XSceneWriter.h"

#include <velxcore/XAtomicFile.h>
#include <velxcore/XSceneFile.h>

#include <veldatabase/Database.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <new>
#include <stdexcept>

namespace VelX {

namespace {

using Json = XJsonValueCodec::Json;

std::string syntaxError(const std::string& file, const std::string& text, std::size_t byte, const std::string& what) {
    std::size_t pos = std::min<std::size_t>(byte > 0 ? byte - 1 : 0, text.size());
    std::size_t line = 1, lineStart = 0;
    for (std::size_t k = 0; k < pos; ++k)
        if (text[k] == '\n') ++line, lineStart = k + 1;
    std::size_t from = what.find("syntax error");
    std::string problem = from != std::string::npos ? what.substr(from) : what.substr(what.find(']') + 1);
    problem.erase(0, problem.find_first_not_of(' '));
    problem = XJsonValueCodec::parserMessage(problem);
    std::string message = file + ": line " + std::to_string(line) + ", column " + std::to_string(pos - lineStart + 1) +
                          ": " + problem;
    if (text.empty()) message += " (the file is empty)";
    else if (byte > text.size()) message += " (the file ends too early: it may be truncated)";
    return message;
}

// A file may ask for more than the machine has: that is a refusal like any other.
std::string outOfMemory(const std::string& file, std::size_t textBytes) {
    return file + ": there is not enough memory to load this scene" +
           (textBytes ? " (" + std::to_string(textBytes) + " bytes of text)" : std::string());
}

std::string describe(const std::string& file, const XJsonValueCodec::Error& e) {
    return file + ": " + (e.place.empty() ? "" : e.place + ": ") + e.problem;
}

}  // namespace

std::string XSceneFile::toJson(const db::Database& database) { return XSceneWriter::write(database); }

bool XSceneFile::save(const db::Database& database, const std::string& fileName, std::string& error) {
    if (!XAtomicFile::Write(fileName, XSceneWriter::write(database), error)) {
        error = "cannot save '" + fileName + "': " + error;
        return false;
    }
    return true;
}

bool XSceneFile::loadJson(db::Database& database, const std::string& text, const std::string& fileName,
                          std::string& error, const Progress& progress) {
    const std::string file = fileName.empty() ? "scene" : fileName;
    if (database.blockDepth() > 0) {
        error = file + ": cannot load a scene while a change block is open";
        return false;
    }
    // The scene is built once, aside: whatever the file or the database refuses leaves the open
    // scene untouched. Its ids follow the open scene's, so no id is handed out twice in a session.
    db::Database scratch;
    for (const db::NodeDef* def : database.types()) scratch.registerType(*def);
    scratch.setRecording(false);
    scratch.reserveIds(database.idLimit());
    try {
        FileScene scene;
        {
            XSceneReader reader(database, progress);
            if (!Json::sax_parse(text, &reader)) {
                error = syntaxError(file, text, reader.errorByte, reader.errorText);
                return false;
            }
            scene = reader.scene();
        }
        XSceneBuilder::build(scratch, scene, progress);
    } catch (const XJsonValueCodec::Error& e) {
        error = describe(file, e);
        return false;
    } catch (const nlohmann::json::exception& e) {
        error = file + ": " + XJsonValueCodec::excerpt(e.what(), 200);
        return false;
    } catch (const std::bad_alloc&) {
        error = outOfMemory(file, text.size());
        return false;
    } catch (const std::length_error&) {
        error = outOfMemory(file, text.size());
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
    return loadJson(database, text, fileName, error, progress);
}

}  // namespace VelX
