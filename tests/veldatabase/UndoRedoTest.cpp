// Undo and redo of structural edits: create, delete, rename, reparent, connect and selection.
#include "TestTypes.h"

#include <utility>

namespace dbtest {
namespace {

class UndoRedoTest : public DatabaseTest {
protected:
    // Every connection in the database, sorted, as (source, destination).
    std::vector<std::pair<db::AttrKey, db::AttrKey>> allConnections() const {
        std::vector<std::pair<db::AttrKey, db::AttrKey>> out;
        db.forEachConnection([&](const db::AttrKey& s, const db::AttrKey& d) { out.emplace_back(s, d); });
        std::sort(out.begin(), out.end());
        return out;
    }
};

TEST_F(UndoRedoTest, CreateUndoRedoKeepsTheIdAndNeverReusesIt) {
    int a = item("a");
    ASSERT_GT(a, 0);
    ASSERT_TRUE(db.undo());
    EXPECT_FALSE(db.isAlive(a));
    EXPECT_EQ(db.findChild(db::Database::RootId, "a"), -1);
    ASSERT_TRUE(db.redo());
    ASSERT_TRUE(db.isAlive(a));
    EXPECT_EQ(db.node(a)->name(), "a");
    EXPECT_EQ(db.findChild(db::Database::RootId, "a"), a);

    ASSERT_TRUE(db.undo());
    int b = item("a");
    EXPECT_GT(b, a) << "an undone creation keeps its id to itself";
    EXPECT_FALSE(db.canRedo());
    EXPECT_FALSE(db.isAlive(a));
}

TEST_F(UndoRedoTest, DeletedHandlesStayDeadAndIdsAreNeverReused) {
    int a = item("a");
    int limit = db.idLimit();
    ASSERT_TRUE(db.remove(a));
    EXPECT_FALSE(db.isAlive(a));
    EXPECT_EQ(db.node(a), nullptr);
    EXPECT_TRUE(db.value(key(a, Slot::Weight)).isNone());
    EXPECT_FALSE(db.setValue(key(a, Slot::Weight), 2.0f));
    EXPECT_EQ(db.rename(a, "x"), "");
    EXPECT_FALSE(db.remove(a));
    EXPECT_GE(item("b"), limit);

    db.reset();
    EXPECT_EQ(db.nodeCount(), 1u);
    EXPECT_FALSE(db.canUndo());
    EXPECT_GT(item("c"), limit) << "ids stay unique across a reset";
}

TEST_F(UndoRedoTest, CreateRefusesAbstractTypesAndParentsWithoutChildren) {
    static const db::NodeDef abstractType("Abstract", nullptr, {message()}, db::Abstract);
    int leaf = db.create(otherDef(), "leaf");
    ASSERT_GT(leaf, 0);
    EXPECT_EQ(db.create(itemDef(), "x", leaf), -1);
    EXPECT_EQ(db.create(abstractType, "x"), -1);
    EXPECT_EQ(db.create(itemDef(), "x", 12345), -1);
    EXPECT_FALSE(db.remove(db::Database::RootId));
}

TEST_F(UndoRedoTest, DeleteSubtreeUndoRestoresNodesConnectionsAndSelection) {
    int outside = item("outside");
    int p = item("p");
    int c1 = item("c1", p), c2 = item("c2", p), g = item("g", c2);
    db.setValue(key(g, Slot::Label), "grandchild");
    db.resizeArray(key(c1, Slot::Items), 2);
    db.setValue(db::AttrKey{c1, Slot::Items, 1, Slot::ItemName}, "second");
    ASSERT_TRUE(db.connect(key(p, Slot::Total), key(outside, Slot::Weight)));          // out of the subtree
    ASSERT_TRUE(db.connect(key(outside, Slot::Total), key(g, Slot::SizeW)));           // into it
    ASSERT_TRUE(db.connect(key(c1, Slot::Total), key(c2, Slot::Weight)));              // inside it
    ASSERT_TRUE(db.connect(key(outside, Slot::Message), key(g, Slot::Target)));        // reference into it
    ASSERT_TRUE(db.connect(key(c1, Slot::Message), key(outside, Slot::Target)));       // reference out of it
    db.setSelection({c1, outside, g});
    const auto connectionsBefore = allConnections();
    const double outsideTotal = num(outside, Slot::Total);
    ASSERT_EQ(connectionsBefore.size(), 5u);

    ASSERT_TRUE(db.remove(p));
    for (int id : {p, c1, c2, g}) EXPECT_FALSE(db.isAlive(id));
    EXPECT_TRUE(allConnections().empty());
    EXPECT_EQ(db.selection(), std::vector<int>{outside});
    EXPECT_EQ(db.value(key(outside, Slot::Target)).asInt(), -1);
    EXPECT_EQ(num(outside, Slot::Weight), 1.0) << "a disconnected input shows its own value again";
    std::vector<int> deleted = recorder.last().deleted();
    std::sort(deleted.begin(), deleted.end());
    EXPECT_EQ(deleted, (std::vector<int>{p, c1, c2, g}));

    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(db.undo());
        for (int id : {p, c1, c2, g}) ASSERT_TRUE(db.isAlive(id));
        EXPECT_EQ(children(p), (std::vector<int>{c1, c2}));
        EXPECT_EQ(children(c2), std::vector<int>{g});
        EXPECT_EQ(db.findPath("p/c2/g"), g);
        EXPECT_EQ(db.value(key(g, Slot::Label)).asString(), "grandchild");
        EXPECT_EQ(db.value(db::AttrKey{c1, Slot::Items, 1, Slot::ItemName}).asString(), "second");
        EXPECT_EQ(allConnections(), connectionsBefore);
        EXPECT_EQ(db.selection(), (std::vector<int>{c1, outside, g}));
        EXPECT_TRUE(db.isSelected(g));
        EXPECT_EQ(db.value(key(outside, Slot::Target)).asInt(), c1);
        EXPECT_EQ(num(outside, Slot::Total), outsideTotal);
        EXPECT_EQ(num(g, Slot::SizeW), outsideTotal);

        ASSERT_TRUE(db.redo());
        for (int id : {p, c1, c2, g}) EXPECT_FALSE(db.isAlive(id));
        EXPECT_TRUE(allConnections().empty());
        EXPECT_FALSE(db.isSelected(g));
    }
}

TEST_F(UndoRedoTest, DeletingSeveralSiblingsRestoresTheirOrder) {
    int p = item("p");
    std::vector<int> kids;
    for (const char* n : {"a", "b", "c", "d", "e"}) kids.push_back(item(n, p));
    // A child listed with its parent goes with the parent; duplicates are harmless.
    ASSERT_TRUE(db.remove(std::vector<int>{kids[3], kids[1], kids[3], kids[4]}));
    EXPECT_EQ(childNames(p), (std::vector<std::string>{"a", "c"}));
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(children(p), kids);
    for (int k : kids) EXPECT_EQ(db.findChild(p, db.node(k)->name()), k);
}

TEST_F(UndoRedoTest, RevertingCreationsMixedWithMovesRestoresEveryChildList) {
    int p = item("p"), q = item("q");
    std::vector<int> kids;
    for (const char* n : {"a", "b", "c"}) kids.push_back(item(n, p));
    auto editAndCheck = [&] {
        int x = item("x", p);                // linked at the end
        ASSERT_TRUE(db.setParent(x, p, 0));  // ... and moved to the front
        int y = item("y", p);
        int z = item("z", p);
        ASSERT_TRUE(db.setParent(kids[2], p, 0));
        int w = item("w", y);
        ASSERT_TRUE(db.setParent(y, q, 0));  // a creation that is no longer where it was made
        EXPECT_EQ(childNames(p), (std::vector<std::string>{"c", "x", "a", "b", "z"}));
        EXPECT_EQ(db.findPath("q/y/w"), w);
        (void)z;
    };
    db.beginChangeBlock();
    editAndCheck();
    ASSERT_TRUE(db.cancelChangeBlock());
    EXPECT_EQ(children(p), kids);
    EXPECT_TRUE(children(q).empty());
    EXPECT_EQ(db.findPath("p/x"), -1);

    db.beginChangeBlock();
    editAndCheck();
    db.endChangeBlock("edit");
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(children(p), kids);
    EXPECT_TRUE(children(q).empty());
    ASSERT_TRUE(db.redo());
    EXPECT_EQ(childNames(p), (std::vector<std::string>{"c", "x", "a", "b", "z"}));
    EXPECT_EQ(childNames(q), (std::vector<std::string>{"y"}));
}

// ---------------------------------------------------------------- names

TEST_F(UndoRedoTest, NamesAreSanitisedAndUniqueAmongSiblings) {
    int p = item("p");
    EXPECT_EQ(db.node(item("joint", p))->name(), "joint");
    EXPECT_EQ(db.node(item("joint", p))->name(), "joint1");
    EXPECT_EQ(db.node(item("joint", p))->name(), "joint2");
    EXPECT_EQ(db.node(item("joint"))->name(), "joint") << "names are unique among siblings only";
    EXPECT_EQ(db.node(item("my joint!"))->name(), "my_joint_");
    EXPECT_EQ(db.node(item("3d"))->name(), "_3d");
    EXPECT_EQ(db.node(item(""))->name(), "object");

    int k = item("knee", p);
    std::string given = db.rename(k, "joint");
    EXPECT_NE(given, "joint");
    EXPECT_EQ(given.rfind("joint", 0), 0u);
    EXPECT_EQ(db.findChild(p, given), k);
    std::vector<std::string> names = childNames(p);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "duplicate sibling name";
}

TEST_F(UndoRedoTest, RenameUndoRedoUpdatesNameLookUp) {
    int a = item("a");
    ASSERT_EQ(db.rename(a, "b"), "b");
    EXPECT_EQ(db.findChild(db::Database::RootId, "a"), -1);
    EXPECT_EQ(db.findPath("b"), a);
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(db.node(a)->name(), "a");
    EXPECT_EQ(db.findPath("a"), a);
    EXPECT_EQ(db.findPath("b"), -1);
    ASSERT_TRUE(db.redo());
    EXPECT_EQ(db.findPath("b"), a);
    EXPECT_EQ(db.path(a), "b");
}

TEST_F(UndoRedoTest, ReparentIntoAClashingNameRenamesAndUndoRestoresBoth) {
    int p = item("p"), q = item("q");
    int moving = item("joint", p);
    int stay = item("joint", q);
    ASSERT_TRUE(db.setParent(moving, q));
    EXPECT_EQ(db.node(moving)->parent(), q);
    EXPECT_NE(db.node(moving)->name(), "joint");
    EXPECT_EQ(db.findChild(q, "joint"), stay);
    EXPECT_EQ(db.undoCount(), 5u) << "rename and move are one step";

    ASSERT_TRUE(db.undo());
    EXPECT_EQ(db.node(moving)->parent(), p);
    EXPECT_EQ(db.node(moving)->name(), "joint");
    EXPECT_EQ(db.findPath("p/joint"), moving);
    EXPECT_EQ(db.findPath("q/joint"), stay);
}

// The name given on a move must be free under the new parent, whatever the old siblings hold.
TEST_F(UndoRedoTest, ReparentKeepsSiblingNamesUniqueWhenTheOldParentHoldsTheNewName) {
    int p = item("p"), q = item("q");
    int moving = item("x", p);
    item("x1", p);  // taken under the old parent only
    item("x", q);
    item("x2", q);  // taken under the new parent only
    ASSERT_TRUE(db.setParent(moving, q));
    std::vector<std::string> names = childNames(q);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end())
        << "siblings under q share a name: " << ::testing::PrintToString(childNames(q));
    EXPECT_EQ(db.findChild(q, db.node(moving)->name()), moving);
}

// ---------------------------------------------------------------- reparenting

TEST_F(UndoRedoTest, ReparentWithIndexWithinAndAcrossParentsUndoesExactly) {
    int p = item("p"), q = item("q");
    std::vector<int> kids;
    for (const char* n : {"a", "b", "c", "d"}) kids.push_back(item(n, p));
    int qa = item("qa", q), qb = item("qb", q);

    ASSERT_TRUE(db.setParent(kids[0], p, 2));
    EXPECT_EQ(childNames(p), (std::vector<std::string>{"b", "c", "a", "d"}));
    ASSERT_TRUE(db.setParent(kids[3], p, 0));
    EXPECT_EQ(childNames(p), (std::vector<std::string>{"d", "b", "c", "a"}));
    ASSERT_TRUE(db.setParent(kids[1], q, 1));
    EXPECT_EQ(children(q), (std::vector<int>{qa, kids[1], qb}));
    ASSERT_TRUE(db.setParent(kids[2], q, 99));  // past the end appends
    EXPECT_EQ(children(q), (std::vector<int>{qa, kids[1], qb, kids[2]}));
    EXPECT_EQ(db.findPath("q/c"), kids[2]);
    EXPECT_EQ(db.findPath("p/c"), -1);

    for (int i = 0; i < 4; ++i) ASSERT_TRUE(db.undo());
    EXPECT_EQ(children(p), kids);
    EXPECT_EQ(children(q), (std::vector<int>{qa, qb}));
    EXPECT_EQ(db.findPath("p/c"), kids[2]);
    for (int i = 0; i < 4; ++i) ASSERT_TRUE(db.redo());
    EXPECT_EQ(childNames(p), (std::vector<std::string>{"d", "a"}));
    EXPECT_EQ(children(q), (std::vector<int>{qa, kids[1], qb, kids[2]}));
}

TEST_F(UndoRedoTest, ReparentRefusesCyclesAndNoOpMovesAddNoStep) {
    int p = item("p"), c = item("c", p), g = item("g", c);
    std::size_t steps = db.undoCount();
    EXPECT_FALSE(db.setParent(p, g));
    EXPECT_FALSE(db.setParent(p, p));
    EXPECT_FALSE(db.setParent(db::Database::RootId, p));
    EXPECT_TRUE(db.setParent(c, p, 0));  // already there
    EXPECT_EQ(db.undoCount(), steps);
    int leaf = db.create(otherDef(), "leaf");
    EXPECT_FALSE(db.setParent(c, leaf));
    EXPECT_EQ(db.node(c)->parent(), p);
}

// ---------------------------------------------------------------- connections and selection

TEST_F(UndoRedoTest, ConnectReplacingAnInputIsOneStepAndUndoRestoresTheOldSource) {
    int a = item("a"), b = item("b"), c = item("c");
    db.setValue(key(a, Slot::Weight), 10.0f);
    db.setValue(key(b, Slot::Weight), 20.0f);
    ASSERT_TRUE(db.connect(key(a, Slot::Total), key(c, Slot::Weight)));
    EXPECT_EQ(num(c, Slot::Weight), 10.0);
    EXPECT_FALSE(db.setValue(key(c, Slot::Weight), 5.0f)) << "a connected input takes no value";
    std::size_t steps = db.undoCount();
    ASSERT_TRUE(db.connect(key(b, Slot::Total), key(c, Slot::Weight)));
    EXPECT_EQ(db.undoCount(), steps + 1);
    EXPECT_EQ(num(c, Slot::Weight), 20.0);
    std::vector<db::AttrKey> outs;
    db.outputs(key(a, Slot::Total), outs);
    EXPECT_TRUE(outs.empty());

    ASSERT_TRUE(db.undo());
    EXPECT_EQ(db.input(key(c, Slot::Weight)), key(a, Slot::Total));
    EXPECT_EQ(num(c, Slot::Weight), 10.0);
    EXPECT_FALSE(db.hasOutputs(key(b, Slot::Total)));

    ASSERT_TRUE(db.disconnect(key(c, Slot::Weight)));
    EXPECT_EQ(num(c, Slot::Weight), 1.0);
    EXPECT_EQ(db.node(a)->connectionCount(), 0);
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(db.input(key(c, Slot::Weight)), key(a, Slot::Total));
    ASSERT_TRUE(db.redo());
    EXPECT_FALSE(db.input(key(c, Slot::Weight)).isValid());
    EXPECT_FALSE(db.disconnect(key(c, Slot::Weight)));
}

TEST_F(UndoRedoTest, SelectionIsCleanedOrderedAndUndoable) {
    int a = item("a"), b = item("b"), gone = item("gone");
    db.remove(gone);
    db.setSelection({b, db::Database::RootId, a, b, gone, 999});
    EXPECT_EQ(db.selection(), (std::vector<int>{b, a}));
    EXPECT_TRUE(db.isSelected(a));
    db.setSelection({a});
    EXPECT_FALSE(db.isSelected(b));
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(db.selection(), (std::vector<int>{b, a}));
    EXPECT_TRUE(db.isSelected(b));
    ASSERT_TRUE(db.undo());
    EXPECT_TRUE(db.selection().empty());
    EXPECT_FALSE(db.isSelected(a));
}

// A repeated write to a field may not fold into its first journal entry once the whole array
// was written in between, or redo replays the writes out of order.
TEST_F(UndoRedoTest, RedoOfMixedArrayAndFieldWritesInOneBlockEndsInTheSameState) {
    int a = item("a");
    db.resizeArray(key(a, Slot::Items), 1);
    const db::AttrKey field{a, Slot::Items, 0, Slot::ItemValue};

    db.beginChangeBlock();
    db.setValue(field, 1.0f);
    db.setValue(key(a, Slot::Items), db::Value(db::ValueList{element("whole", 5.0f)}));
    db.setValue(field, 2.0f);
    db.endChangeBlock();
    ASSERT_EQ(db.storedValue(field).asDouble(), 2.0);

    ASSERT_TRUE(db.undo());
    EXPECT_EQ(db.storedValue(field).asDouble(), 0.0);
    EXPECT_EQ(db.storedValue(db::AttrKey{a, Slot::Items, 0, Slot::ItemName}).asString(), "");
    ASSERT_TRUE(db.redo());
    EXPECT_EQ(db.storedValue(db::AttrKey{a, Slot::Items, 0, Slot::ItemName}).asString(), "whole");
    EXPECT_EQ(db.storedValue(field).asDouble(), 2.0) << "the last write of the block must win";
}

// A connection left on a field that is gone would be invisible to connections() once its object
// is deleted, and undoing a later disconnect of it would crash.
TEST_F(UndoRedoTest, ShrinkingAnArrayDropsConnectionsOfItsFieldsAndUndoBringsThemBack) {
    int a = item("a"), b = item("b");
    db.resizeArray(key(b, Slot::Items), 3);
    const db::AttrKey into{b, Slot::Items, 2, Slot::ItemValue}, from{b, Slot::Items, 1, Slot::ItemName};
    ASSERT_TRUE(db.connect(key(a, Slot::Weight), into));
    ASSERT_TRUE(db.connect(from, key(a, Slot::Label)));
    db.setValue(db::AttrKey{b, Slot::Items, 1, Slot::ItemName}, "stale");
    ASSERT_TRUE(db.resizeArray(key(b, Slot::Items), 1));
    EXPECT_FALSE(db.input(into).isValid());
    EXPECT_FALSE(db.hasOutputs(key(a, Slot::Weight)));
    EXPECT_FALSE(db.input(key(a, Slot::Label)).isValid()) << "a connection from a field that is gone";
    EXPECT_EQ(db.node(a)->connectionCount(), 0);
    EXPECT_EQ(db.value(key(a, Slot::Label)).asString(), "");

    ASSERT_TRUE(db.undo());
    EXPECT_EQ(db.arraySize(key(b, Slot::Items)), 3);
    EXPECT_EQ(db.input(into), key(a, Slot::Weight));
    EXPECT_EQ(db.input(key(a, Slot::Label)), from);
    EXPECT_EQ(db.value(key(a, Slot::Label)).asString(), "stale");
}

}  // namespace
}  // namespace dbtest
