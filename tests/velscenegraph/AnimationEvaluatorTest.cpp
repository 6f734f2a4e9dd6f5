// An animation node's output is read from its keys where the database stores them, remembering
// the segment of the last frame. It must give, to the last bit, what the curve object gives, in
// whatever order the frames come and after every kind of edit.
#include <velscenegraph/AnimationEvaluator.h>
#include <velscenegraph/SceneGraphNodes.h>

#include <veldatabase/Database.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <random>

namespace {

using namespace sg;

class AnimationEvaluatorTest : public ::testing::Test {
protected:
    void SetUp() override {
        registerNodeTypes(database);
        settings = database.create(SceneSettingsNode::Def, "SceneSettings");
        database.setTimeKey(at(settings, Index::Frame));
        animation = database.create(AnimationNode::Def, "curve");
    }
    db::AttrKey at(int id, int index) const { return db::AttrKey{id, database.node(id)->def().topLevelSlot(index)}; }

    void setKeys(const std::vector<std::array<float, 6>>& keys) {
        db::ValueList list;
        for (const auto& k : keys)
            list.emplace_back(db::ValueList{db::Value(k[0]), db::Value(k[1]), db::Value(static_cast<std::int32_t>(k[2])),
                                            db::Value(static_cast<std::int32_t>(k[3])), db::Value(k[4]), db::Value(k[5])});
        ASSERT_TRUE(database.setValue(at(animation, Index::AnimKeys), db::Value(std::move(list))));
    }

    // The output at `frame` and what a curve object made from the same keys gives there.
    void expectSameAt(float frame) {
        database.setValue(at(settings, Index::Frame), db::Value(frame));
        const float output = static_cast<float>(database.value(at(animation, Index::AnimOutput)).asDouble());
        const float expected = AnimationEvaluator::curve(database, animation).evaluate(frame);
        EXPECT_EQ(std::memcmp(&output, &expected, sizeof output), 0) << "at frame " << frame << ": " << output << " vs " << expected;
    }

    void expectSameAlong(const std::vector<float>& frames) {
        for (float f : frames) expectSameAt(f);
    }

    db::Database database;
    int settings = -1, animation = -1;
};

// Frames forward one by one, backwards, jumping far, on every tangent type and extrapolation.
TEST_F(AnimationEvaluatorTest, EveryOrderOfFramesGivesTheCurvesValues) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> value(-3.0f, 3.0f), gap(0.25f, 6.0f), slope(-2.0f, 2.0f);
    std::uniform_int_distribution<int> type(0, 4), mode(0, 3);
    for (int round = 0; round < 40; ++round) {
        std::vector<std::array<float, 6>> keys;
        float time = value(random) * 4;
        const int count = 1 + round % 9;
        for (int k = 0; k < count; ++k, time += gap(random))
            keys.push_back({time, value(random), static_cast<float>(type(random)), static_cast<float>(type(random)), slope(random),
                            slope(random)});
        setKeys(keys);
        database.setValue(at(animation, Index::AnimPreExtrapolation), db::Value(static_cast<std::int32_t>(mode(random))));
        database.setValue(at(animation, Index::AnimPostExtrapolation), db::Value(static_cast<std::int32_t>(mode(random))));
        std::vector<float> frames;
        for (float f = keys.front()[0] - 20; f < time + 20; f += 0.5f) frames.push_back(f);
        expectSameAlong(frames);
        expectSameAlong({frames.rbegin(), frames.rend()});
        std::shuffle(frames.begin(), frames.end(), random);
        expectSameAlong(frames);
        expectSameAlong({keys.front()[0], keys.back()[0], std::nanf(""), 1e30f, -1e30f});
    }
}

TEST_F(AnimationEvaluatorTest, EditsAfterAnEvaluationAreSeenAtOnce) {
    setKeys({{0, 0, 4, 4, 0, 0}, {10, 1, 4, 4, 0, 0}, {20, 0, 4, 4, 0, 0}, {30, 2, 4, 4, 0, 0}});
    expectSameAlong({25, 26});
    // Fewer keys than the remembered segment needs.
    setKeys({{0, 0, 4, 4, 0, 0}, {10, 1, 1, 1, 0, 0}});
    expectSameAlong({26, 5, 9.5f});
    // A key moved past its neighbour, and two keys at one time: out of order for a moment.
    setKeys({{0, 0, 4, 4, 0, 0}, {10, 1, 4, 4, 0, 0}, {20, 0, 4, 4, 0, 0}});
    expectSameAt(15);
    ASSERT_TRUE(database.setValue(at(animation, Index::AnimKeys).withElement(0, Index::KeyTime), db::Value(25.0f)));
    expectSameAlong({15, 22, 5});
    ASSERT_TRUE(database.setValue(at(animation, Index::AnimKeys).withElement(0, Index::KeyTime), db::Value(10.0f)));
    expectSameAlong({15, 22, 5});
    ASSERT_TRUE(database.undo());
    expectSameAlong({15, 22, 5});
    ASSERT_TRUE(database.undo());
    expectSameAlong({15, 16, 3});
    // A value, a tangent and an extrapolation changed after evaluating.
    ASSERT_TRUE(database.setValue(at(animation, Index::AnimKeys).withElement(1, Index::KeyValue), db::Value(-4.0f)));
    expectSameAt(15);
    ASSERT_TRUE(database.setValue(at(animation, Index::AnimKeys).withElement(1, Index::KeyOutTangent), db::Value(std::int32_t{3})));
    expectSameAt(15);
    ASSERT_TRUE(database.setValue(at(animation, Index::AnimPostExtrapolation), db::Value(std::int32_t{3})));
    expectSameAlong({35, 45});
    ASSERT_TRUE(database.setValue(at(animation, Index::AnimKeys), db::Value(db::ValueList{})));
    expectSameAt(15);
}

// Keys that come through a connection are read through it.
TEST_F(AnimationEvaluatorTest, KeysDrivenByAnotherCurveFollowIt) {
    setKeys({{0, 0, 1, 1, 0, 0}, {10, 5, 1, 1, 0, 0}});
    expectSameAt(5);
    const int source = database.create(AnimationNode::Def, "source");
    ASSERT_TRUE(database.setValue(at(source, Index::AnimKeys), db::Value(db::ValueList{db::ValueList{
        db::Value(0.0f), db::Value(0.0f), db::Value(std::int32_t{1}), db::Value(std::int32_t{1}), db::Value(0.0f), db::Value(0.0f)}})));
    ASSERT_TRUE(database.resizeArray(at(source, Index::AnimKeys), 2));
    ASSERT_TRUE(database.connect(at(source, Index::AnimKeys).withElement(1, Index::KeyValue),
                                 at(animation, Index::AnimKeys).withElement(1, Index::KeyValue)));
    database.setValue(at(settings, Index::Frame), db::Value(5.0f));
    EXPECT_FLOAT_EQ(static_cast<float>(database.value(at(animation, Index::AnimOutput)).asDouble()), 0.0f)
        << "the driven key's value is the source's 0, not the stored 5";
}

}  // namespace
