// The reader's arrays: an array attribute read element by element as it comes, and an array of
// compound numbers read column by column straight into its packed elements.
#include "XSceneReader.h"

#include <veldatabase/Database.h>

#include <algorithm>

namespace VelX {

using Codec = XJsonValueCodec;
using Json = XJsonValueCodec::Json;

// ---------------------------------------------------------------- streamed arrays

const db::AttributeDef* XSceneReader::streamableAttribute(Json::value_t container, const db::PackedLayout*& packed) {
    // frames: the document, "objects", the object, "attributes".
    const std::size_t n = m_frames.size();
    const bool list = container == Json::value_t::array;
    if (n == 5 && m_key == "value") return list ? streamableCustomValue() : nullptr;
    if (n != 4 || m_frames[1].level != Level::Objects || m_frames[2].level != Level::Element) return nullptr;
    const Frame& attributes = m_frames[3];
    if (attributes.level != Level::Element || !attributes.key || *attributes.key != "attributes" ||
        !attributes.container->is_object())
        return nullptr;
    const auto type = m_element.find("type");
    if (type == m_element.end() || !type->is_string()) return nullptr;
    const db::NodeDef* def = m_types.findType(type->get_ref<const std::string&>());
    const int slot = def ? def->findTopLevel(m_key) : -1;
    if (slot < 0) return nullptr;
    const db::AttributeDef* a = def->slot(slot).def;
    if (!a->isArray || a->has(db::Computed) || a->has(db::Internal)) return nullptr;
    packed = def->slot(slot).packed;
    return list || XPackedColumns::isColumnar(*a, packed) ? a : nullptr;
}

// frames: the document, "objects", the object, "custom", the custom attribute.
const db::AttributeDef* XSceneReader::streamableCustomValue() {
    const Frame& custom = m_frames[3];
    if (m_frames[1].level != Level::Objects || custom.level != Level::Element || !custom.key || *custom.key != "custom" ||
        m_frames[4].level != Level::Element || !m_frames[4].container->is_object())
        return nullptr;
    const Json& entry = *m_frames[4].container;
    db::AttributeDef a;
    std::int64_t code = 0;
    const auto type = entry.find("type"), isArray = entry.find("isArray"), names = entry.find("enumNames");
    if (type == entry.end() || !Codec::readInteger(*type, code) || code < 1 || code >= db::ValueTypeCount) return nullptr;
    if (isArray == entry.end() || *isArray != true) return nullptr;
    a.type = static_cast<db::ValueType>(code);
    a.isArray = true;
    if (a.type == db::ValueType::Compound || a.type == db::ValueType::ObjectRef) return nullptr;
    // Choices are read by name: the names must come first.
    if (a.type == db::ValueType::Enum && names != entry.end()) {
        if (!names->is_array()) return nullptr;
        for (const Json& name : *names) {
            if (!name.is_string()) return nullptr;
            a.enumNames.push_back(name.get<std::string>());
        }
    } else if (a.type == db::ValueType::Enum) {
        return nullptr;
    }
    m_customDefs.push_back(std::move(a));
    return &m_customDefs.back();
}

// Reads one element as the object reader would and keeps its value; the first problem is kept
// with its place inside the array, for the object reader to report in its turn.
void XSceneReader::readStreamedElement(const Frame& array, const Json& j) {
    StreamedArray& target = m_streamed[array.index];
    if (m_objectError || target.problem) return;
    static const std::string StandIn = "-";  // stands for the array's place in messages
    try {
        db::Value element = Codec::readValue(*array.def, j, StandIn);
        if (target.packed) target.packed->insert(target.packed->size(), element);
        else target.values.push_back(std::move(element));
    } catch (Codec::Error& e) {
        target.problem = Codec::Error{Codec::at("", array.elements - 1) + e.place.substr(StandIn.size()), e.problem};
        db::ValueList().swap(target.values);
        target.packed.reset();
    }
}

// ---------------------------------------------------------------- columns

// Runs a step of reading the open columns unless the object or the array already has a problem;
// the first problem is kept for the object reader to report in its turn.
template <class Step> void XSceneReader::keepColumnProblem(Step&& step) {
    StreamedArray& target = m_streamed.back();
    if (m_objectError || target.problem) return;
    try {
        step();
    } catch (Codec::Error& e) {
        target.problem = std::move(e);
    }
}

void XSceneReader::openColumns(const db::AttributeDef& def, const db::PackedLayout& layout, std::size_t index,
                               const std::string* key) {
    m_streamed.emplace_back();
    m_streamed.back().packed = std::make_unique<db::PackedArray>(layout);
    m_columns.emplace(def, *m_streamed.back().packed);
    m_columnKeys.clear();
    m_nextColumn = -1;
    m_frames.push_back({Level::Columns, nullptr, key, index, 0, &def});
}

bool XSceneReader::columnKey(Frame& columns, std::string&& name) {
    if (!m_columnKeys.insert(name).second)
        return refuse(m_cursor.stringStart(m_cursor.offset()),
                      "duplicate key \"" + Codec::excerpt(name) + "\" in " + placeOf(m_frames.size()));
    ++columns.elements;
    m_key = std::move(name);
    m_nextColumn = m_columns->find(m_key);
    if (m_nextColumn < 0) keepColumnProblem([&] { m_columns->unknownField(m_key); });
    return true;
}

// A column is a list; anything else is kept as the problem and passed over.
void XSceneReader::notAColumn(const Json& j) {
    if (m_nextColumn >= 0) keepColumnProblem([&] { m_columns->notAColumn(m_nextColumn, j); });
}

bool XSceneReader::openInColumns(Json::value_t type) {
    if (m_nextColumn < 0) {
        m_frames.push_back({Level::Skipped});
        return true;
    }
    if (type != Json::value_t::array) {
        keepColumnProblem([&] { m_columns->notAColumn(m_nextColumn, Json(type)); });
        m_frames.push_back({Level::Skipped});
        return true;
    }
    // The first column makes the array's room, once, from the text ahead.
    db::PackedArray& target = *m_streamed[m_frames.back().index].packed;
    if (target.empty()) target.reserve(std::min(m_cursor.elementsAhead(), XSceneFile::MaxArrayElements));
    m_columns->begin(m_nextColumn);
    m_frames.push_back({Level::Column, nullptr, &m_columns->fieldName(m_nextColumn), static_cast<std::size_t>(m_nextColumn)});
    return true;
}

void XSceneReader::readColumnElement(const Frame& column, const Json& j) {
    keepColumnProblem([&] { m_columns->read(static_cast<int>(column.index), column.elements - 1, j); });
}

void XSceneReader::closeColumns(const Frame& columns) {
    keepColumnProblem([&] { m_columns->finish(); });
    m_columns.reset();
    StreamedArray& target = m_streamed[columns.index];
    if (target.problem) target.packed.reset();
}

}  // namespace VelX
