// World matrices follow the hierarchy and recompute only what a change reaches.
#include <velscenegraph/SceneGraphNodes.h>

#include <veldatabase/Database.h>

#include <gtest/gtest.h>

namespace {

using namespace sg;

TEST(TransformEvaluation, AParentsMoveRecomputesTheChildsWorldButNotItsLocalMatrix) {
    db::Database database;
    registerNodeTypes(database);
    const int parent = database.create(JointNode::Def, "parent");
    const int child = database.create(JointNode::Def, "child", parent);
    auto at = [&](int id, int index) { return db::AttrKey{id, database.node(id)->def().topLevelSlot(index)}; };
    auto world = [&](int id) { return database.value(at(id, Index::WorldMatrix)).get<Velutils::Matrix4>().translation(); };
    ASSERT_TRUE(database.setValue(at(child, Index::TranslateX), db::Value(2.0f)));
    EXPECT_FLOAT_EQ(world(child).x, 2.0f);

    ASSERT_TRUE(database.setValue(at(parent, Index::TranslateX), db::Value(5.0f)));
    const auto before = database.computeCount();
    EXPECT_FLOAT_EQ(world(child).x, 7.0f);
    // The parent's three matrices, the child's parent and world matrices: not the child's local
    // matrix, which its own values alone make.
    EXPECT_EQ(database.computeCount() - before, 5u);

    ASSERT_TRUE(database.setValue(at(child, Index::TranslateX), db::Value(1.0f)));
    EXPECT_FLOAT_EQ(world(child).x, 6.0f) << "the child's own move still reaches its local matrix";
}

}  // namespace
