// Arrays of numbers (animation keys and the like) are stored packed. Every read, write and undo
// must give back exactly what a list of values gave: the same kinds, the same numbers.
#include <veldatabase/Database.h>
#include <veldatabase/PackedArray.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

db::AttributeDef field(const char* name, db::ValueType type, db::Value value) {
    db::AttributeDef a;
    a.name = name;
    a.type = type;
    a.defaultValue = std::move(value);
    return a;
}

// "samples": an array of {time, mode, on, weight}; "levels": an array of plain numbers.
const db::NodeDef& sampledDef() {
    static const std::vector<db::AttributeDef> attributes = [] {
        db::AttributeDef message = field("message", db::ValueType::ObjectRef, {});
        message.flags = db::Internal;
        db::AttributeDef samples = field("samples", db::ValueType::Compound, {});
        samples.isArray = true;
        db::AttributeDef mode = field("mode", db::ValueType::Enum, std::int32_t(2));
        mode.enumNames = {"off", "on", "auto"};
        samples.children = {field("time", db::ValueType::Float, 0.0f), mode, field("on", db::ValueType::Bool, true),
                            field("weight", db::ValueType::Double, 0.5)};
        db::AttributeDef levels = field("levels", db::ValueType::Int, std::int32_t(7));
        levels.isArray = true;
        return std::vector<db::AttributeDef>{message, samples, levels, field("gain", db::ValueType::Float, 1.0f)};
    }();
    static const db::NodeDef type("Sampled", nullptr, attributes);
    return type;
}

constexpr int Samples = 1, Levels = 2, Gain = 3;
constexpr int Time = 0, Mode = 1, On = 2, Weight = 3;

db::Value sample(float time, std::int32_t mode, bool on, double weight) {
    return db::Value(db::ValueList{db::Value(time), db::Value(mode), db::Value(on), db::Value(weight)});
}

class PackedArrayTest : public ::testing::Test {
protected:
    void SetUp() override {
        database.registerType(sampledDef());
        id = database.create(sampledDef(), "s");
    }
    db::AttrKey samples() const { return db::AttrKey{id, Samples}; }

    db::Database database;
    int id = -1;
};

TEST_F(PackedArrayTest, NumbersKeepTheirKindsThroughTheWholeArrayElementsAndFields) {
    ASSERT_TRUE(database.node(id)->isPackedSlot(Samples));
    ASSERT_TRUE(database.node(id)->isPackedSlot(Levels));
    // Written as other numeric kinds, read back as the field's own kind.
    ASSERT_TRUE(database.setValue(samples(), db::Value(db::ValueList{
        db::Value(db::ValueList{db::Value(1.25), db::Value(1.0f), db::Value(std::int32_t(0)), db::Value(std::int32_t(3))}),
        sample(-0.1f, 2, true, 1e-300)})));
    const db::Value expected(db::ValueList{sample(1.25f, 1, false, 3.0), sample(-0.1f, 2, true, 1e-300)});
    EXPECT_EQ(database.storedValue(samples()), expected);
    EXPECT_EQ(database.value(samples()), expected);
    EXPECT_EQ(database.arraySize(samples()), 2);
    EXPECT_EQ(database.storedValue(samples().withElement(1)), sample(-0.1f, 2, true, 1e-300));
    EXPECT_EQ(database.storedValue(samples().withElement(1, Weight)), db::Value(1e-300));
    EXPECT_TRUE(database.storedValue(samples().withElement(0, Mode)).is<std::int32_t>());
    EXPECT_TRUE(database.storedValue(samples().withElement(0, On)).is<bool>());
    EXPECT_FALSE(database.isValidKey(samples().withElement(2))) << "past the end";

    // A choice out of range and an element of the wrong length are refused, the array kept.
    EXPECT_FALSE(database.setValue(samples(), db::Value(db::ValueList{sample(0, 3, true, 0)})));
    EXPECT_FALSE(database.setValue(samples(), db::Value(db::ValueList{db::Value(db::ValueList{db::Value(1.0f)})})));
    EXPECT_FALSE(database.setValue(samples().withElement(0, Mode), db::Value(std::int32_t(5))));
    EXPECT_EQ(database.storedValue(samples()), expected);

    // New elements take the fields' defaults; a plain array of numbers packs too.
    ASSERT_TRUE(database.resizeArray(samples(), 3));
    EXPECT_EQ(database.storedValue(samples().withElement(2)), sample(0.0f, 2, true, 0.5));
    ASSERT_TRUE(database.resizeArray(db::AttrKey{id, Levels}, 2));
    ASSERT_TRUE(database.setValue(db::AttrKey{id, Levels, 1}, db::Value(4.6)));
    EXPECT_EQ(database.storedValue(db::AttrKey{id, Levels}), db::Value(db::ValueList{db::Value(std::int32_t(7)), db::Value(std::int32_t(5))}));
}

TEST_F(PackedArrayTest, UndoAndRedoOfMixedWholeAndFieldWritesRestoreEveryState) {
    const db::Value first(db::ValueList{sample(1, 0, true, 1), sample(2, 1, false, 2)});
    ASSERT_TRUE(database.setValue(samples(), first));
    database.beginChangeBlock();
    database.setValue(samples().withElement(1, Time), db::Value(5.0f));
    database.setValue(samples(), db::Value(db::ValueList{sample(9, 2, true, 9)}));
    database.setValue(samples().withElement(0, Weight), db::Value(4.0));
    database.setValue(db::AttrKey{id, Gain}, db::Value(2.0f));
    database.endChangeBlock("Edit");
    const db::Value last(db::ValueList{sample(9, 2, true, 4)});
    ASSERT_EQ(database.storedValue(samples()), last);

    ASSERT_TRUE(database.undo());
    EXPECT_EQ(database.storedValue(samples()), first);
    ASSERT_TRUE(database.redo());
    EXPECT_EQ(database.storedValue(samples()), last) << "the last write of the block must win";
    ASSERT_TRUE(database.undo());
    ASSERT_TRUE(database.undo());
    EXPECT_EQ(database.arraySize(samples()), 0);
    ASSERT_TRUE(database.redo());
    EXPECT_EQ(database.storedValue(samples()), first);
}

TEST_F(PackedArrayTest, APackedWriteIsOneUndoStepAndRefusedWhereAListWouldBe) {
    const db::PackedLayout& layout = *sampledDef().slot(Samples).packed;
    db::PackedArray elements(layout);
    ASSERT_TRUE(elements.assign({sample(1, 1, true, 1), sample(2, 2, false, 2)}));
    const std::size_t steps = database.undoCount();
    ASSERT_TRUE(database.setArray(samples(), db::PackedArray(elements)));
    EXPECT_EQ(database.undoCount(), steps + 1);
    EXPECT_EQ(database.storedValue(samples().withElement(1)), sample(2, 2, false, 2));
    EXPECT_TRUE(database.setArray(samples(), db::PackedArray(elements))) << "the same elements again";
    EXPECT_EQ(database.undoCount(), steps + 1) << "and no step for it";

    db::PackedArray numbers(*sampledDef().slot(Levels).packed);
    numbers.resize(2);
    EXPECT_FALSE(database.setArray(samples(), db::PackedArray(numbers))) << "another attribute's layout";
    EXPECT_FALSE(database.setArray(db::AttrKey{id, Gain}, db::PackedArray(elements))) << "not an array";
    const int other = database.create(sampledDef(), "t");
    ASSERT_TRUE(database.connect(db::AttrKey{other, Levels}, db::AttrKey{id, Levels}));
    EXPECT_FALSE(database.setArray(db::AttrKey{id, Levels}, db::PackedArray(numbers))) << "driven by a connection";
    EXPECT_TRUE(database.setArray(db::AttrKey{other, Levels}, std::move(numbers)));
    EXPECT_EQ(database.value(db::AttrKey{id, Levels}), db::Value(db::ValueList{db::Value(std::int32_t(7)), db::Value(std::int32_t(7))}));

    while (database.undo()) {
    }
    EXPECT_EQ(database.arraySize(samples()), 0);
}

// Keys added one by one, in any order, and removed: each block is one undo step that restores
// exactly the elements before it, and redo the elements after it.
TEST_F(PackedArrayTest, InsertedAndRemovedElementsUndoAndRedoInEveryOrder) {
    auto times = [&] {
        std::vector<float> out;
        for (int e = 0; e < database.arraySize(samples()); ++e)
            out.push_back(database.storedValue(samples().withElement(e, Time)).get<float>());
        return out;
    };
    ASSERT_TRUE(database.setValue(samples(), db::Value(db::ValueList{sample(50, 0, true, 0)})));
    database.beginChangeBlock();
    for (int k = 0; k < 3; ++k) ASSERT_TRUE(database.insertElement(samples(), 1 + k, sample(60.0f + k, 1, false, 0)));  // appended
    for (int k = 0; k < 3; ++k) ASSERT_TRUE(database.insertElement(samples(), 0, sample(40.0f - k, 1, false, 0)));  // each before the last
    ASSERT_TRUE(database.insertElement(samples(), 3, sample(45, 2, true, 0)));                                       // in the middle
    database.endChangeBlock("Key");
    const std::vector<float> keyed{38, 39, 40, 45, 50, 60, 61, 62};
    ASSERT_EQ(times(), keyed);
    EXPECT_EQ(database.storedValue(samples().withElement(3)), sample(45, 2, true, 0));

    database.beginChangeBlock();
    ASSERT_TRUE(database.removeElement(samples(), 5));  // 60, then 61 slides into its place
    ASSERT_TRUE(database.removeElement(samples(), 5));
    ASSERT_TRUE(database.removeElement(samples(), 2));  // 40, then 39 before it
    ASSERT_TRUE(database.removeElement(samples(), 1));
    ASSERT_TRUE(database.setValue(samples().withElement(0, Time), db::Value(1.0f)));
    ASSERT_TRUE(database.insertElement(samples(), 0, sample(0, 0, false, 0)));
    database.endChangeBlock("Edit");
    const std::vector<float> edited{0, 1, 45, 50, 62};
    ASSERT_EQ(times(), edited);

    ASSERT_TRUE(database.undo());
    EXPECT_EQ(times(), keyed);
    ASSERT_TRUE(database.undo());
    EXPECT_EQ(times(), std::vector<float>{50});
    ASSERT_TRUE(database.redo());
    EXPECT_EQ(times(), keyed);
    EXPECT_EQ(database.storedValue(samples().withElement(3)), sample(45, 2, true, 0));
    ASSERT_TRUE(database.redo());
    EXPECT_EQ(times(), edited);

    EXPECT_FALSE(database.insertElement(samples(), 6, sample(0, 0, false, 0))) << "past the end";
    EXPECT_FALSE(database.insertElement(samples(), 0, sample(0, 7, false, 0))) << "a choice out of range";
    EXPECT_FALSE(database.removeElement(samples(), 5));
}

// Moving elements would move the ends of their connections: refused, the array kept.
TEST_F(PackedArrayTest, ElementsThatAreEndsOfConnectionsAreNotMoved) {
    ASSERT_TRUE(database.setValue(samples(), db::Value(db::ValueList{sample(1, 0, true, 0), sample(2, 0, true, 0)})));
    const int other = database.create(sampledDef(), "t");
    ASSERT_TRUE(database.setValue(db::AttrKey{other, Samples}, db::Value(db::ValueList{sample(9, 0, true, 0)})));
    ASSERT_TRUE(database.connect(db::AttrKey{other, Samples, 0, Time}, samples().withElement(1, Time)));
    EXPECT_FALSE(database.insertElement(samples(), 1, sample(1.5f, 0, true, 0)));
    EXPECT_FALSE(database.removeElement(samples(), 0));
    EXPECT_TRUE(database.insertElement(samples(), 2, sample(3, 0, true, 0))) << "after the connected element";
    EXPECT_FALSE(database.removeElement(db::AttrKey{other, Samples}, 0)) << "nor the source's";
    EXPECT_EQ(database.value(samples().withElement(1, Time)), db::Value(9.0f));
}

}  // namespace
