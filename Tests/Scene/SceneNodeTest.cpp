#include <Tests/Support/RecordTest.h>

using namespace Kelvra;

namespace {

const Bytes s_Line = Packed{u"ALineStyle", Bytes().Colour(0, 0, 1, 1), 1.0F, false};
const Bytes s_Face = Packed{u"AFaceStyle", Bytes().Colour(0.5F, 0.5F, 0.5F, 1), false, true, 0};
const Bytes s_NewNode = Packed{Bytes().NodeFields(-1), 0, 0, 0, 0};

void SetNode(ASceneNode& node, float v)
{
    AMath::Matrix4 transform;
    for (std::size_t k = 0; k < 16; ++k)
        transform[k] = v * (0.5 + static_cast<double>(k));
    node.SetId(static_cast<int>(-40 * v));
    node.SetVisible(v == 2);
    node.SetTransform(transform);
    node.SetBBox({{0.75 * v, 1.5 * v, 2.25 * v}, {3.0 * v, 3.75 * v, 4.5 * v}});
    node.SetStyle(StyleFace, std::make_shared<ALineStyle>());
    node.SetStyle(StyleText, std::make_shared<AFaceStyle>());
    node.SetStyle(StyleHighlight, node.GetStyle(StyleFace));
}

Bytes NodeBytes(float v)
{
    Bytes plain = Packed{static_cast<int>(-40 * v), v == 2};
    for (int k = 0; k < 16; ++k)
        plain.Double(v * (0.5 + k));
    plain.Add(Packed{0.75 * v, 1.5 * v, 2.25 * v, 3.0 * v, 3.75 * v, 4.5 * v});
    return Packed{plain, 4, u"vector", 1, s_Line, 0, 2, s_Face, 1};
}
constexpr std::size_t s_PlainSize = 4 + 1 + 128 + 48;

const Record s_Records[] = {
    MakeRecord<AGroupSceneNode>(
        "Group", s_PlainSize,
        [](AGroupSceneNode& group, float v) {
            const auto shared = std::make_shared<AEntitySceneNode>();
            const auto inner = std::make_shared<AGroupSceneNode>();
            inner->AddChildNode(shared);
            group.AddChildNode(shared);
            group.AddChildNode(inner);
            SetNode(group, v); // the children's boxes have no part in what is stored
        },
        [](float v) {
            const Bytes children = Packed{1, u"AEntitySceneNode", s_NewNode, 0, 2, u"AGroupSceneNode", s_NewNode, 1, 1};
            return Packed{NodeBytes(v), 2, children};
        }),
    MakeRecord<AEntitySceneNode>(
        "Entity", s_PlainSize,
        [](AEntitySceneNode& node, float v) {
            node.SetEntity(std::make_shared<AMeshEntity>());
            SetNode(node, v);
        },
        [](float v) { return Packed(NodeBytes(v), 1, u"AMeshEntity", Bytes().EntityHeader(-1), 0); }),
    MakeRecord<ATopoSceneNode>(
        "Topo", s_PlainSize,
        [](ATopoSceneNode& node, float v) {
            node.SetFaces(std::make_shared<AMeshListEntity>()); // not stored
            SetNode(node, v);
        },
        NodeBytes),
};

using NodeRecords = RecordTest;

TEST_P(NodeRecords, StoreAndLoadWholeAndInPart)
{
    ExpectBothDirections();
    ExpectPrefixesLoad();
}
INSTANTIATE_TEST_SUITE_P(Scene, NodeRecords, testing::ValuesIn(s_Records), RowName<Record>);

using SceneNodes = SceneFileTest;

Reports NotCreated(const std::wstring& name)
{
    return {{L"Failed to create object" + name, "serialize\\AScenePtrCollector", 91},
            {L"Failed to cast object:" + name, "serialize\\AScenePtrCollector", 105}};
}

// Four styles replace the slots, one that cannot be made leaving its slot empty; any other number is appended.
TEST_F(SceneNodes, LoadStylesIntoTheirSlots)
{
    const Bytes plain = Bytes().NodeFields(5).First(s_PlainSize);
    AEntitySceneNode node;
    node.SetStyle(StyleHighlight, std::make_shared<ALineStyle>());
    LoadRecord(node, Packed{plain, 4, u"vector", 0, 7, s_Face, 7, 8, u"ANodeStyle"});
    EXPECT_EQ(TakeReports(), NotCreated(L"ANodeStyle"));
    EXPECT_EQ(StoreRecord(node), (Packed{plain, 4, u"vector", 0, 1, s_Face, 1, 0, 0}));
    LoadRecord(node, Packed{plain, 3, u"vector", 0, 7, s_Line, 7});
    EXPECT_EQ(TakeReports(), (Reports{{L"Can't find Node", "Serialize/ASceneNodeSerializer", 89}}));
    EXPECT_EQ(StoreRecord(node), (Packed{plain, 6, u"vector", 0, 1, s_Face, 1, 0, 2, s_Line, 2, 0}));
}

TEST_F(SceneNodes, RefuseWrongStylesAndChildren)
{
    AGroupSceneNode group;
    const auto style = std::make_shared<ALineStyle>();
    group.SetStyles({nullptr, style, nullptr, style});
    group.SetBBox({{1, 1, 1}, {2, 2, 2}});
    const Bytes stored = StoreRecord(group);
    for (const std::size_t count : {0U, 3U, 5U}) {
        group.SetStyles(std::vector<std::shared_ptr<ANodeStyle>>(count));
        EXPECT_EQ(TakeReports(), (Reports{{L"Size is incorrect!", "..\\Scene\\ASceneNode", 58}}));
    }
    group.AddChildNode(nullptr);
    EXPECT_EQ(TakeReports(), (Reports{{L"SceneNode is NULL!", "..\\Scene\\AGroupSceneNode", 40}}));
    EXPECT_EQ(StoreRecord(group), stored);
}

TEST_F(SceneNodes, GroupBoxIsTheUnionOfItsChildrenInItsCoordinates)
{
    AGroupSceneNode group;
    group.SetTransform({9, 0, 0, 0, 0, 9, 0, 0, 0, 0, 9, 0, 9, 9, 9, 1}); // its own places nothing in it
    group.AddChildNode(std::make_shared<AEntitySceneNode>());
    EXPECT_TRUE(group.GetBBox().isNull());
    const auto child = std::make_shared<AEntitySceneNode>();
    child->SetBBox({{0, 0, 0}, {1, 2, 3}});
    child->SetTransform({0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 2, 0, 10, 20, 30, 1}); // x to y, y to -x, z doubled; moved
    group.AddChildNode(child);
    EXPECT_EQ(group.GetBBox(), AMath::AxisAlignedBox({8, 20, 30}, {10, 21, 36}));
    EXPECT_EQ(child->GetBBox(), AMath::AxisAlignedBox({0, 0, 0}, {1, 2, 3}));
    const AGroupSceneNode copy(group);
    group.ClearChildren();
    EXPECT_TRUE(group.GetBBox().isNull());
    EXPECT_EQ(copy.GetChildCount(), 2);
}

// However deep groups are nested, releasing them takes no stack, and what somebody else holds is left alone.
TEST_F(SceneNodes, DeepGroupsAreReleased)
{
    const auto held = std::make_shared<AGroupSceneNode>();
    held->AddChildNode(std::make_shared<AGroupSceneNode>());
    auto chain = held;
    for (int i = 0; i < 1000000; ++i) {
        const auto outer = std::make_shared<AGroupSceneNode>();
        outer->AddChildNode(chain);
        chain = outer;
    }
    chain.reset();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(held->GetChildCount(), 1);
}

TEST_F(SceneNodes, EntityGivesItsNodeTheBoxOnce)
{
    const auto entity = std::make_shared<AMeshEntity>();
    entity->SetBBox({{1, 2, 3}, {4, 5, 6}});
    AEntitySceneNode node;
    node.SetEntity(entity);
    EXPECT_EQ(node.GetBBox(), entity->GetBBox());
    LoadRecord(node, Packed{s_NewNode, 0});
    EXPECT_EQ(node.GetEntity(), entity) << "an empty reference leaves the entity";
    EXPECT_EQ(node.GetBBox(), AMath::AxisAlignedBox(AMath::Vector3::ZERO, AMath::Vector3::ZERO));
}

// The identity of a topology node is its base's, which nothing can make: what was stored cannot be loaded.
TEST_F(SceneNodes, TopoNodeIsStoredButNotLoaded)
{
    const auto group = std::make_shared<AGroupSceneNode>();
    group->AddChildNode(std::make_shared<ATopoSceneNode>());
    const Bytes stored = StoreReference<ASceneNode>(group);
    EXPECT_EQ(stored, (Packed{1, u"AGroupSceneNode", s_NewNode, 1, 2, u"ASceneNode", s_NewNode}));
    const auto loaded = LoadReference<ASceneNode>(stored);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(dynamic_cast<AGroupSceneNode&>(*loaded).GetChildCount(), 0);
    Reports expected = NotCreated(L"ASceneNode");
    expected.insert(expected.begin(), {L"Written object cannot be loaded, no creator for class:ASceneNode",
                                       "serialize\\AScenePtrCollector", 53});
    expected.push_back({L"Can't find Node", "Serialize/ASceneNodeSerializer", 46});
    EXPECT_EQ(TakeReports(), expected);
}

class Dispatch : public ASceneNodeVisitor
{
public:
    void VisitSelectedNode(ASelectedNode*) override { log += "selected "; }
    void VisitTopoNode(ATopoSceneNode*) override { log += "topo "; }
    void VisitGroupNode(AGroupSceneNode*) override { log += "group "; }
    void VisitEntityNode(AEntitySceneNode*) override { log += "entity "; }
    void VisitOtherNode(ASceneNode*) override { log += "other "; }

    std::string log;
};

TEST_F(SceneNodes, TellTheirKindToAVisitorWithoutTheirChildren)
{
    AGroupSceneNode group;
    group.AddChildNode(std::make_shared<AEntitySceneNode>());
    Dispatch dispatch;
    group.Visit(&dispatch);
    AEntitySceneNode().Visit(&dispatch);
    ATopoSceneNode().Visit(&dispatch);
    EXPECT_EQ(dispatch.log, "group entity topo ");
}
} // namespace
