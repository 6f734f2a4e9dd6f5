#pragma once

#include "XSceneFileContents.h"
#include "XSceneObjectReader.h"

#include <velxcore/XSceneFile.h>

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

namespace db {
class Database;
}

namespace VelX {

// Reads the text as a stream of parse events. Each element of the top-level "objects" array is
// built on its own and read at once, so the whole scene is never held as one document; the rest
// of the text becomes `doc`. The first object error waits for scene(), which reports it after
// the checks that come before the objects, and the rest of the text is still checked for syntax.
class XSceneReader {
public:
    using Json = XJsonValueCodec::Json;

    XSceneReader(const db::Database& types, const XSceneFile::Progress& progress) : m_types(types), m_progress(progress) {}

    // The file's contents once the whole text is parsed: checks the document, then the objects
    // (links parents, orders them for creation), then connections and selection.
    FileScene scene();

    Json doc;
    std::vector<FileObject> objects;
    std::optional<XJsonValueCodec::Error> objectError;
    std::size_t errorByte = 0;  // where the text stops being JSON, with the parser's message
    std::string errorText = "syntax error";

    bool null() { return value(Json(nullptr)); }
    bool boolean(bool b) { return value(Json(b)); }
    bool number_integer(Json::number_integer_t n) { return value(Json(n)); }
    bool number_unsigned(Json::number_unsigned_t n) { return value(Json(n)); }
    bool number_float(Json::number_float_t n, const Json::string_t&) { return value(Json(n)); }
    bool string(Json::string_t& text) { return value(Json(std::move(text))); }
    bool binary(Json::binary_t& bytes) { return value(Json(bytes)); }
    bool start_object(std::size_t) { return open(Json::value_t::object); }
    bool end_object() { return close(); }
    bool start_array(std::size_t) { return open(Json::value_t::array); }
    bool end_array() { return close(); }
    bool key(Json::string_t& name) {
        m_key = std::move(name);
        return true;
    }
    bool parse_error(std::size_t byte, const std::string&, const Json::exception& e) {
        errorByte = byte;
        errorText = e.what();
        return false;
    }

private:
    // Puts a value into the innermost open container, or makes it the document.
    Json* add(Json&& v) {
        if (m_open.empty()) {
            doc = std::move(v);
            return &doc;
        }
        Json& top = *m_open.back();
        if (top.is_object()) return &(top[m_key] = std::move(v));
        top.push_back(std::move(v));
        return &top.back();
    }
    bool inObjects() const { return m_objectsDepth != 0 && m_open.size() == m_objectsDepth; }
    bool value(Json&& v) {
        if (inObjects()) readElement(v);
        else add(std::move(v));
        return true;
    }
    bool open(Json::value_t type) {
        if (inObjects()) {
            m_element = Json(type);
            m_open.push_back(&m_element);
            return true;
        }
        const bool objectsArray = type == Json::value_t::array && m_open.size() == 1 && m_open.back()->is_object() &&
                                  m_key == "objects";
        m_open.push_back(add(Json(type)));
        if (objectsArray) {
            // A repeated key replaces the earlier value, as it does in a document.
            m_objectsDepth = m_open.size();
            objects.clear();
            objectError.reset();
            m_index = 0;
        }
        return true;
    }
    bool close() {
        m_open.pop_back();
        if (m_objectsDepth != 0 && m_open.size() == m_objectsDepth) readElement(m_element);
        else if (m_open.size() < m_objectsDepth) m_objectsDepth = 0;
        return true;
    }
    void readElement(const Json& j) {
        const int i = m_index++;
        if (m_progress && (i & (ProgressStep - 1)) == 0) m_progress("Parsing", static_cast<std::size_t>(i), 0);
        if (objectError) return;
        try {
            objects.push_back(XSceneObjectReader::read(j, i, m_types));
        } catch (const XJsonValueCodec::Error& e) {
            objectError = e;
        }
    }

    static constexpr int ProgressStep = 4096;  // objects between two progress reports (a power of two)

    const db::Database& m_types;
    const XSceneFile::Progress& m_progress;
    std::vector<Json*> m_open;  // open containers, outermost first
    std::string m_key;
    std::size_t m_objectsDepth = 0;  // m_open's size while inside the "objects" array, else 0
    Json m_element;
    int m_index = 0;
};

}  // namespace VelX
