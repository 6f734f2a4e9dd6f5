#pragma once

#include "XPackedColumns.h"
#include "XSceneFileContents.h"
#include "XTextCursor.h"

#include <velxcore/XSceneFile.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace db {
class Database;
}

namespace VelX {

// Reads a scene file's text as a stream of parse events. Only one element of the "objects",
// "connections" or "selection" lists is held as a JSON value at a time, read at once and let go,
// so memory follows what the scene needs, not the text. While it reads it refuses, with the line
// and column, a key given twice in one JSON object, an unknown key of the scene and whatever is
// beyond the limits of XSceneFile. The first problem inside an element waits for scene(), which
// reports it after the checks that come before it; the rest of the text is still checked.
class XSceneReader {
public:
    using Json = XJsonValueCodec::Json;

    XSceneReader(const db::Database& types, const XSceneFile::Progress& progress, XTextCursor& cursor)
        : m_types(types), m_progress(progress), m_cursor(cursor) {}

    // Parses the whole text. False when it is not JSON or is refused while reading; the problem
    // then starts with its place ("line 3, column 7: ...").
    bool parse(std::string& problem);
    // The file's contents once parsed: checks the document, then the objects (links parents, orders
    // them for creation), then connections and selection. Throws XJsonValueCodec::Error.
    FileScene scene();

    // ---- parse events (the JSON library's interface)
    bool null() { return value(Json(nullptr)); }
    bool boolean(bool b) { return value(Json(b)); }
    bool number_integer(Json::number_integer_t n) { return value(Json(n)); }
    bool number_unsigned(Json::number_unsigned_t n) { return value(Json(n)); }
    bool number_float(Json::number_float_t n, const Json::string_t&) { return value(Json(n)); }
    bool string(Json::string_t& text);
    bool binary(Json::binary_t& bytes) { return value(Json(bytes)); }
    bool start_object(std::size_t) { return open(Json::value_t::object); }
    bool end_object() { return close(); }
    bool start_array(std::size_t) { return open(Json::value_t::array); }
    bool end_array() { return close(); }
    bool key(Json::string_t& name);
    bool parse_error(std::size_t byte, const std::string&, const Json::exception& e);

private:
    // What an open JSON container is to the reader. An object's array attribute is Streamed: its
    // elements are read one by one into values, never held as JSON together. An array of compound
    // elements in columns is Columns, each of its lists a Column read straight into the array.
    enum class Level : std::uint8_t { Document, Objects, Connections, Selection, Element, Streamed, Columns, Column, Skipped };
    // The keys of the document, in the order scene() checks them.
    enum DocumentKey { Format, Version, Objects, Connections, Selection, DocumentKeyCount };

    struct Frame {
        Level level;
        Json* container = nullptr;         // Element: the JSON object or array being built
        const std::string* key = nullptr;  // its key in the enclosing JSON object; Column: the field's name
        std::size_t index = 0;             // Element: its index in the enclosing list; Streamed, Columns: in
                                           // m_streamed; Column: the field
        std::size_t elements = 0;          // lists and JSON arrays: elements so far; Columns: keys so far
        const db::AttributeDef* def = nullptr;  // Streamed, Columns: the attribute
    };

    // A document value that is not what it should be, kept for the message (an empty container
    // stands for any container: only its kind is shown).
    struct DocumentValue {
        bool present = false;
        bool nonEmpty = false;  // a list with elements, or anything that is not a list
        std::optional<Json> wrong;
    };

    bool value(Json&& v);
    bool open(Json::value_t type);
    bool close();
    // Puts a value into the element's innermost open container; null when a limit refuses it.
    Json* addToElement(Frame& top, Json&& v, const std::string*& key);
    bool startListElement(Frame& list);
    bool countElement(Frame& list, std::size_t limit);
    void readElement(Level list, Json& j, std::size_t index);
    void readObject(const Json& j, std::size_t index);
    void readConnection(Json& j, std::size_t index);
    void readSelected(Json& j, std::size_t index);
    // The array attribute a list (or an object of columns) opening now belongs to when it can be
    // read as it comes, and its packed layout if it has one: directly under an object's
    // "attributes" once the object's type is read, or the value of a custom attribute once its
    // type (and the names of its choices) are.
    const db::AttributeDef* streamableAttribute(Json::value_t container, const db::PackedLayout*& packed);
    const db::AttributeDef* streamableCustomValue();
    void readStreamedElement(const Frame& array, const Json& j);
    // Columns: a key names the next column, a value that is not a list is refused; a column's
    // element is read into the array.
    void openColumns(const db::AttributeDef& def, const db::PackedLayout& layout, std::size_t index, const std::string* key);
    bool columnKey(Frame& columns, std::string&& name);
    void notAColumn(const Json& j);
    bool openInColumns(Json::value_t type);
    void readColumnElement(const Frame& column, const Json& j);
    void closeColumns(const Frame& columns);
    template <class Step> void keepColumnProblem(Step&& step);

    bool refuse(std::size_t byte, const std::string& problem);
    std::string placeOf(std::size_t frames) const;  // the place of frames [0, frames)
    std::string placeOfNextValue() const;
    std::string syntaxProblem() const;

    const db::Database& m_types;
    const XSceneFile::Progress& m_progress;
    XTextCursor& m_cursor;

    std::vector<Frame> m_frames;  // open containers, outermost first
    std::string m_key;            // the last key read
    Json m_element;               // the list element being built
    Json m_streamedElement;       // the element of a streamed array being built
    StreamedArrays m_streamed;    // the streamed arrays of the object being read
    std::deque<db::AttributeDef> m_customDefs;  // custom attributes of the object, as far as read
    std::optional<XPackedColumns> m_columns;    // the open columns
    std::set<std::string> m_columnKeys;         // their keys so far
    int m_nextColumn = -1;                      // the field the last key named, -1 for none
    DocumentKey m_documentKey = Format;
    bool m_rootIsObject = false;
    Json m_root;  // a root that is not an object, for the message
    std::optional<Json> m_format, m_version;
    DocumentValue m_lists[3];  // objects, connections, selection
    std::uint32_t m_seenKeys = 0;

    FileScene m_scene;
    std::optional<XJsonValueCodec::Error> m_objectError, m_connectionError, m_selectionError;
    std::string m_refusal;
    std::size_t m_errorByte = 0;  // where the text stops being JSON, with the parser's message
    std::string m_errorText = "syntax error";
};

}  // namespace VelX
