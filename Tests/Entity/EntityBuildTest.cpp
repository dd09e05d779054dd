#include <Tests/Support/SceneFileTest.h>

#include <memory>
#include <utility>

using namespace Kelvra;

namespace {

template <class E> std::shared_ptr<E> Boxed(double minimum, double maximum)
{
    auto entity = std::make_shared<E>();
    entity->SetBBox({{minimum, minimum, minimum}, {maximum, maximum, maximum}});
    return entity;
}

using EntityBuild = SceneFileTest;

TEST_F(EntityBuild, BoxesGrowAndKeepWhatWasReplaced)
{
    AGroupEntity group;
    group.AddEntity(std::make_shared<AMeshEntity>());
    EXPECT_TRUE(group.GetBBox().isNull()) << "a null box adds nothing";
    group.AddEntity(Boxed<AMeshEntity>(0, 1));
    group.AddEntity(Boxed<AGroupEntity>(2, 3));
    EXPECT_EQ(group.GetBBox(), AMath::AxisAlignedBox({0, 0, 0}, {3, 3, 3}));

    ATopoEntity topo;
    topo.SetFaces(Boxed<AMeshListEntity>(0, 1));
    topo.SetFaces(Boxed<AMeshListEntity>(4, 5));
    topo.SetEdges(Boxed<AEdgeListEntity>(-2, -1));
    EXPECT_EQ(topo.GetBBox(), AMath::AxisAlignedBox({-2, -2, -2}, {5, 5, 5}));
}

TEST_F(EntityBuild, EmptyPointersAreReportedAndChangeNothing)
{
    AGroupEntity group;
    group.AddEntity(nullptr);
    EXPECT_TRUE(group.GetAll().empty() && group.GetBBox().isNull());
    ATopoEntity topo;
    topo.SetFaces(Boxed<AMeshListEntity>(0, 1));
    topo.SetEdges(Boxed<AEdgeListEntity>(2, 3));
    const Bytes stored = StoreRecord(topo);
    topo.SetFaces(nullptr);
    topo.SetEdges(nullptr);
    EXPECT_EQ(StoreRecord(topo), stored);
    EXPECT_EQ(TakeReports(), (Reports{{L"Entity is NULL!", "..\\Entity\\AGroupEntity", 31},
                                      {L"Faces are NULL!", "..\\Entity\\ATopoEntity", 38},
                                      {L"Edges are NULL!", "..\\Entity\\ATopoEntity", 50}}));
}

// However deep groups are nested, releasing them takes no stack, and what somebody else holds is left alone.
TEST_F(EntityBuild, DeepGroupsAreReleased)
{
    const auto held = std::make_shared<AGroupEntity>();
    held->AddEntity(std::make_shared<AGroupEntity>());
    auto chain = held;
    for (int i = 0; i < 1000000; ++i) {
        const auto outer = std::make_shared<AGroupEntity>();
        outer->AddEntity(chain);
        chain = outer;
    }
    chain.reset();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(held->GetAll().size(), 1U);
}

/// An entity of a caller's that shows another one.
class Proxy : public AEntity
{
public:
    explicit Proxy(std::shared_ptr<AEntity> entity) : m_Entity(std::move(entity)) {}
    bool Visit(AEntityVisitor& visitor) override { return m_Entity->Visit(visitor); }

private:
    std::shared_ptr<AEntity> m_Entity;
};

TEST_F(EntityBuild, DeepGroupsAreReleasedThroughEntitiesOfCallers)
{
    auto chain = std::make_shared<AGroupEntity>();
    for (int i = 0; i < 300000; ++i) {
        const auto outer = std::make_shared<AGroupEntity>();
        outer->AddEntity(std::make_shared<Proxy>(std::move(chain)));
        chain = outer;
    }
}

// A pointer that does not own its entity says nothing about who else uses it.
TEST_F(EntityBuild, EntitiesThatAGroupDoesNotOwnStayWhole)
{
    AGroupEntity inner;
    inner.AddEntity(Boxed<AMeshEntity>(0, 1));
    {
        AGroupEntity outer;
        outer.AddEntity(std::shared_ptr<AEntity>(&inner, [](AEntity*) {}));
    }
    EXPECT_EQ(inner.GetAll().size(), 1U);
}
} // namespace
