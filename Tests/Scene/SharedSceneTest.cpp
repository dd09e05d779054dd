#include <Tests/Support/RecordTest.h>

using namespace Kelvra;

namespace {

using Keys = int (*)(int);

/// The file of a group with two entity nodes that show one mesh entity; all share four styles, two of which share
/// a material, which has one texture twice. Keys count from 1 in each collector, in order of first occurrence.
Bytes Example(Keys key, unsigned filler)
{
    const int k1 = key(1), k2 = key(2), k3 = key(3), k4 = key(4);
    const Bytes plain = Bytes()
                            .Colour(0.25F, 0.5F, 0.75F, 1, filler)
                            .Colour(0.2775F, 0.2775F, 0.2775F, 1, filler)
                            .Colour(0.773911F, 0.773911F, 0.773911F, 1, filler)
                            .Colour(0, 0, 0, 1, filler);
    const Bytes texture = Packed{k1, u"ATexture", u"oak", u"oak.png", true};
    const Bytes material = Packed{k1, u"AMaterial", plain, 89.6F, texture, k1};
    const Bytes face = Packed{u"AFaceStyle", Bytes().Colour(0.5F, 0.5F, 0.5F, 1, filler), false, true};
    const Bytes line = Packed{u"ALineStyle", Bytes().Colour(0, 0, 1, 1, filler), 2.5F, false};
    const Bytes styles = Packed{k1, face, material, k2, line, k3, line, k4, face, k1};
    const Bytes styleKeys = Packed{k1, k2, k3, k4};
    const Bytes item = Packed{k1, u"ASubMesh", Bytes().EntityHeader(-1), 0, 1, 9, 0, 0};
    const Bytes entity = Packed{k1, u"AMeshEntity", Bytes().EntityHeader(77), item};
    const Bytes first = Packed{k2, u"AEntitySceneNode", Bytes().NodeFields(11), styleKeys, entity};
    const Bytes second = Packed{k3, u"AEntitySceneNode", Bytes().NodeFields(12), styleKeys, k1};
    return Packed{k1, u"AGroupSceneNode", Bytes().NodeFields(10), styles, 2, first, second};
}

/// The file of a node that shows a group of all kinds of entities and items, some of them twice.
Bytes AllEntities()
{
    const Bytes header = Bytes().EntityHeader(5, -1, 2);
    const Bytes mesh = Packed{u"ASubMesh", header, 1, 0.5F, 0, 0, 0};
    const Bytes edge = Packed{u"ASubEdge", header, 1, 1.5F};
    const Bytes polygon = Packed{u"ASubPolygon", header, 0, 1, 2.5F, 0.0, 0.0, 1.0};
    const Bytes text = Packed{u"ASubText", header, u"text", 1.0, 2.0, 3.0, Bytes().Colour(1, 0, 0, 1)};
    const Bytes group = Packed{1, u"AGroupEntity", header, 9};
    const Bytes meshes = Packed{2, u"AMeshListEntity", header, 2, 1, mesh, 1};
    const Bytes edges = Packed{3, u"AListEntity", header, 1, 2, edge};
    const Bytes polygons = Packed{4, u"APolygonListEntity", header, 1, 3, polygon};
    const Bytes texts = Packed{5, u"ATextListEntity", header, 1, 4, text};
    const Bytes simple = Packed{6, u"AMeshEntity", header, 1, 7, u"AEdgeEntity", header, 2};
    const Bytes more = Packed{8, u"APolygonEntity", header, 0, 9, u"ATopoEntity", header, 2, 3};
    const Bytes node = Packed{1, u"AEntitySceneNode", Bytes().NodeFields(1).Fill(16)};
    return Packed{node, group, meshes, edges, polygons, texts, simple, more, 2};
}

int InOrder(int n)
{
    return n;
}

using SharedScenes = SceneFileTest;

TEST_F(SharedScenes, LoadWithWhateverKeysAndFillerIntoTheSameSharing)
{
    const Keys foreign[] = {[](int n) { return 5 - n; }, [](int n) { return -n; }, [](int n) { return n * 1000003; }};
    for (const Keys key : foreign) {
        SCOPED_TRACE(key(1));
        const auto scene = std::dynamic_pointer_cast<AGroupSceneNode>(LoadReference<ASceneNode>(Example(key, 0xAA)));
        ASSERT_NE(scene, nullptr);
        ASSERT_EQ(scene->GetChildCount(), 2);
        const auto first = std::dynamic_pointer_cast<AEntitySceneNode>(scene->GetChildNodes().front());
        const auto second = std::dynamic_pointer_cast<AEntitySceneNode>(scene->GetChildNodes().back());
        ASSERT_TRUE(first && second);
        EXPECT_EQ(first->GetEntity(), second->GetEntity());
        for (const AStyleIndex i : {StyleFace, StyleEdge, StyleText, StyleHighlight}) {
            EXPECT_EQ(first->GetStyle(i), scene->GetStyle(i));
            EXPECT_EQ(second->GetStyle(i), scene->GetStyle(i));
        }
        EXPECT_NE(scene->GetStyle(StyleEdge), scene->GetStyle(StyleText)) << "equal, but two";
        const auto& material = dynamic_cast<AFaceStyle&>(*scene->GetStyle(StyleFace)).GetMaterial();
        EXPECT_EQ(dynamic_cast<AFaceStyle&>(*scene->GetStyle(StyleHighlight)).GetMaterial(), material);
        EXPECT_EQ(material->GetDiffuseTexture(), material->GetReflectionTexture());
        EXPECT_EQ(material.use_count(), 2) << "the run has released its share";
        EXPECT_EQ(StoreReference<ASceneNode>(scene), Example(InOrder, 0));
    }
    EXPECT_EQ(TakeReports(), Reports());
}

// Keys count in order of first occurrence, so that a file in which they do is stored again as it was, every time.
TEST_F(SharedScenes, AreStoredAsTheyWereLoaded)
{
    for (const Bytes& file : {Example(InOrder, 0), AllEntities()}) {
        const auto scene = LoadReference<ASceneNode>(file);
        ASSERT_NE(scene, nullptr);
        EXPECT_EQ(StoreReference(scene), file);
        EXPECT_EQ(StoreReference(scene), file) << "a second time";
    }
    EXPECT_EQ(TakeReports(), Reports());
}
} // namespace
