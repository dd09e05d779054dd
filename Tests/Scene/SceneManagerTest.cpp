#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <list>
#include <memory>

using namespace Kelvra;
using AMath::AxisAlignedBox;
using Node = std::shared_ptr<ASceneNode>;
using Nodes = std::list<Node>;

namespace {

constexpr auto s_Scene = ASceneManager::SceneLayer;
constexpr auto s_Overlay = ASceneManager::OverlayLayer;

/// A node that holds the unit cube, `x` along its x axis and turned by a quarter of a turn about z.
Node MakeNode(double x, int id = -1)
{
    auto node = std::make_shared<AGroupSceneNode>();
    node->SetBBox({{x, 0, 0}, {x + 1, 1, 1}});
    node->SetTransform({0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    node->SetId(id);
    return node;
}

TEST(SceneManager, MeasuresTheNodesOfTheSceneLayer)
{
    const AxisAlignedBox one({-1, 5, 0}, {0, 6, 1}), both({-1, 5, 0}, {0, 301, 1});
    const Node node = MakeNode(5), far = MakeNode(300);
    node->SetVisible(false); // counts all the same
    ASceneManager manager;
    manager.AddNode(node, s_Scene);
    manager.AddNode(MakeNode(900), s_Overlay);
    EXPECT_EQ(manager.GetBBox(), AxisAlignedBox({-100, -100, -100}, {100, 100, 100}));
    manager.ComputeBBox();
    EXPECT_EQ(manager.GetBBox(), one);
    manager.AddNode(far, s_Scene);
    EXPECT_EQ(manager.GetBBox(), both);
    manager.RemoveNode(far, s_Scene);
    manager.ClearNodes(s_Overlay);
    EXPECT_EQ(manager.GetBBox(), both); // stale until
    manager.ComputeBBox();
    EXPECT_EQ(manager.GetBBox(), one);
    manager.ClearNodes(s_Scene);
    EXPECT_TRUE(manager.GetBBox().isNull());
}

TEST(SceneManager, RemovesEveryEntryOfANodeOrAnId)
{
    ASceneManager manager;
    const Node a = MakeNode(1, 7), b = MakeNode(2, 8), c = MakeNode(3, 7);
    for (const Node& node : {a, b, a, c})
        manager.AddNode(node, s_Scene);
    manager.RemoveNode(manager.GetNodes(s_Scene).front(), s_Scene); // an entry of the list itself
    EXPECT_EQ(manager.GetNodes(s_Scene), (Nodes{b, c}));
    manager.RemoveNode(7, s_Scene);
    EXPECT_EQ(manager.GetNodes(s_Scene), Nodes{b});
}
} // namespace
