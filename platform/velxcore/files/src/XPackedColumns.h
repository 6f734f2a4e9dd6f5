#pragma once

#include <velxcore/XJsonValueCodec.h>

#include <veldatabase/PackedArray.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace VelX {

// An array of compound elements kept packed (animation keys) as a scene file holds it: one JSON
// list per field, in the order of the element's fields,
//     "keys": {"time": [1.0, 3.0, 5.0], "value": [0.1, 0.25, -0.5], "outTangent": ["linear", "flat", "step"]}
// The first field's column is always written and tells how many elements there are; any other
// column is left out when every element holds that field's default. Choices keep their names and
// numbers are written so that they read back bit for bit.
//
// Reading takes the columns in any order, element by element, straight into the packed array; a
// column left out gives its field's default. Problems are thrown as XJsonValueCodec::Error whose
// place starts inside the attribute (".time[7]", ".value", or "" for the attribute itself).
class XPackedColumns {
public:
    using Json = XJsonValueCodec::Json;

    // Whether the array attribute's elements are written in columns.
    static bool isColumnar(const db::AttributeDef& def, const db::PackedLayout* layout);
    // The columns as a JSON object, one column to a line at depth + 1.
    static void write(std::string& out, const db::AttributeDef& def, const db::PackedArray& array, int depth);
    // One field of every element as a JSON list on one line (`def` is the field's; a packed array
    // of plain numbers is written as the list of its one field).
    static void writeColumn(std::string& out, const db::AttributeDef& def, const db::PackedArray& array, int field);
    // A whole parsed object of columns (the reader's way when it could not read them as they came).
    static void readAll(const db::AttributeDef& def, const Json& columns, db::PackedArray& target);

    XPackedColumns(const db::AttributeDef& def, db::PackedArray& target);

    // The field a column's key names, -1 for none; a key that names none is refused this way.
    int find(std::string_view name) const;
    [[noreturn]] void unknownField(std::string_view name) const;
    const std::string& fieldName(int field) const;
    // A column starts (one list per field: a key given twice is the parser's to refuse).
    void begin(int field);
    // Element `index` of the field's column (the elements of a column come in order from 0).
    void read(int field, std::size_t index, const Json& value);
    // A column that is no list.
    [[noreturn]] void notAColumn(int field, const Json& found) const;
    // After the last column: the first field's column is there and every column is as long.
    void finish() const;

private:
    const db::AttributeDef& m_def;
    db::PackedArray& m_target;
    std::vector<std::size_t> m_lengths;  // elements read of each column; NotRead for a column not met
};

}  // namespace VelX
