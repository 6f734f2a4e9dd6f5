// Building a scene aside, as a loaded file does: many connections at once (the same links made and
// refused as one connect() after another would, for work in proportion to the links rather than
// their square) and whole arrays handed over rather than copied.
#include "TestTypes.h"

#include <algorithm>
#include <random>
#include <tuple>
#include <utility>

namespace dbtest {
namespace {

using Links = std::vector<std::pair<db::AttrKey, db::AttrKey>>;

// Items under one another and side by side, each with two array elements, in a database of its own.
std::vector<int> buildItems(db::Database& d) {
    d.registerType(itemDef());
    std::vector<int> ids;
    for (int i = 0; i < 6; ++i) {
        const int parent = i >= 3 ? ids[static_cast<std::size_t>(i - 3)] : db::Database::RootId;
        ids.push_back(d.create(itemDef(), "item" + std::to_string(i), parent));
        d.resizeArray(db::AttrKey{ids.back(), Slot::Items}, 2);
    }
    return ids;
}

// Connects the links in order up to the first connect() refuses; returns its index (links.size()
// if none).
std::size_t connectOneByOne(db::Database& d, const Links& links, std::string& reason) {
    for (std::size_t i = 0; i < links.size(); ++i)
        if (!d.connect(links[i].first, links[i].second, &reason)) return i;
    return links.size();
}

Links connectionsOf(const db::Database& d) {
    Links out;
    d.forEachConnection([&](const db::AttrKey& source, const db::AttrKey& destination) { out.emplace_back(source, destination); });
    std::sort(out.begin(), out.end(), [](const auto& a, const auto& b) {
        return std::tie(a.second.node, a.second.slot, a.second.element, a.second.child) <
               std::tie(b.second.node, b.second.slot, b.second.element, b.second.child);
    });
    return out;
}

TEST(ConnectAll, MakesAndRefusesWhatConnectOneByOneWould) {
    std::mt19937 random(20240611);
    // Floats that take inputs, and floats that only give (computed totals and world positions,
    // which follow the hierarchy and the array elements).
    auto destination = [&](int node) {
        switch (random() % 5) {
        case 0: return db::AttrKey{node, Slot::Weight};
        case 1: return db::AttrKey{node, Slot::SizeW};
        case 2: return db::AttrKey{node, Slot::SizeH};
        default: return db::AttrKey{node, Slot::Items, static_cast<int>(random() % 2), Slot::ItemValue};
        }
    };
    auto source = [&](int node) {
        switch (random() % 4) {
        case 0: return db::AttrKey{node, Slot::Total};
        case 1: return db::AttrKey{node, Slot::World};
        default: return destination(node);
        }
    };
    int refusedForLoops = 0, madeWhole = 0;
    for (int trial = 0; trial < 400; ++trial) {
        db::Database oneByOne, together;
        const std::vector<int> ids = buildItems(oneByOne);
        buildItems(together);
        // A destination takes one input: each is given one once.
        Links links;
        const int count = 1 + static_cast<int>(random() % 8);
        while (static_cast<int>(links.size()) < count) {
            const db::AttrKey to = destination(ids[random() % ids.size()]);
            if (std::none_of(links.begin(), links.end(), [&](const auto& link) { return link.second == to; }))
                links.emplace_back(source(ids[random() % ids.size()]), to);
        }

        std::string expectedReason, reason;
        const std::size_t expected = connectOneByOne(oneByOne, links, expectedReason);
        EXPECT_EQ(together.connectAll(links, &reason), expected) << "trial " << trial;
        EXPECT_EQ(reason, expected < links.size() ? expectedReason : std::string()) << "trial " << trial;
        EXPECT_EQ(connectionsOf(together), connectionsOf(oneByOne)) << "trial " << trial;
        refusedForLoops += reason == db::Database::LoopProblem;
        madeWhole += expected == links.size();
    }
    EXPECT_GT(refusedForLoops, 20) << "the trials must close loops often enough to tell";
    EXPECT_GT(madeWhole, 20);
}

TEST(ConnectAll, AChainCostsStepsInProportionToItsLength) {
    constexpr int Length = 5000;
    db::Database d;
    d.registerType(itemDef());
    std::vector<int> ids;
    for (int i = 0; i < Length; ++i) ids.push_back(d.create(itemDef(), "i" + std::to_string(i)));
    Links chain;
    for (int i = 0; i + 1 < Length; ++i) chain.emplace_back(db::AttrKey{ids[i], Slot::Weight}, db::AttrKey{ids[i + 1], Slot::Weight});
    // The chain closed into a loop by its last link, then given back to front.
    Links loop = chain;
    loop.emplace_back(db::AttrKey{ids.back(), Slot::Weight}, db::AttrKey{ids.front(), Slot::Weight});
    Links backwards(chain.rbegin(), chain.rend());

    std::uint64_t before = db::Database::loopCheckSteps();
    std::string reason;
    EXPECT_EQ(d.connectAll(loop, &reason), chain.size());
    EXPECT_EQ(reason, db::Database::LoopProblem);
    EXPECT_LT(db::Database::loopCheckSteps() - before, 30u * Length) << "a few walks over the chain, not one per link";
    EXPECT_EQ(d.input(db::AttrKey{ids.back(), Slot::Weight}), (db::AttrKey{ids[Length - 2], Slot::Weight}));
    EXPECT_FALSE(d.input(db::AttrKey{ids.front(), Slot::Weight}).isValid());

    db::Database other;
    other.registerType(itemDef());
    for (int i = 0; i < Length; ++i) other.create(itemDef(), "i" + std::to_string(i));
    before = db::Database::loopCheckSteps();
    EXPECT_EQ(other.connectAll(backwards), backwards.size());
    EXPECT_LT(db::Database::loopCheckSteps() - before, 3u * Length);
    EXPECT_EQ(other.input(db::AttrKey{ids.back(), Slot::Weight}), (db::AttrKey{ids[Length - 2], Slot::Weight}));
    EXPECT_FALSE(other.input(db::AttrKey{ids.front(), Slot::Weight}).isValid());
}

TEST(BulkArrays, AWholeArrayIsMovedInOnlyWhenNothingIsRecordedAndItNeedsNoConversion) {
    db::Database d;
    d.registerType(itemDef());
    const int a = d.create(itemDef(), "a");
    const db::AttrKey items{a, Slot::Items};
    const db::ValueList list{db::ValueList{std::string("x"), 1.5f}, db::ValueList{std::string("y"), 2.5f}};

    // Recording: copied, journaled, undoable.
    db::Value value(list);
    ASSERT_TRUE(d.setValue(items, std::move(value)));
    EXPECT_EQ(d.storedValue(items), db::Value(list));
    ASSERT_TRUE(d.undo());
    EXPECT_EQ(d.arraySize(items), 0);

    ASSERT_TRUE(d.setRecording(false));
    db::Value moved(list);
    ASSERT_TRUE(d.setValue(items, std::move(moved)));
    EXPECT_EQ(d.storedValue(items), db::Value(list));
    EXPECT_TRUE(moved.get<db::ValueList>().empty()) << "handed over, not copied";

    // Fields given as doubles are converted like any write: the value is copied.
    const int b = d.create(itemDef(), "b");
    db::Value doubles(db::ValueList{db::ValueList{std::string("z"), 3.0}});
    ASSERT_TRUE(d.setValue(db::AttrKey{b, Slot::Items}, std::move(doubles)));
    EXPECT_EQ(d.storedValue(db::AttrKey{b, Slot::Items, 0, Slot::ItemValue}), db::Value(3.0f));
    EXPECT_FALSE(d.setValue(db::AttrKey{b, Slot::Items}, db::Value(db::ValueList{std::string("not a compound")})));
}

}  // namespace
}  // namespace dbtest
