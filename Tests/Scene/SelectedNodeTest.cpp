#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <memory>
#include <utility>

using namespace Kelvra;
using Record = std::shared_ptr<ASelectedNode>;

namespace {

Record MakeRecord(int id)
{
    auto record = std::make_shared<ASelectedNode>(std::make_shared<AGroupSceneNode>());
    record->SetId(id);
    return record;
}

TEST(SelectedNode, FindsItselfThenItsChildren)
{
    const Record root = MakeRecord(1), first = MakeRecord(2), second = MakeRecord(2), leaf = MakeRecord(3);
    for (const Record& child : {Record(), first, second, MakeRecord(1)})
        root->AddChildNode(child);
    first->AddChildNode(leaf);
    leaf->AddChildNode(nullptr);
    EXPECT_EQ(ASelectedNode::FindNode(root, 1), root);
    EXPECT_EQ(ASelectedNode::FindNode(root, 2), first);
    EXPECT_EQ(ASelectedNode::FindNode(root, 3), nullptr); // a grandchild
    EXPECT_EQ(root->GetLeafSceneNode(), leaf->GetSceneNode());
}

// A record that is shared keeps its children.
TEST(SelectedNode, ReleasesALongChainWithoutRecursion)
{
    const Record leaf = std::make_shared<ASelectedNode>(nullptr), shared = std::make_shared<ASelectedNode>(nullptr);
    shared->AddChildNode(leaf);
    Record root = shared;
    for (int i = 0; i < 1000000; ++i) {
        const Record parent = std::make_shared<ASelectedNode>(nullptr);
        parent->AddChildNode(std::move(root));
        root = parent;
    }
    root.reset();
    EXPECT_EQ(shared.use_count(), 1);
    EXPECT_EQ(shared->GetChildNodes().size(), 1U);
}
} // namespace
