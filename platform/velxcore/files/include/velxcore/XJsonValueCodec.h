#pragma once

#include <veldatabase/Value.h>

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace db {
struct AttributeDef;
}

namespace VelX {

// Attribute values as JSON: the one form that scene files, autosaved copies and the settings share.
// Writing appends text piece by piece (no document is built: scenes are large); reading takes a
// parsed value, checks it against the attribute's type and says where and what is wrong.
// - floats: the shortest decimal that reads back as the same float, whole numbers with ".0";
//   doubles in full; non-finite numbers as the strings "nan", "inf" and "-inf"
// - enumerations by the name of the choice (by number only for a type that names none)
// - compounds as objects of their fields; vectors, quaternions and matrices as lists of numbers;
//   single object references as null (they are saved as connections)
class XJsonValueCodec {
public:
    using Json = nlohmann::json;

    // What the readers throw: the place in the file ("objects[3].attributes.translateX") and the
    // problem ("expected a number, found \"abc\"").
    struct Error {
        std::string place;
        std::string problem;
    };

    // ---- writing
    static void writeInt(std::string& out, std::int64_t value);
    static void writeFloat(std::string& out, float value);
    static void writeDouble(std::string& out, double value);
    static void writeString(std::string& out, const std::string& value);
    static void writeKey(std::string& out, const std::string& name);  // "name": 
    static void newLine(std::string& out, int depth);                 // two spaces a level
    // One value of the attribute's element type (a whole element of a compound array), on one line.
    static void writeValue(std::string& out, const db::AttributeDef& def, const db::Value& value);
    // An array puts elements that hold several numbers one to a line at depth + 1; a negative depth
    // keeps the whole array on one line.
    static void writeArray(std::string& out, const db::AttributeDef& def, const db::ValueList* list, int depth);

    // ---- reading
    // One value of the attribute's element type, converted as the database stores it.
    static db::Value readValue(const db::AttributeDef& def, const Json& j, const std::string& place);
    static float readFloat(const Json& j, const std::string& place);
    static bool readInteger(const Json& j, std::int64_t& out);
    static bool readNumber(const Json& j, double& out);  // also "nan", "inf", "-inf"

    [[noreturn]] static void fail(const std::string& place, const std::string& problem);
    [[noreturn]] static void expected(const std::string& place, const std::string& what, const Json& found);
    // A short form of a value for messages ("an array", "\"abc\"", "12").
    static std::string shown(const Json& j);
    // Text from a file as a message may quote it: at most `limit` characters, control and invisible
    // characters and broken UTF-8 escaped, never cut inside a character, "..." when cut.
    static std::string excerpt(std::string_view text, std::size_t limit = ExcerptLength);
    static constexpr std::size_t ExcerptLength = 60;
    // The JSON library's message with the file's text it quotes ("last read: '...'") as an excerpt.
    static std::string parserMessage(const std::string& what);
    static std::string at(const std::string& place, std::size_t index);  // place[index]
    // place.key, the key as an excerpt (a key may be anything a file holds).
    static std::string keyPlace(const std::string& place, std::string_view key);
    static const Json* member(const Json& object, const char* key);
    // Fails on the first key of the object that is not one of these.
    static void onlyKeys(const Json& object, std::initializer_list<const char*> keys, const std::string& place);
};

}  // namespace VelX
