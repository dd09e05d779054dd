#include <LumvoData/LumvoData.h>
#include <Tests/Support/TestRow.h>

#include <gtest/gtest.h>

#include <utility>

using namespace Kelvra;

namespace {

/// Writes down each call as a letter of the operation and the item's tag, "-" for an empty pointer, and answers
/// false at call number `stopAt`, the first being 1, or at every call.
class Walk : public AEntityVisitor
{
public:
    static constexpr int EveryCall = -1;

    explicit Walk(unsigned filter, int stopAt = 0) : m_StopAt(stopAt) { SetFilter(filter); }

    bool VisitText(const std::shared_ptr<ASubText>& text) override { return Note('T', text.get()); }
    bool VisitVertex(const std::shared_ptr<ASubVertex>& vertex) override { return Note('V', vertex.get()); }
    bool VisitEdge(const std::shared_ptr<ASubEdge>& edge) override { return Note('E', edge.get()); }
    bool VisitPolygon(const std::shared_ptr<ASubPolygon>& polygon) override { return Note('P', polygon.get()); }
    bool VisitMesh(const std::shared_ptr<ASubMesh>& mesh) override
    {
        if (removeFrom != nullptr)
            removeFrom->GetItems().remove(mesh);
        if (appendTo != nullptr)
            std::exchange(appendTo, nullptr)->AddEntity(std::make_shared<AMeshEntity>());
        return Note('M', mesh.get());
    }

    std::string log;
    AMeshListEntity* removeFrom = nullptr; ///< Loses each mesh that is visited.
    AGroupEntity* appendTo = nullptr;      ///< Gets one more member at the first mesh.

private:
    bool Note(char kind, const ASubEntity* item)
    {
        log += kind + (item == nullptr ? std::string("-") : std::to_string(item->GetTag())) + ' ';
        ++m_Calls;
        return m_StopAt != EveryCall && m_Calls != m_StopAt;
    }

    int m_StopAt;
    int m_Calls = 0;
};

template <class E> std::shared_ptr<E> List(std::initializer_list<int> tags)
{
    auto list = std::make_shared<E>();
    for (const int tag : tags) {
        list->AddItem(std::make_shared<typename E::Item>());
        list->GetItems().back()->SetTag(tag);
    }
    return list;
}

template <class E> std::shared_ptr<E> Simple(int tag)
{
    auto entity = std::make_shared<E>();
    entity->SetItem(std::make_shared<typename E::Item>());
    entity->GetItem()->SetTag(tag);
    return entity;
}

std::shared_ptr<ATopoEntity> Topo(std::initializer_list<int> faces, std::initializer_list<int> edges)
{
    auto topo = std::make_shared<ATopoEntity>();
    topo->SetFaces(List<AMeshListEntity>(faces));
    topo->SetEdges(List<AEdgeListEntity>(edges));
    return topo;
}

std::shared_ptr<AGroupEntity> Group(std::initializer_list<std::shared_ptr<AEntity>> members)
{
    auto group = std::make_shared<AGroupEntity>();
    for (const auto& member : members)
        group->AddEntity(member);
    return group;
}

struct Visited : TestRow
{
    std::shared_ptr<AEntity> entity;
    unsigned filter;
    int stopAt;
    const char* log;
    bool answer;
};

const auto s_All =
    Group({List<AMeshListEntity>({1, 2}), List<APolygonListEntity>({3}), List<AEdgeListEntity>({4, 5}),
           List<ATextListEntity>({6, 7}), Simple<AMeshEntity>(8), Simple<APolygonEntity>(9), Simple<AEdgeEntity>(10),
           Group({Topo({11, 12}, {13}), Group({})}), std::make_shared<ATopoEntity>(), std::make_shared<AEdgeEntity>()});
const auto s_Mixed = Group({Group({Simple<AMeshEntity>(1)}), List<AEdgeListEntity>({2, 3}), Simple<AMeshEntity>(4)});
const auto s_TopoFirst = Group({Topo({1}, {2}), List<ATextListEntity>({3, 4})});

const Visited s_Visits[] = {
    {{"Faces"}, s_All, 1, 0, "M1 M2 P3 M8 P9 M11 M12 ", true},
    {{"Edges"}, s_All, 2, 0, "E4 E5 E10 E13 E- ", true},
    {{"VerticesAndTexts"}, s_All, 12, 0, "T6 T7 ", true},
    {{"All"}, s_All, 15, 0, "M1 M2 P3 E4 E5 T6 T7 M8 P9 E10 M11 M12 E13 E- ", true},
    {{"StopInList"}, List<AMeshListEntity>({1, 2, 3}), 1, 2, "M1 M2 ", false},
    {{"StopAtLastOfList"}, List<ATextListEntity>({1, 2}), 8, 2, "T1 T2 ", false},
    {{"StopAtSimple"}, Simple<APolygonEntity>(1), 1, 1, "P1 ", false},
    {{"StopAtEmptySimple"}, std::make_shared<AMeshEntity>(), 1, 1, "M- ", false},
    {{"StopInGroup"}, s_Mixed, 3, 2, "M1 E2 ", false},
    {{"StopInInnerGroup"}, s_Mixed, 3, 1, "M1 ", false},
    {{"StopInTopo"}, Topo({1, 2}, {3, 4}), 3, Walk::EveryCall, "M1 M2 E3 E4 ", true},
    {{"StopAfterTopo"}, s_TopoFirst, 15, Walk::EveryCall, "M1 E2 T3 ", false},
};

using EntityVisits = testing::TestWithParam<Visited>;

TEST_P(EntityVisits, FollowFilterAndAnswers)
{
    Walk walk(GetParam().filter, GetParam().stopAt);
    EXPECT_EQ(GetParam().entity->Visit(walk), GetParam().answer);
    EXPECT_EQ(walk.log, GetParam().log);
}
INSTANTIATE_TEST_SUITE_P(Entity, EntityVisits, testing::ValuesIn(s_Visits), RowName<Visited>);

TEST(EntityVisitors, MayRemoveTheItemTheyVisit)
{
    const auto list = List<AMeshListEntity>({1, 2, 3});
    const auto topo = Topo({4, 5}, {});
    Walk walk(1);
    walk.removeFrom = list.get();
    EXPECT_TRUE(list->Visit(walk));
    walk.removeFrom = topo->GetFaces().get();
    EXPECT_TRUE(topo->Visit(walk));
    EXPECT_EQ(walk.log, "M1 M2 M3 M4 M5 ");
    EXPECT_TRUE(list->GetItems().empty() && topo->GetFaces()->GetItems().empty());
}

// What a visitor appends to a group that is being walked is walked too.
TEST(EntityVisitors, MayAppendToAnyGroupOfTheWalk)
{
    const auto inner = Group({Simple<AMeshEntity>(1)});
    const auto outer = Group({inner, Simple<AMeshEntity>(2)});
    for (AGroupEntity* const group : {inner.get(), outer.get()}) {
        Walk walk(1);
        walk.appendTo = group;
        EXPECT_TRUE(outer->Visit(walk));
        EXPECT_EQ(walk.log, group == inner.get() ? "M1 M- M2 " : "M1 M- M2 M- ");
    }
}

/// A group that shows its first member only.
class Preview : public AGroupEntity
{
public:
    bool Visit(AEntityVisitor& visitor) override { return GetAll().front()->Visit(visitor); }
};

TEST(EntityVisitors, FollowTheWalksOfOtherKindsOfGroup)
{
    const auto preview = std::make_shared<Preview>();
    preview->AddEntity(Group({Simple<AMeshEntity>(1), Group({}), Simple<AMeshEntity>(2)}));
    preview->AddEntity(Simple<AMeshEntity>(3));
    const auto outer = Group({Group({preview}), preview, Simple<AMeshEntity>(4)});
    Walk walk(1), stopped(1, 4);
    EXPECT_TRUE(outer->Visit(walk));
    EXPECT_EQ(walk.log, "M1 M2 M1 M2 M4 ");
    EXPECT_FALSE(outer->Visit(stopped));
    EXPECT_EQ(stopped.log, "M1 M2 M1 M2 ");
}

// However deep groups are nested, the walk takes no stack, and ends where a visitor stops it.
TEST(EntityVisitors, WalkDeepGroups)
{
    auto chain = Group({Simple<AMeshEntity>(1)});
    const auto edge = Simple<AEdgeEntity>(2);
    for (int i = 0; i < 1000000; ++i)
        chain = Group({chain, edge});
    Walk all(1), stopped(3, 2);
    EXPECT_TRUE(chain->Visit(all));
    EXPECT_EQ(all.log, "M1 ");
    EXPECT_FALSE(chain->Visit(stopped));
    EXPECT_EQ(stopped.log, "M1 E2 ");
}
} // namespace
