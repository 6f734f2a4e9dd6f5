#include "XSceneConnectionReader.h"
#include "XSceneHierarchy.h"
#include "XSceneObjectReader.h"
#include "XScenePaths.h"
#include "XSceneReader.h"

#include <veldatabase/Database.h>

#include <algorithm>
#include <iterator>

namespace VelX {

using Codec = XJsonValueCodec;
using Json = XJsonValueCodec::Json;

namespace {

const char* const DocumentKeys[] = {"format", "version", "objects", "connections", "selection"};
constexpr std::size_t ProgressStep = 4096;  // objects between two progress reports (a power of two)

std::string moreThan(std::size_t limit, const char* what) {
    return "more than the " + std::to_string(limit) + " " + what + " a scene file may hold";
}

}  // namespace

// ---------------------------------------------------------------- parsing

bool XSceneReader::parse(std::string& problem) {
    if (!Json::sax_parse(m_cursor.begin(), m_cursor.end(), this)) {
        problem = m_refusal.empty() ? syntaxProblem() : m_refusal;
        return false;
    }
    // The JSON library takes a NUL byte for the end of the text: what follows one was never read.
    if (m_cursor.offset() < m_cursor.text().size()) {
        problem = m_cursor.where(m_cursor.offset() - 1) + ": a NUL byte, which a scene file never holds";
        return false;
    }
    return true;
}

bool XSceneReader::parse_error(std::size_t byte, const std::string&, const Json::exception& e) {
    m_errorByte = byte;
    m_errorText = e.what();
    return false;
}

std::string XSceneReader::syntaxProblem() const {
    const std::string_view text = m_cursor.text();
    const std::size_t at = std::min<std::size_t>(m_errorByte > 0 ? m_errorByte - 1 : 0, text.size());
    const std::size_t from = m_errorText.find("syntax error");
    std::string problem = from != std::string::npos ? m_errorText.substr(from) : m_errorText.substr(m_errorText.find(']') + 1);
    problem.erase(0, problem.find_first_not_of(' '));
    std::string message = m_cursor.where(at) + ": " + Codec::parserMessage(problem);
    if (text.empty()) message += " (the file is empty)";
    else if (m_errorByte > text.size()) message += " (the file ends too early: it may be truncated)";
    return message;
}

bool XSceneReader::refuse(std::size_t byte, const std::string& problem) {
    m_refusal = m_cursor.where(byte) + ": " + problem;
    return false;
}

std::string XSceneReader::placeOf(std::size_t frames) const {
    std::string place;
    for (std::size_t k = 0; k < frames; ++k) {
        const Frame& f = m_frames[k];
        switch (f.level) {
        case Level::Document: break;
        case Level::Objects:
        case Level::Connections:
        case Level::Selection: place = DocumentKeys[Objects + static_cast<int>(f.level) - static_cast<int>(Level::Objects)]; break;
        case Level::Element:
        case Level::Streamed:
        case Level::Columns:
        case Level::Column: place = f.key ? Codec::keyPlace(place, *f.key) : Codec::at(place, f.index); break;
        case Level::Skipped: return k > 0 && m_frames[k - 1].level == Level::Document ? DocumentKeys[m_documentKey] : place;
        }
    }
    return place;
}

std::string XSceneReader::placeOfNextValue() const {
    if (m_frames.empty()) return "";
    const Frame& top = m_frames.back();
    switch (top.level) {
    case Level::Document: return DocumentKeys[m_documentKey];
    case Level::Objects:
    case Level::Connections:
    case Level::Selection:
    case Level::Streamed:
    case Level::Column: return Codec::at(placeOf(m_frames.size()), top.elements);
    case Level::Columns: return Codec::keyPlace(placeOf(m_frames.size()), m_key);
    case Level::Element:
        return top.container->is_object() ? Codec::keyPlace(placeOf(m_frames.size()), m_key)
                                          : Codec::at(placeOf(m_frames.size()), top.container->size());
    case Level::Skipped: break;
    }
    return placeOf(m_frames.size());
}

bool XSceneReader::string(Json::string_t& text) {
    if (text.size() > XSceneFile::MaxStringBytes)
        return refuse(m_cursor.stringStart(m_cursor.offset()), placeOfNextValue() + ": a text of " + std::to_string(text.size()) +
                                                                   " bytes, " + moreThan(XSceneFile::MaxStringBytes, "bytes"));
    return value(Json(std::move(text)));
}

bool XSceneReader::key(Json::string_t& name) {
    const auto start = [&] { return m_cursor.stringStart(m_cursor.offset()); };
    if (name.size() > XSceneFile::MaxStringBytes)
        return refuse(start(), placeOf(m_frames.size()) + ": a key of " + std::to_string(name.size()) + " bytes, " +
                                   moreThan(XSceneFile::MaxStringBytes, "bytes"));
    Frame& top = m_frames.back();
    if (top.level == Level::Document) {
        const auto known = std::find(std::begin(DocumentKeys), std::end(DocumentKeys), name);
        if (known == std::end(DocumentKeys)) return refuse(start(), Codec::excerpt(name) + ": unknown key");
        m_documentKey = static_cast<DocumentKey>(known - std::begin(DocumentKeys));
        if (m_seenKeys & (1u << m_documentKey)) return refuse(start(), "duplicate key \"" + name + "\" in the scene");
        m_seenKeys |= 1u << m_documentKey;
        return true;
    }
    if (top.level == Level::Columns) {
        if (top.elements >= XSceneFile::MaxObjectKeys)
            return refuse(start(), placeOf(m_frames.size()) + ": " + moreThan(XSceneFile::MaxObjectKeys, "keys in one object"));
        return columnKey(top, std::move(name));
    }
    if (top.level == Level::Element) {
        const Json::object_t& members = top.container->get_ref<const Json::object_t&>();
        if (members.count(name))
            return refuse(start(), "duplicate key \"" + Codec::excerpt(name) + "\" in " + placeOf(m_frames.size()));
        if (members.size() >= XSceneFile::MaxObjectKeys)
            return refuse(start(), placeOf(m_frames.size()) + ": " + moreThan(XSceneFile::MaxObjectKeys, "keys in one object"));
    }
    m_key = std::move(name);
    return true;
}

// ---------------------------------------------------------------- values and containers

bool XSceneReader::value(Json&& v) {
    if (m_frames.empty()) {
        m_root = std::move(v);
        return true;
    }
    Frame& top = m_frames.back();
    switch (top.level) {
    case Level::Document:
        if (m_documentKey == Format) {
            m_format = std::move(v);
        } else if (m_documentKey == Version) {
            m_version = std::move(v);
        } else {
            DocumentValue& list = m_lists[m_documentKey - Objects];
            list.present = list.nonEmpty = true;
            list.wrong = std::move(v);
        }
        return true;
    case Level::Objects:
    case Level::Connections:
    case Level::Selection:
        if (!startListElement(top)) return false;
        readElement(top.level, v, top.elements - 1);
        return true;
    case Level::Element: {
        const std::string* key = nullptr;
        return addToElement(top, std::move(v), key) != nullptr;
    }
    case Level::Streamed:
        if (!countElement(top, XSceneFile::MaxArrayElements)) return false;
        readStreamedElement(top, v);
        return true;
    case Level::Columns: notAColumn(v); return true;
    case Level::Column:
        if (!countElement(top, XSceneFile::MaxArrayElements)) return false;
        readColumnElement(top, v);
        return true;
    case Level::Skipped: return true;
    }
    return true;
}

bool XSceneReader::open(Json::value_t type) {
    if (m_frames.size() >= static_cast<std::size_t>(XSceneFile::MaxNesting))
        return refuse(m_cursor.offset() - 1, placeOfNextValue() + ": lists and objects inside each other " +
                                                 moreThan(static_cast<std::size_t>(XSceneFile::MaxNesting), "levels"));
    if (m_frames.empty()) {
        m_rootIsObject = type == Json::value_t::object;
        if (!m_rootIsObject) m_root = Json(type);
        m_frames.push_back({m_rootIsObject ? Level::Document : Level::Skipped});
        return true;
    }
    Frame& top = m_frames.back();
    switch (top.level) {
    case Level::Document: {
        if (m_documentKey == Format || m_documentKey == Version) {
            (m_documentKey == Format ? m_format : m_version) = Json(type);
            m_frames.push_back({Level::Skipped});
            return true;
        }
        DocumentValue& list = m_lists[m_documentKey - Objects];
        list.present = true;
        if (type == Json::value_t::array) {
            m_frames.push_back({static_cast<Level>(static_cast<int>(Level::Objects) + m_documentKey - Objects)});
            return true;
        }
        list.nonEmpty = true;
        list.wrong = Json(type);
        m_frames.push_back({Level::Skipped});
        return true;
    }
    case Level::Objects:
    case Level::Connections:
    case Level::Selection: {
        if (!startListElement(top)) return false;
        const std::size_t index = top.elements - 1;
        m_element = Json(type);
        m_frames.push_back({Level::Element, &m_element, nullptr, index});
        return true;
    }
    case Level::Element: {
        const db::PackedLayout* packed = nullptr;
        const db::AttributeDef* streamed = streamableAttribute(type, packed);
        const std::size_t index = streamed ? m_streamed.size() : top.container->is_array() ? top.container->size() : 0;
        const std::string* key = nullptr;
        Json* child = addToElement(top, streamed ? Json::binary({}, index) : Json(type), key);
        if (!child) return false;
        if (streamed && type == Json::value_t::object) {
            openColumns(*streamed, *packed, index, key);
            return true;
        }
        if (streamed) {
            m_streamed.emplace_back();
            const std::size_t room = std::min(m_cursor.elementsAhead(), XSceneFile::MaxArrayElements);
            if (packed) {
                m_streamed.back().packed = std::make_unique<db::PackedArray>(*packed);
                m_streamed.back().packed->reserve(room);
            } else {
                m_streamed.back().values.reserve(room);
            }
        }
        m_frames.push_back({streamed ? Level::Streamed : Level::Element, streamed ? nullptr : child, key, index, 0, streamed});
        return true;
    }
    case Level::Streamed: {
        if (!countElement(top, XSceneFile::MaxArrayElements)) return false;
        const std::size_t index = top.elements - 1;
        m_streamedElement = Json(type);
        m_frames.push_back({Level::Element, &m_streamedElement, nullptr, index});
        return true;
    }
    case Level::Columns: return openInColumns(type);
    case Level::Column: {
        if (!countElement(top, XSceneFile::MaxArrayElements)) return false;
        m_streamedElement = Json(type);
        m_frames.push_back({Level::Element, &m_streamedElement, nullptr, top.elements - 1});
        return true;
    }
    case Level::Skipped: m_frames.push_back({Level::Skipped}); return true;
    }
    return true;
}

bool XSceneReader::close() {
    const Frame done = m_frames.back();
    m_frames.pop_back();
    if (done.level == Level::Columns) closeColumns(done);
    if (done.level != Level::Element || m_frames.empty()) return true;
    // An element of a streamed array, a column or a list is complete: read it and let it go.
    if (m_frames.back().level == Level::Streamed) {
        readStreamedElement(m_frames.back(), m_streamedElement);
        m_streamedElement = Json();
    } else if (m_frames.back().level == Level::Column) {
        readColumnElement(m_frames.back(), m_streamedElement);
        m_streamedElement = Json();
    } else if (m_frames.back().level != Level::Element) {
        readElement(m_frames.back().level, m_element, done.index);
        m_element = Json();
    }
    return true;
}

bool XSceneReader::startListElement(Frame& list) {
    if (!countElement(list, list.level == Level::Objects ? XSceneFile::MaxObjects : XSceneFile::MaxArrayElements)) return false;
    m_lists[static_cast<int>(list.level) - static_cast<int>(Level::Objects)].nonEmpty = true;
    return true;
}

bool XSceneReader::countElement(Frame& list, std::size_t limit) {
    if (list.elements >= limit)
        return refuse(m_cursor.offset() - 1, placeOf(m_frames.size()) + ": " +
                                                 moreThan(limit, list.level == Level::Objects ? "objects" : "elements in one list"));
    ++list.elements;
    return true;
}

Json* XSceneReader::addToElement(Frame& top, Json&& v, const std::string*& key) {
    Json& container = *top.container;
    if (container.is_object()) {
        // A repeated key was refused when it was read.
        auto it = container.get_ref<Json::object_t&>().emplace(std::move(m_key), std::move(v)).first;
        key = &it->first;
        return &it->second;
    }
    if (!countElement(top, XSceneFile::MaxArrayElements)) return nullptr;
    container.push_back(std::move(v));
    return &container.back();
}

// ---------------------------------------------------------------- elements

void XSceneReader::readElement(Level list, Json& j, std::size_t index) {
    switch (list) {
    case Level::Objects: readObject(j, index); break;
    case Level::Connections: readConnection(j, index); break;
    case Level::Selection: readSelected(j, index); break;
    default: break;
    }
}

void XSceneReader::readObject(const Json& j, std::size_t index) {
    if (m_progress && (index & (ProgressStep - 1)) == 0) m_progress("Parsing", index, 0);
    if (!m_objectError) {
        try {
            m_scene.objects.push_back(XSceneObjectReader::read(j, static_cast<int>(index), m_types, m_streamed));
        } catch (const Codec::Error& e) {
            m_objectError = e;
        }
    }
    m_streamed.clear();
    m_customDefs.clear();
}

void XSceneReader::readConnection(Json& j, std::size_t index) {
    if (m_connectionError) return;
    const std::string place = Codec::at("connections", index);
    try {
        if (!j.is_object()) Codec::expected(place, "an object with \"from\" and \"to\"", j);
        Codec::onlyKeys(j, {"from", "to"}, place);
        const auto from = j.find("from"), to = j.find("to");
        if (from == j.end() || to == j.end()) Codec::fail(place, from == j.end() ? "missing \"from\"" : "missing \"to\"");
        if (!from->is_string()) Codec::expected(place + ".from", "\"<object path>.<attribute>\"", *from);
        if (!to->is_string()) Codec::expected(place + ".to", "\"<object path>.<attribute>\"", *to);
        FileConnection connection;
        connection.fromText = std::move(from->get_ref<std::string&>());
        connection.toText = std::move(to->get_ref<std::string&>());
        m_scene.connections.push_back(std::move(connection));
    } catch (const Codec::Error& e) {
        m_connectionError = e;
    }
}

void XSceneReader::readSelected(Json& j, std::size_t index) {
    if (m_selectionError) return;
    if (!j.is_string()) {
        m_selectionError = Codec::Error{Codec::at("selection", index), "expected an object path, found " + Codec::shown(j)};
        return;
    }
    m_scene.selectionPaths.push_back(std::move(j.get_ref<std::string&>()));
}

// ---------------------------------------------------------------- checks

FileScene XSceneReader::scene() {
    if (!m_rootIsObject) Codec::expected("", "a scene (a JSON object)", m_root);
    if (!m_format) Codec::fail("", "not a scene file: missing \"format\"");
    if (!m_format->is_string() || m_format->get_ref<const std::string&>() != SceneFormatName)
        Codec::expected("format", std::string("\"") + SceneFormatName + "\"", *m_format);
    std::int64_t v = 0;
    if (!m_version) Codec::fail("", "missing \"version\"");
    if (!Codec::readInteger(*m_version, v)) Codec::expected("version", "an integer", *m_version);
    if (v < XSceneFile::OldestFormatVersion || v > XSceneFile::FormatVersion)
        Codec::fail("version", "unsupported version " + std::to_string(v) + " (this build reads versions " +
                                   std::to_string(XSceneFile::OldestFormatVersion) + " to " +
                                   std::to_string(XSceneFile::FormatVersion) + ")");

    const DocumentValue& objects = m_lists[Objects - Objects];
    const DocumentValue& connections = m_lists[Connections - Objects];
    const DocumentValue& selection = m_lists[Selection - Objects];
    if (!objects.present) Codec::fail("", "missing \"objects\"");
    if (objects.wrong) Codec::expected("objects", "an array", *objects.wrong);
    if (m_objectError) throw *m_objectError;
    FileScene contents = std::move(m_scene);
    XSceneHierarchy::link(contents);

    const bool slashes = std::any_of(contents.objects.begin(), contents.objects.end(),
                                     [](const FileObject& o) { return o.name.find('/') != std::string::npos; });
    // Most of a large file's objects are never named by path: paths wait until something needs them.
    if (slashes || connections.nonEmpty || selection.nonEmpty) {
        XScenePaths paths(contents);
        paths.refuseEqualPaths();
        XSceneConnectionReader reader(contents, paths, m_types.rootType());
        if (connections.wrong) Codec::expected("connections", "an array", *connections.wrong);
        reader.resolveConnections();
        if (m_connectionError) throw *m_connectionError;
        if (selection.wrong) Codec::expected("selection", "an array of object paths", *selection.wrong);
        reader.resolveSelection();
        if (m_selectionError) throw *m_selectionError;
    }
    return contents;
}

}  // namespace VelX
