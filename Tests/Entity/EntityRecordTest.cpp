#include <Tests/Support/RecordTest.h>

#include <stdexcept>

using namespace Kelvra;

namespace {

Bytes Header(float v)
{
    return Packed{static_cast<int>(-7 * v), 0.75 * v, 1.5 * v, 2.25 * v, 3.0 * v, 3.75 * v, 4.5 * v};
}

/// The record of an entity or item: Header, then `rest`, of which `plain` bytes stand before the first reference.
template <class T>
Record HeadedRecord(const char* what, std::size_t plain, std::function<void(T&, float variant)> fill,
                    std::function<Bytes(float variant)> rest)
{
    return MakeRecord<T>(
        what, 52 + plain,
        [=](T& object, float v) {
            fill(object, v);
            object.SetTag(static_cast<int>(-7 * v));
            AMath::AxisAlignedBox box({0.75 * v, 1.5 * v, 2.25 * v}, {3.0 * v, 3.75 * v, 4.5 * v});
            object.SetBBox(box); // whatever its members' boxes are
        },
        [=](float v) {
            return Packed{Header(v), rest(v)};
        });
}

// The first fields of a new entity or item, and the whole of what new items store.
const Bytes s_New = Bytes().EntityHeader(-1);
const Bytes s_NewMesh = Packed{s_New, 0, 0, 0, 0};
const Bytes s_NewEdge = Packed{s_New, 0};
const Bytes s_NewPolygon = Packed{s_New, 0, 0, 1.0, 0.0, 0.0};
const Bytes s_NewText = Packed{s_New, u"", 0.0, 0.0, 0.0, Bytes().Colour(1, 0, 0, 1)};

template <class E> Record ListRecord(const char* what, const char16_t* name, const Bytes& item)
{
    const auto fill = [](E& list, float) {
        const auto shared = std::make_shared<typename E::Item>();
        list.GetItems() = {shared, std::make_shared<typename E::Item>(), shared};
    };
    return HeadedRecord<E>(what, 0, fill, [=](float) { return Packed{3, 1, name, item, 2, name, item, 1}; });
}

template <class E> Record SimpleRecord(const char* what, const char16_t* name, const Bytes& item)
{
    const auto fill = [](E& entity, float) { entity.SetItem(std::make_shared<typename E::Item>()); };
    return HeadedRecord<E>(what, 0, fill, [=](float) { return Packed{1, name, item}; });
}

const Record s_Records[] = {
    HeadedRecord<ASubMesh>(
        "Mesh", 4 * 4 + 7 * 4,
        [](ASubMesh& mesh, float v) {
            mesh.VertexBuffer() = {1.5F * v, -2.5F * v};
            mesh.IndexBuffer() = {0xFFFFFFFE};
            mesh.NormalBuffer() = {3.5F * v};
            mesh.TexCoordBuffer() = {4.5F * v, 5.5F * v, 6.5F * v};
        },
        [](float v) { return Packed(2, 1.5F * v, -2.5F * v, 1, -2, 1, 3.5F * v, 3, 4.5F * v, 5.5F * v, 6.5F * v); }),
    HeadedRecord<ASubEdge>(
        "Edge", 4 + 8,
        [](ASubEdge& edge, float v) {
            edge.VertexBuffer() = {0.5F, v};
        },
        [](float v) { return Packed(2, 0.5F, v); }),
    HeadedRecord<ASubVertex>(
        "Vertex", 24,
        [](ASubVertex& vertex, float v) {
            vertex.SetVertex({0.1 * v, 0.2 * v, 0.3 * v});
        },
        [](float v) { return Packed(0.1 * v, 0.2 * v, 0.3 * v); }),
    HeadedRecord<ASubPolygon>(
        "Polygon", 4 + 8 + 4 + 4 + 24,
        [](ASubPolygon& polygon, float v) {
            polygon.VertexBuffer() = {1.5F, v};
            polygon.TexCoordBuffer() = {-v};
            polygon.SetNormal({0.1 * v, 0.2 * v, 0.3 * v});
        },
        [](float v) { return Packed{2, 1.5F, v, 1, -v, 0.1 * v, 0.2 * v, 0.3 * v}; }),
    HeadedRecord<ASubText>(
        "Text", 4 + 10 + 24 + 32,
        [](ASubText& text, float v) {
            text.SetText(L"\u20AC\U0001F600\xD800z");
            text.SetPosition({1.0 * v, 2.0 * v, 3.0 * v});
            text.SetColor({0.5F, 0.25F, v, 0.75F});
        },
        [](float v) {
            const Bytes colour = Bytes().Colour(0.5F, 0.25F, v, 0.75F);
            return Packed{u"\x20AC\xD83D\xDE00\xD800z", 1.0 * v, 2.0 * v, 3.0 * v, colour};
        }),
    ListRecord<AMeshListEntity>("MeshList", u"ASubMesh", s_NewMesh),
    ListRecord<AEdgeListEntity>("EdgeList", u"ASubEdge", s_NewEdge),
    ListRecord<APolygonListEntity>("PolygonList", u"ASubPolygon", s_NewPolygon),
    ListRecord<ATextListEntity>("TextList", u"ASubText", s_NewText),
    SimpleRecord<AMeshEntity>("SimpleMesh", u"ASubMesh", s_NewMesh),
    SimpleRecord<AEdgeEntity>("SimpleEdge", u"ASubEdge", s_NewEdge),
    SimpleRecord<APolygonEntity>("SimplePolygon", u"ASubPolygon", s_NewPolygon),
    HeadedRecord<AGroupEntity>(
        "Group", 0,
        [](AGroupEntity& group, float) {
            const auto edges = std::make_shared<AEdgeListEntity>();
            const auto inner = std::make_shared<AGroupEntity>();
            inner->AddEntity(edges);
            group.AddEntity(edges);
            group.AddEntity(inner);
        },
        [](float) { return Packed{2, 1, u"AListEntity", s_New, 0, 2, u"AGroupEntity", s_New, 1, 1}; }),
    HeadedRecord<ATopoEntity>(
        "Topo", 0,
        [](ATopoEntity& topo, float v) {
            topo.SetEdges(std::make_shared<AEdgeListEntity>());
            if (v == 1)
                topo.SetFaces(std::make_shared<AMeshListEntity>());
        },
        [](float v) {
            const Bytes faces = v == 1 ? Packed{1, u"AMeshListEntity", s_New, 0} : Packed{0};
            return Packed{faces, v == 1 ? 2 : 1, u"AListEntity", s_New, 0};
        }),
};

using EntityRecords = RecordTest;

TEST_P(EntityRecords, StoreAndLoadWholeAndInPart)
{
    ExpectBothDirections();
    ExpectPrefixesLoad();
}
INSTANTIATE_TEST_SUITE_P(Entity, EntityRecords, testing::ValuesIn(s_Records), RowName<Record>);

using EntityFiles = SceneFileTest;

// A count sizes its buffer exactly; without a count the buffer stays, and what the file lacks is kept or zero.
TEST_F(EntityFiles, CountsSizeBuffers)
{
    constexpr int limit = 4 * 1024 * 1024; // floats that are 16 MiB
    const std::pair<int, std::size_t> rows[] = {{5, 5}, {200000, 200000}, {-1, 0}, {1000, 1}, {limit, 0}};
    for (const auto& [count, there] : rows) {
        SCOPED_TRACE(count);
        std::vector<float> expected{1, 2, 3, 4, 5, 6, 7, 8};
        ASubEdge edge;
        edge.VertexBuffer() = expected;
        if (count > 0)
            expected.resize(static_cast<std::size_t>(count));
        Bytes record = Packed{s_New, count};
        for (std::size_t i = 0; i < there; ++i)
            record.Float(expected[i] = -static_cast<float>(i));
        LoadRecord(edge, record);
        EXPECT_TRUE(edge.VertexBuffer() == expected) << edge.VertexBuffer().size();
    }
    ASubEdge edge;
    EXPECT_THROW(LoadRecord(edge, Packed{s_New, limit + 1}), std::length_error);
    EXPECT_TRUE(edge.VertexBuffer().empty());
}

TEST_F(EntityFiles, SimpleAndTopoEntitiesEmptyFieldsOfOtherKindsSilently)
{
    AEdgeEntity edge;
    edge.SetItem(std::make_shared<ASubEdge>());
    LoadRecord(edge, Packed{s_New, 1, u"ASubMesh", s_NewMesh});
    EXPECT_EQ(edge.GetItem(), nullptr);
    ATopoEntity topo;
    topo.SetFaces(std::make_shared<AMeshListEntity>());
    topo.SetEdges(std::make_shared<AEdgeListEntity>());
    LoadRecord(topo, Packed{s_New, 1, u"AMeshEntity", s_New, 0, 0});
    EXPECT_EQ(topo.GetFaces(), nullptr);
    EXPECT_EQ(topo.GetEdges(), nullptr);
    EXPECT_EQ(TakeReports(), Reports());
}
} // namespace
