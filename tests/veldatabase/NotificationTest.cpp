// Change blocks: notification rounds, transient drags, undo step names and change questions.
#include "TestTypes.h"

namespace dbtest {
namespace {

using NotificationTest = DatabaseTest;

TEST_F(NotificationTest, NestedBlocksNotifyOnceWhenTheOutermostCloses) {
    int a = item("a");
    recorder.changes.clear();
    std::size_t steps = db.undoCount();

    db.beginChangeBlock();
    db.setValue(key(a, Slot::Weight), 2.0f);
    db.beginChangeBlock();
    db.setValue(key(a, Slot::Count), 3);
    db.endChangeBlock();
    EXPECT_TRUE(recorder.changes.empty()) << "an inner block must not notify";
    db.setValue(key(a, Slot::Label), "x");
    db.endChangeBlock();

    ASSERT_EQ(recorder.changes.size(), 1u);
    EXPECT_TRUE(recorder.last().isAttributeChanged(key(a, Slot::Weight)));
    EXPECT_TRUE(recorder.last().isAttributeChanged(key(a, Slot::Count)));
    EXPECT_TRUE(recorder.last().isAttributeChanged(key(a, Slot::Label)));
    EXPECT_EQ(db.undoCount(), steps + 1);
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(num(a, Slot::Weight), 1.0);
    EXPECT_EQ(num(a, Slot::Count), 0.0);
    EXPECT_EQ(db.value(key(a, Slot::Label)).asString(), "");
}

TEST_F(NotificationTest, BurstOfEditsInOneBlockNotifiesOnceAndUndoesToTheStart) {
    std::vector<int> ids;
    db.beginChangeBlock();
    for (int i = 0; i < 10; ++i) ids.push_back(item("n"));
    db.endChangeBlock();
    recorder.changes.clear();

    db.beginChangeBlock();
    for (int i = 0; i < 1000; ++i) db.setValue(key(ids[static_cast<std::size_t>(i % 10)], Slot::Count), i);
    db.endChangeBlock();

    ASSERT_EQ(recorder.changes.size(), 1u);
    for (int id : ids) EXPECT_TRUE(recorder.last().isObjectChanged(id));
    EXPECT_EQ(num(ids[9], Slot::Count), 999.0);
    ASSERT_TRUE(db.undo());
    for (int id : ids) EXPECT_EQ(num(id, Slot::Count), 0.0);
    ASSERT_TRUE(db.redo());
    EXPECT_EQ(num(ids[0], Slot::Count), 990.0);
}

TEST_F(NotificationTest, EditsOutsideABlockRunInImplicitBlocksOfTheirOwn) {
    int a = item("a");
    recorder.changes.clear();
    std::size_t steps = db.undoCount();

    db.setValue(key(a, Slot::Weight), 2.0f);
    db.rename(a, "b");
    db.setSelection({a});
    EXPECT_EQ(recorder.changes.size(), 3u);
    EXPECT_EQ(db.undoCount(), steps + 3);

    // Writing the value already there changes nothing: no round, no step.
    db.setValue(key(a, Slot::Weight), 2.0f);
    db.rename(a, "b");
    db.setSelection({a});
    EXPECT_EQ(recorder.changes.size(), 3u);
    EXPECT_EQ(db.undoCount(), steps + 3);
    EXPECT_EQ(db.blockDepth(), 0);
}

TEST_F(NotificationTest, ObserverEditArrivesAsALaterRoundNeverRecursively) {
    int a = item("a");
    recorder.changes.clear();
    std::vector<std::string> log;
    Recorder second;
    recorder.hook = [&](db::Database& d, const db::DatabaseChange& c) {
        log.push_back("first:" + std::to_string(recorder.changes.size()));
        if (c.isAttributeChanged(key(a, Slot::Weight))) {
            d.setValue(key(a, Slot::Count), 7);  // answers the edit with an edit of its own
            EXPECT_EQ(recorder.changes.size(), 1u) << "the edit must not be delivered inside this call";
        }
    };
    second.hook = [&](db::Database&, const db::DatabaseChange&) {
        log.push_back("second:" + std::to_string(second.changes.size()));
    };
    db.addObserver(&second);

    db.setValue(key(a, Slot::Weight), 5.0f);

    EXPECT_EQ(log, (std::vector<std::string>{"first:1", "second:1", "first:2", "second:2"}));
    EXPECT_EQ(recorder.maxDepth, 1);
    EXPECT_EQ(second.maxDepth, 1);
    ASSERT_EQ(recorder.changes.size(), 2u);
    EXPECT_TRUE(recorder.changes[1]->isAttributeChanged(key(a, Slot::Count)));
    EXPECT_FALSE(recorder.changes[1]->isAttributeChanged(key(a, Slot::Weight)));
    EXPECT_EQ(num(a, Slot::Count), 7.0);
    db.removeObserver(&second);
}

TEST_F(NotificationTest, ObserversAddedOrRemovedDuringARoundTakeEffectAfterIt) {
    int a = item("a");
    Recorder removed, added;
    db.addObserver(&removed);
    bool first = true;
    recorder.hook = [&](db::Database& d, const db::DatabaseChange&) {
        if (!first) return;
        first = false;
        d.removeObserver(&removed);  // its turn in this round has not come yet
        d.addObserver(&added);
    };

    db.setValue(key(a, Slot::Weight), 2.0f);
    EXPECT_TRUE(removed.changes.empty());
    EXPECT_TRUE(added.changes.empty());

    db.setValue(key(a, Slot::Weight), 3.0f);
    EXPECT_TRUE(removed.changes.empty());
    EXPECT_EQ(added.changes.size(), 1u);
    db.removeObserver(&added);
}

// ---------------------------------------------------------------- transient blocks

TEST_F(NotificationTest, TransientRoundsCommitAsOneUndoStepBackToTheValueBeforeTheDrag) {
    int a = item("a");
    db.setValue(key(a, Slot::Weight), 1.5f);
    recorder.changes.clear();
    std::size_t steps = db.undoCount();

    for (float v : {2.0f, 3.0f, 4.0f}) {
        db.beginChangeBlock(true);
        db.setValue(key(a, Slot::Weight), v);
        db.endChangeBlock("Drag");
    }
    ASSERT_EQ(recorder.changes.size(), 3u);
    for (const auto& c : recorder.changes) {
        EXPECT_TRUE(c->isTransient());
        EXPECT_TRUE(c->isAttributeChanged(key(a, Slot::Weight)));
    }
    EXPECT_EQ(db.undoCount(), steps) << "drag rounds are not undo steps of their own";
    EXPECT_TRUE(db.hasPendingTransient());
    EXPECT_TRUE(db.canUndo());
    EXPECT_FALSE(db.canRedo());

    db.commitTransient();
    ASSERT_EQ(recorder.changes.size(), 4u);
    EXPECT_FALSE(recorder.last().isTransient());
    EXPECT_TRUE(recorder.last().isAttributeChanged(key(a, Slot::Weight)));
    EXPECT_FALSE(db.hasPendingTransient());
    EXPECT_EQ(db.undoCount(), steps + 1);
    EXPECT_EQ(db.undoName(), "Drag");

    ASSERT_TRUE(db.undo());
    EXPECT_EQ(num(a, Slot::Weight), 1.5);
    ASSERT_TRUE(db.redo());
    EXPECT_EQ(num(a, Slot::Weight), 4.0);
}

TEST_F(NotificationTest, NonTransientBlockOrUndoCommitsAPendingDrag) {
    int a = item("a");
    std::size_t steps = db.undoCount();
    db.beginChangeBlock(true);
    db.setValue(key(a, Slot::Weight), 9.0f);
    db.endChangeBlock();
    db.setValue(key(a, Slot::Count), 4);  // a normal edit closes the drag first
    EXPECT_EQ(db.undoCount(), steps + 2);

    db.beginChangeBlock(true);
    db.setValue(key(a, Slot::Weight), 10.0f);
    db.endChangeBlock();
    ASSERT_TRUE(db.undo());  // commits, then undoes the second drag
    EXPECT_EQ(num(a, Slot::Weight), 9.0);
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(num(a, Slot::Count), 0.0);
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(num(a, Slot::Weight), 1.0);
}

TEST_F(NotificationTest, TransientDragWithAStructuralEditUndoesInOrder) {
    int a = item("a");
    std::size_t steps = db.undoCount();
    db.beginChangeBlock(true);
    db.setValue(key(a, Slot::Weight), 2.0f);
    db.endChangeBlock();
    db.beginChangeBlock(true);
    int b = item("b");
    db.setValue(key(b, Slot::Weight), 3.0f);
    db.endChangeBlock();
    db.beginChangeBlock(true);
    db.setValue(key(a, Slot::Weight), 4.0f);
    db.setValue(key(b, Slot::Weight), 5.0f);
    db.endChangeBlock();
    db.commitTransient();
    ASSERT_EQ(db.undoCount(), steps + 1);

    ASSERT_TRUE(db.undo());
    EXPECT_FALSE(db.isAlive(b));
    EXPECT_EQ(num(a, Slot::Weight), 1.0);
    ASSERT_TRUE(db.redo());
    EXPECT_EQ(num(a, Slot::Weight), 4.0);
    EXPECT_EQ(num(b, Slot::Weight), 5.0);
}

TEST_F(NotificationTest, TransientRoundsMixingArrayAndFieldWritesKeepTheirOrder) {
    int a = item("a");
    db.resizeArray(key(a, Slot::Items), 1);
    const db::AttrKey field{a, Slot::Items, 0, Slot::ItemValue};
    auto round = [&](const db::AttrKey& k, const db::Value& v) {
        db.beginChangeBlock(true);
        db.setValue(k, v);
        db.endChangeBlock();
    };
    round(field, 1.0f);
    round(key(a, Slot::Items), db::Value(db::ValueList{element("whole", 5.0f)}));
    round(field, 2.0f);
    round(key(a, Slot::Items), db::Value(db::ValueList{element("again", 6.0f), element("more", 7.0f)}));
    round(field, 3.0f);
    db.commitTransient();

    ASSERT_TRUE(db.undo());
    EXPECT_EQ(db.arraySize(key(a, Slot::Items)), 1);
    EXPECT_EQ(db.storedValue(field).asDouble(), 0.0);
    EXPECT_EQ(db.storedValue(db::AttrKey{a, Slot::Items, 0, Slot::ItemName}).asString(), "");
    ASSERT_TRUE(db.redo());
    EXPECT_EQ(db.storedValue(key(a, Slot::Items)),
              db::Value(db::ValueList{element("again", 3.0f), element("more", 7.0f)}));
}

// ---------------------------------------------------------------- undo step names

TEST_F(NotificationTest, UndoStepNamesUseTheDescriptionOrAKindOfEdit) {
    int a = item("a");
    EXPECT_EQ(db.undoName(), "Create");
    db.setValue(key(a, Slot::Weight), 2.0f);
    EXPECT_EQ(db.undoName(), "Set Value");
    db.rename(a, "b");
    EXPECT_EQ(db.undoName(), "Rename");
    db.setSelection({a});
    EXPECT_EQ(db.undoName(), "Select");
    int c = item("c");
    db.setParent(c, a);
    EXPECT_EQ(db.undoName(), "Parent");
    db.connect(key(a, Slot::Total), key(c, Slot::Weight));
    EXPECT_EQ(db.undoName(), "Connect");
    db.disconnect(key(c, Slot::Weight));
    EXPECT_EQ(db.undoName(), "Disconnect");

    db.beginChangeBlock();
    db.setValue(key(a, Slot::Weight), 3.0f);
    db.rename(a, "d");
    db.endChangeBlock();
    EXPECT_EQ(db.undoName(), "Edit") << "mixed edits get the generic name";

    db.beginChangeBlock();
    db.setValue(key(a, Slot::Weight), 4.0f);
    db.endChangeBlock("Nudge");
    EXPECT_EQ(db.undoName(), "Nudge");

    db.remove(c);
    EXPECT_EQ(db.undoName(), "Delete");

    ASSERT_TRUE(db.undo());
    EXPECT_EQ(db.redoName(), "Delete");
    EXPECT_EQ(db.undoName(), "Nudge");
}

TEST_F(NotificationTest, NestedDescriptionsTheOutermostWinsElseTheInnerIsKept) {
    int a = item("a");
    db.beginChangeBlock();
    db.beginChangeBlock();
    db.setValue(key(a, Slot::Weight), 2.0f);
    db.endChangeBlock("Inner");
    db.endChangeBlock();
    EXPECT_EQ(db.undoName(), "Inner");

    db.beginChangeBlock();
    db.beginChangeBlock();
    db.setValue(key(a, Slot::Weight), 3.0f);
    db.endChangeBlock("Inner");
    db.endChangeBlock("Outer");
    EXPECT_EQ(db.undoName(), "Outer");
    EXPECT_EQ(recorder.last().description(), "Outer");
}

// ---------------------------------------------------------------- change questions

TEST_F(NotificationTest, ChangeNamesCompoundChildrenTheirParentAndArrayFieldsTheirArray) {
    int a = item("a"), b = item("b");
    db.resizeArray(key(a, Slot::Items), 2);
    recorder.changes.clear();

    db.beginChangeBlock();
    db.setValue(key(a, Slot::SizeW), 2.0f);
    db.setValue(db::AttrKey{a, Slot::Items, 1, Slot::ItemValue}, 3.0f);
    db.endChangeBlock();

    const db::DatabaseChange& c = recorder.last();
    EXPECT_TRUE(c.isAttributeChanged(key(a, Slot::SizeW)));
    EXPECT_TRUE(c.isAttributeChanged(key(a, Slot::Size)));
    EXPECT_FALSE(c.isAttributeChanged(key(a, Slot::SizeH)));
    EXPECT_TRUE(c.isAttributeChanged(db::AttrKey{a, Slot::Items, 1, Slot::ItemValue}));
    EXPECT_TRUE(c.isAttributeChanged(key(a, Slot::Items)));
    EXPECT_FALSE(c.isAttributeChanged(db::AttrKey{a, Slot::Items, 0, Slot::ItemValue}));
    EXPECT_FALSE(c.isAttributeChanged(key(a, Slot::Weight)));
    EXPECT_TRUE(c.isObjectChanged(a));
    EXPECT_FALSE(c.isObjectChanged(b));
    EXPECT_TRUE(c.isValueTypeChanged(db::ValueType::Float));
    EXPECT_FALSE(c.isValueTypeChanged(db::ValueType::String));
    EXPECT_TRUE(c.isTypeChanged(itemDef()));
    EXPECT_FALSE(c.isTypeChanged(otherDef()));
    EXPECT_FALSE(c.isObjectCreated());
    EXPECT_TRUE(c.hasEdits());
}

TEST_F(NotificationTest, ChangeListsCreatedDeletedRenamedAndReparentedObjects) {
    db.beginChangeBlock();
    int p = item("p"), c1 = item("c", p), c2 = item("c", p);
    db.endChangeBlock();
    EXPECT_EQ(recorder.last().created(), (std::vector<int>{p, c1, c2}));
    EXPECT_TRUE(recorder.last().isObjectCreated());
    EXPECT_FALSE(recorder.last().isObjectDeleted());

    int q = item("q");
    db.beginChangeBlock();
    db.rename(c1, "first");
    db.setParent(c2, q);
    db.endChangeBlock();
    EXPECT_EQ(recorder.last().renamed(), std::vector<int>{c1});
    EXPECT_TRUE(recorder.last().isNameChanged(c1));
    EXPECT_FALSE(recorder.last().isNameChanged(c2));
    EXPECT_EQ(recorder.last().reparented(), std::vector<int>{c2});

    db.remove(p);
    std::vector<int> deleted = recorder.last().deleted();
    std::sort(deleted.begin(), deleted.end());
    EXPECT_EQ(deleted, (std::vector<int>{p, c1}));
    EXPECT_TRUE(recorder.last().isObjectChanged(c1));
    EXPECT_FALSE(recorder.last().isObjectChanged(q));
}

TEST_F(NotificationTest, TimeKeyEditIsTheOnlyValueSet) {
    int clock = item("clock"), a = item("a");
    db.setTimeKey(key(clock, Slot::Weight));
    db.setValue(key(clock, Slot::Weight), 5.0f);
    EXPECT_TRUE(recorder.last().isOnlyValueSet(key(clock, Slot::Weight)));
    db.beginChangeBlock();
    db.setValue(key(clock, Slot::Weight), 6.0f);
    db.setValue(key(a, Slot::Weight), 6.0f);
    db.endChangeBlock();
    EXPECT_FALSE(recorder.last().isOnlyValueSet(key(clock, Slot::Weight)));
}

TEST_F(NotificationTest, TenThousandObjectLookUpsAgainstATenThousandEditChange) {
    constexpr int N = 10000;
    std::vector<int> ids;
    ids.reserve(2 * N);
    db.beginChangeBlock();
    for (int i = 0; i < 2 * N; ++i) ids.push_back(item("n"));
    db.endChangeBlock();
    ASSERT_EQ(recorder.last().created().size(), static_cast<std::size_t>(2 * N));

    db.beginChangeBlock();
    for (int i = 0; i < N; ++i) db.setValue(key(ids[static_cast<std::size_t>(2 * i)], Slot::Count), i + 1);
    db.endChangeBlock();
    const db::DatabaseChange& c = recorder.last();

    int mismatches = 0;
    for (int i = 0; i < 2 * N; ++i) {
        const bool edited = i % 2 == 0;
        if (c.isObjectChanged(ids[static_cast<std::size_t>(i)]) != edited) ++mismatches;
    }
    EXPECT_EQ(mismatches, 0);
    EXPECT_EQ(c.changedNodes().size(), static_cast<std::size_t>(N));
}

// Writes one value whenever it hears of a change to another: a panel following the scene.
struct Follower : db::DatabaseObserver {
    int watched = -1, follower = -1;
    void onDatabaseChanged(db::Database& d, const std::shared_ptr<const db::DatabaseChange>& change) override {
        if (change->isObjectChanged(watched) && !change->isObjectChanged(follower))
            d.setValue(db::AttrKey{follower, Slot::Count}, d.value(db::AttrKey{watched, Slot::Count}).asInt());
    }
};

TEST_F(NotificationTest, AnObserversReactionJoinsTheUndoStepOfTheRoundThatCausedIt) {
    Follower follower;
    follower.watched = item("watched");
    follower.follower = item("follower");
    db.addObserver(&follower);
    const std::size_t steps = db.undoCount();
    db.beginChangeBlock();
    db.setValue(key(follower.watched, Slot::Count), 7);
    db.endChangeBlock("Edit");
    EXPECT_EQ(num(follower.follower, Slot::Count), 7.0);
    EXPECT_EQ(db.undoCount(), steps + 1) << "the reaction made a step of its own";
    ASSERT_TRUE(db.undo());
    EXPECT_EQ(num(follower.watched, Slot::Count), 0.0);
    EXPECT_EQ(num(follower.follower, Slot::Count), 0.0);
    db.removeObserver(&follower);
}

}  // namespace
}  // namespace dbtest
