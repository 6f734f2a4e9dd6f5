// Connection rules, cycle refusal, cached evaluation with dirty propagation, and attribute ids.
#include "TestTypes.h"

#include <set>

namespace dbtest {
namespace {

using ConnectionTest = DatabaseTest;
using EvaluationTest = DatabaseTest;

TEST_F(ConnectionTest, RefusesMismatchedTypesAndSaysWhy) {
    int a = item("a"), b = item("b");
    recorder.changes.clear();
    std::size_t steps = db.undoCount();
    struct Case {
        db::AttrKey source, destination;
        const char* what;
    };
    const Case refused[] = {
        {key(a, Slot::Weight), key(b, Slot::Count), "float to int"},
        {key(a, Slot::Count), key(b, Slot::Mode), "int to enum"},
        {key(a, Slot::Weight), key(b, Slot::Label), "float to string"},
        {key(a, Slot::Items), key(b, Slot::Weight), "array to single value"},
        {key(a, Slot::Size), key(b, Slot::Size), "compound to compound"},
        {key(a, Slot::Items), key(b, Slot::Items), "compound array to compound array"},
        {key(a, Slot::Weight), key(b, Slot::Total), "into a computed attribute"},
        {key(a, Slot::Weight), key(b, Slot::Message), "into the message attribute"},
        {key(a, Slot::Weight), key(a, Slot::Weight), "into itself"},
        {key(a, Slot::Message), key(b, Slot::Weight), "a reference into a value"},
        {key(a, Slot::Message), key(b, Slot::OtherRef), "a reference of the wrong type"},
        {key(a, 99), key(b, Slot::Weight), "no such source"},
        {key(a, Slot::Weight), db::AttrKey{b, Slot::Items, 0, Slot::ItemValue}, "no such element"},
    };
    for (const Case& c : refused) {
        std::string reason;
        EXPECT_FALSE(db.connect(c.source, c.destination, &reason)) << c.what;
        EXPECT_FALSE(reason.empty()) << c.what;
    }
    EXPECT_TRUE(recorder.changes.empty());
    EXPECT_EQ(db.undoCount(), steps);
    EXPECT_EQ(db.node(a)->connectionCount(), 0);

    int other = db.create(otherDef(), "other");
    EXPECT_TRUE(db.connect(key(other, Slot::Message), key(b, Slot::OtherRef)));
    EXPECT_EQ(db.value(key(b, Slot::OtherRef)).asInt(), other);
    EXPECT_TRUE(recorder.last().isAttributeReferenceChanged());
    EXPECT_TRUE(db.connect(key(a, Slot::Weight), key(b, Slot::SizeW))) << "float into a compound's float child";
}

TEST_F(ConnectionTest, RefusesCyclesDirectAndThroughComputedAttributes) {
    int a = item("a"), b = item("b"), c = item("c");
    std::string reason;
    ASSERT_TRUE(db.connect(key(a, Slot::Weight), key(b, Slot::Weight)));
    EXPECT_FALSE(db.connect(key(b, Slot::Weight), key(a, Slot::Weight), &reason));
    EXPECT_NE(reason.find("cycle"), std::string::npos) << reason;

    // a.total feeds c, c.total feeds b's size: anything from b or c back into a closes a loop.
    ASSERT_TRUE(db.connect(key(a, Slot::Total), key(c, Slot::Weight)));
    ASSERT_TRUE(db.connect(key(c, Slot::Total), key(b, Slot::SizeW)));
    EXPECT_FALSE(db.connect(key(b, Slot::Total), key(a, Slot::SizeW)));
    EXPECT_FALSE(db.connect(key(c, Slot::Total), key(a, Slot::SizeH)));
    EXPECT_FALSE(db.connect(key(a, Slot::Total), key(a, Slot::SizeW))) << "a node's output into its own input";
    EXPECT_FALSE(db.input(key(a, Slot::SizeW)).isValid());

    EXPECT_FALSE(db.connect(key(b, Slot::Total), key(c, Slot::SizeW))) << "c feeds b already";

    // A diamond is not a cycle.
    EXPECT_TRUE(db.connect(key(a, Slot::Total), key(b, Slot::SizeH)));
    int d = item("d");
    EXPECT_TRUE(db.connect(key(a, Slot::Total), key(d, Slot::Weight)));
    EXPECT_TRUE(db.connect(key(b, Slot::Total), key(d, Slot::SizeW)));
    EXPECT_EQ(num(d, Slot::Total), num(a, Slot::Total) + num(b, Slot::Total));
}

TEST_F(ConnectionTest, RefusesACycleThroughTheHierarchyLink) {
    int p = item("p"), child = item("child", p);
    // child.world is computed from p.world, which is computed from p.weight.
    EXPECT_FALSE(db.connect(key(child, Slot::World), key(p, Slot::Weight)));
    int other = item("other");
    EXPECT_TRUE(db.connect(key(child, Slot::World), key(other, Slot::Weight)));
}

// The loop runs through a field of an array element, which the cycle search must walk.
TEST_F(ConnectionTest, RefusesACycleThroughAFieldOfAnArrayElement) {
    int a = item("a");
    db.resizeArray(key(a, Slot::Items), 1);
    const db::AttrKey field{a, Slot::Items, 0, Slot::ItemValue};
    const bool connected = db.connect(key(a, Slot::Total), field);
    EXPECT_FALSE(connected) << "total sums items[*].value, so feeding it back is a cycle";
    if (connected) db.disconnect(field);  // never evaluate the loop
}

// ---------------------------------------------------------------- evaluation

TEST_F(EvaluationTest, ComputedValueIsComputedOnceUntilAnInputChanges) {
    int a = item("a"), b = item("b");
    db.setValue(key(a, Slot::Count), 3);
    const std::uint64_t start = db.computeCount();
    const int calls = computeCalls();
    EXPECT_EQ(num(a, Slot::Total), 4.0);
    EXPECT_EQ(num(a, Slot::Total), 4.0);
    EXPECT_EQ(num(a, Slot::Total), 4.0);
    EXPECT_EQ(db.computeCount(), start + 1);
    EXPECT_EQ(computeCalls(), calls + 1);

    db.setValue(key(b, Slot::Weight), 9.0f);  // another node
    EXPECT_EQ(num(a, Slot::Total), 4.0);
    EXPECT_EQ(db.computeCount(), start + 1);

    db.setValue(key(a, Slot::SizeW), 2.0f);
    EXPECT_EQ(num(a, Slot::Total), 6.0);
    EXPECT_EQ(num(a, Slot::Total), 6.0);
    EXPECT_EQ(db.computeCount(), start + 2);

    ASSERT_TRUE(db.undo());
    EXPECT_EQ(num(a, Slot::Total), 4.0);
    EXPECT_EQ(db.computeCount(), start + 3);
}

TEST_F(EvaluationTest, DirtinessReachesDownstreamConnectedAttributes) {
    int a = item("a"), b = item("b"), c = item("c");
    ASSERT_TRUE(db.connect(key(a, Slot::Total), key(b, Slot::Weight)));
    ASSERT_TRUE(db.connect(key(b, Slot::Total), key(c, Slot::SizeW)));
    EXPECT_EQ(num(c, Slot::Total), 2.0);  // c.weight 1 + b.total (a.total 1)
    const std::uint64_t start = db.computeCount();

    db.setValue(key(a, Slot::Count), 10);
    EXPECT_TRUE(recorder.last().isAttributeChanged(key(b, Slot::Weight)));
    EXPECT_TRUE(recorder.last().isAttributeChanged(key(c, Slot::Total)));
    EXPECT_TRUE(recorder.last().isObjectChanged(c));
    EXPECT_EQ(num(c, Slot::Total), 12.0);
    EXPECT_EQ(db.computeCount(), start + 3);
    EXPECT_EQ(num(c, Slot::Total), 12.0);
    EXPECT_EQ(db.computeCount(), start + 3);

    ASSERT_TRUE(db.undo());
    EXPECT_EQ(num(c, Slot::Total), 2.0);

    ASSERT_TRUE(db.remove(b));  // c's input falls back to its own value
    EXPECT_EQ(num(c, Slot::Total), 1.0);
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(num(c, Slot::Total), 2.0);
    ASSERT_TRUE(db.disconnect(key(b, Slot::Weight)));
    EXPECT_EQ(num(c, Slot::Total), 2.0);  // b.weight's own value is 1 too
    db.setValue(key(a, Slot::Count), 5);
    EXPECT_EQ(num(c, Slot::Total), 2.0);
}

TEST_F(EvaluationTest, HierarchyLinkFollowsEditsAndReparenting) {
    int p = item("p"), c = item("c", p), g = item("g", c);
    EXPECT_EQ(num(g, Slot::World), 3.0);
    db.setValue(key(p, Slot::Weight), 5.0f);
    EXPECT_EQ(num(g, Slot::World), 7.0);
    ASSERT_TRUE(db.setParent(g, db::Database::RootId));
    EXPECT_EQ(num(g, Slot::World), 1.0);
    ASSERT_TRUE(db.setParent(c, db::Database::RootId));
    ASSERT_TRUE(db.setParent(g, c));
    EXPECT_EQ(num(g, Slot::World), 2.0);
    ASSERT_TRUE(db.undo());
    ASSERT_TRUE(db.undo());
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(num(g, Slot::World), 7.0);
}

// Reading the element or the whole array must agree with reading the connected field.
TEST_F(EvaluationTest, ArrayElementFieldInputIsSeenThroughTheElementAndTheArray) {
    int source = item("source"), a = item("a");
    db.resizeArray(key(a, Slot::Items), 2);
    const db::AttrKey field{a, Slot::Items, 0, Slot::ItemValue};
    ASSERT_TRUE(db.connect(key(source, Slot::Weight), field));
    db.setValue(key(source, Slot::Weight), 4.0f);

    EXPECT_EQ(db.value(field).asDouble(), 4.0);
    db::Value elementValue = db.value(db::AttrKey{a, Slot::Items, 0, -1});
    ASSERT_TRUE(elementValue.is<db::ValueList>());
    EXPECT_EQ(elementValue.get<db::ValueList>()[Slot::ItemValue].asDouble(), 4.0);
    db::Value whole = db.value(key(a, Slot::Items));
    ASSERT_TRUE(whole.is<db::ValueList>());
    EXPECT_EQ(whole.get<db::ValueList>()[0].get<db::ValueList>()[Slot::ItemValue].asDouble(), 4.0);
    EXPECT_EQ(num(a, Slot::Total), 5.0) << "weight 1 + items[0].value 4";
}

// ---------------------------------------------------------------- attribute ids

TEST_F(EvaluationTest, AttributeIdsRoundTripAndStayDistinct) {
    int a = item("a"), b = item("b");
    db.resizeArray(key(a, Slot::Items), 3);
    db::AttributeDef extra = attr("extra", db::ValueType::Int, std::int32_t(2));
    const int custom = db.addCustomAttribute(a, extra);
    ASSERT_GT(custom, Slot::World);
    EXPECT_EQ(db.value(key(a, custom)).asInt(), 2);

    const std::vector<db::AttrKey> keys = {
        key(a, Slot::Message), key(a, Slot::Weight), key(a, Slot::SizeH), key(a, Slot::Items),
        db::AttrKey{a, Slot::Items, 2, -1}, db::AttrKey{a, Slot::Items, 2, Slot::ItemValue},
        db::AttrKey{a, Slot::Items, 0, Slot::ItemName}, key(a, custom), key(b, Slot::Weight), key(b, Slot::Total)};
    std::set<int> ids;
    for (const db::AttrKey& k : keys) {
        const int id = db.attributeId(k);
        ASSERT_GE(id, 0);
        EXPECT_EQ(db.attributeKey(id), k);
        EXPECT_EQ(db.attributeId(k), id) << "ids are stable";
        ids.insert(id);
    }
    EXPECT_EQ(ids.size(), keys.size());

    EXPECT_EQ(db.attributeId(key(a, 200)), -1);
    EXPECT_EQ(db.attributeId(db::AttrKey{a, Slot::Items, 3, -1}), -1);
    EXPECT_EQ(db.attributeId(db::AttrKey{a, Slot::Weight, 0, -1}), -1);
    EXPECT_FALSE(db.attributeKey(-1).isValid());
    EXPECT_FALSE(db.attributeKey((1 << 30) + 1000).isValid());
    ASSERT_TRUE(db.removeCustomAttribute(a, custom));
    EXPECT_EQ(db.attributeId(key(a, custom)), -1);
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(db.value(key(a, custom)).asInt(), 2);
    db.remove(b);
    EXPECT_EQ(db.attributeId(key(b, Slot::Weight)), -1);
}

}  // namespace
}  // namespace dbtest
