#include <Tests/Formats/FormatTest.h>
#include <Tests/Support/TestRow.h>

#include <Formats/Support/FormatError.h>
#include <Formats/Support/Geometry.h>

#include <gmock/gmock.h>

#include <limits>

using namespace Kelvra;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Floats = std::vector<float>;
using Indices = std::vector<unsigned int>;

class StlTest : public FormatTest
{
public:
    StlTest() : FormatTest(FORMAT_MODULE) {}
};

/// Header and count of a binary file.
Bytes Head(std::int64_t count, const std::string& header = "solid")
{
    return Bytes(header + std::string(80 - header.size(), ' ')).Int(count);
}
Bytes Facet(const Floats& normalAndCorners, unsigned attributes = 0)
{
    Bytes bytes;
    for (const float value : normalAndCorners)
        bytes.Float(value);
    return bytes.Byte(attributes).Byte(0);
}

const Floats s_First = {0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0};
const Floats s_Second = {0, 0, 0, 1, 0, 0, 1, 1, 0, -0.0F, 1, 0};
const std::string s_FacetText =
    "facet normal 0 0 1 outer loop vertex 0 0 0 vertex 1 0 0 vertex 0 1 0 endloop endfacet ";

/// The mesh of a node that holds just one.
const ASubMesh& MeshOf(const std::shared_ptr<ASceneNode>& node)
{
    const auto& single = dynamic_cast<const AEntitySceneNode&>(*node);
    return *dynamic_cast<const AMeshEntity&>(*single.GetEntity()).GetItem();
}

TEST_F(StlTest, ABinaryFileGivesOneMeshWithSharedCorners)
{
    WriteFile(Bytes(Head(2)).Add(Facet(s_First)).Add(Facet(s_Second)), "a.stl");
    const auto node = LoadScene(L"stl", "a.stl");
    ASSERT_TRUE(node);
    EXPECT_EQ(MeshOf(node).VertexBuffer(), (Floats{0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0}));
    EXPECT_EQ(MeshOf(node).IndexBuffer(), (Indices{0, 1, 2, 1, 3, 2}));
    EXPECT_THAT(MeshOf(node).NormalBuffer(), IsEmpty());
    EXPECT_EQ(node->GetBBox(), AMath::AxisAlignedBox({0, 0, 0}, {1, 1, 0}));
    EXPECT_THAT(TakeLosses(), IsEmpty());
}

TEST_F(StlTest, WhatABinaryFileSaysBesidesIsCounted)
{
    const Floats turned = {0, 0, -1, 0, 0, 0, 1, 0, 0, 0, 1, 0};
    const Floats flat = {0, std::numeric_limits<float>::quiet_NaN(), 0, 5, 5, 5, 5, 5, 5, 1, 0, 0};
    WriteFile(Bytes(Head(3, "COLOR=rgba")).Add(Facet(turned, 7)).Add(Facet(flat)).Add(Facet(s_First)).Fill(3), "a.stl");
    const auto node = LoadScene(L"stl", "a.stl");
    ASSERT_TRUE(node);
    EXPECT_EQ(MeshOf(node).IndexBuffer(), (Indices{0, 1, 2, 3, 3, 1, 0, 1, 2}));
    EXPECT_THAT(TakeLosses(), ElementsAre("3 x bytes after the last facet", "1 x colour of the solid",
                                          "1 x facet colours or attributes",
                                          "1 x facet normals that disagree with the order of the corners"));
}

// Several blocks are read, and the corners of all of them meet.
TEST_F(StlTest, LargeBinaryFilesAreReadInBlocks)
{
    Bytes file = Head(20'000);
    for (int i = 0; i < 10'000; ++i) {
        const auto x = static_cast<float>(i);
        file.Add(Facet({0, 0, 1, x, 0, 0, x + 1, 0, 0, x, 1, 0}))
            .Add(Facet({0, 0, 1, x + 1, 0, 0, x + 1, 1, 0, x, 1, 0}));
    }
    WriteFile(file, "a.stl");
    const auto node = LoadScene(L"stl", "a.stl");
    ASSERT_TRUE(node);
    EXPECT_EQ(MeshOf(node).VertexBuffer().size(), 3U * 2 * 10'001);
    EXPECT_EQ(MeshOf(node).IndexBuffer().size(), 60'000U);
    EXPECT_EQ(node->GetBBox(), AMath::AxisAlignedBox({0, 0, 0}, {10'000, 1, 0}));
}

TEST_F(StlTest, EverySolidOfATextBecomesANode)
{
    PutText("a.stl", "\xEF\xBB\xBFSolid a facet of a  solid \r\n"
                     "\tFACET NORMAL +0 0 1e0\r\n\r\n OUTER\tLOOP\r\n vertex 0 0 0\r\nvertex 1 0 0 vertex 0 1 1e-60\r\n"
                     "EndLoop endFacet\r\nendsolid a facet of a solid\r\n"
                     "solid\nendsolid\n"
                     "solid c " +
                         s_FacetText + "endsolid c solid d " + s_FacetText + "endsolid other name");
    const auto node = LoadScene(L"stl", "a.stl");
    ASSERT_TRUE(node) << testing::PrintToString(TakeErrors());
    const auto& group = dynamic_cast<const AGroupSceneNode&>(*node);
    ASSERT_EQ(group.GetChildCount(), 3);
    for (const auto& child : group.GetChildNodes())
        EXPECT_EQ(MeshOf(child).VertexBuffer(), (Floats{0, 0, 0, 1, 0, 0, 0, 1, 0}));
    EXPECT_EQ(node->GetBBox(), AMath::AxisAlignedBox({0, 0, 0}, {1, 1, 0}));
    EXPECT_THAT(TakeLosses(), ElementsAre("3 x names of solids", "1 x solids without facets"));
}

TEST_F(StlTest, OneSolidOfATextIsANodeAndNoneAnEmptyGroup)
{
    PutText("one.stl", "solid\nendsolid solid " + s_FacetText + "endsolid");
    const auto one = LoadScene(L"stl", "one.stl");
    ASSERT_TRUE(one);
    EXPECT_EQ(MeshOf(one).IndexBuffer(), (Indices{0, 1, 2}));

    PutText("none.stl", "solid nothing\nendsolid nothing\n");
    WriteFile(Head(0), "zero.stl");
    for (const char* const name : {"none.stl", "zero.stl"}) {
        const auto none = std::dynamic_pointer_cast<AGroupSceneNode>(LoadScene(L"stl", name));
        ASSERT_TRUE(none) << name;
        EXPECT_EQ(none->GetChildCount(), 0);
    }
}

struct Damaged : TestRow
{
    Bytes file;
    std::string error;
};
class DamagedStl : public StlTest, public testing::WithParamInterface<Damaged>
{
};

TEST_P(DamagedStl, IsRefusedWithPlaceAndReason)
{
    WriteFile(GetParam().file, "a.stl");
    EXPECT_FALSE(LoadScene(L"stl", "a.stl"));
    EXPECT_THAT(TakeErrors(), ElementsAre(GetParam().error));
}

const float s_Infinity = std::numeric_limits<float>::infinity();
INSTANTIATE_TEST_SUITE_P(
    Formats, DamagedStl,
    testing::Values(
        Damaged{{"CutFacet"},
                Bytes(Head(2)).Add(Facet(s_First)).Fill(49),
                "byte 80: 2 facets should follow, 1 and a part of one do"},
        Damaged{{"CountOfTooFew"},
                Bytes(Head(1)).Add(Facet(s_First)).Add(Facet(s_First)),
                "byte 80: 1 facets should follow, 2 do"},
        Damaged{{"HugeCount"},
                Bytes(Head(0xFFFFFFFF)).Add(Facet(s_First)),
                "byte 80: 4294967295 facets should follow, 1 do"},
        Damaged{{"CutHeader"}, Bytes().Fill(83), "byte 83: the file ends inside the header of 84 bytes"},
        Damaged{{"InfiniteCorner"},
                Bytes(Head(2)).Add(Facet(s_First)).Add(Facet({0, 0, 1, 0, 0, 0, 1, 0, 0, 0, s_Infinity, 0})),
                "byte 174: a coordinate is not finite"},
        Damaged{{"NoStl"}, Bytes("once upon\na time"), "line 1: \"solid\" should stand where \"once\" does"},
        Damaged{{"NoNumber"},
                Bytes("solid\nfacet normal 0 0\nouter"),
                "line 3: a number should stand where \"outer\" does"},
        Damaged{{"NotANumber"},
                Bytes("solid\nfacet normal 0 0 -1.#IND outer loop\n\nvertex 0 nan 0"),
                "line 4: a coordinate is not finite"},
        Damaged{{"HugeNumber"},
                Bytes("solid\nfacet normal 0 0 0 outer loop\nvertex 0 0 1e39"),
                "line 3: a coordinate is not finite"},
        Damaged{{"FourCorners"},
                Bytes("solid\rfacet normal 0 0 1\router loop vertex 0 0 0\rvertex 1 0 0\rvertex 0 1 0\rvertex 1 1 0"),
                "line 6: \"endloop\" should stand where \"vertex\" does"},
        Damaged{{"NoEnd"},
                Bytes("solid a\n" + s_FacetText + "\n"),
                "line 3: the file ends where \"facet\" or \"endsolid\" should stand"},
        Damaged{{"TextBehindASolid"},
                Bytes("solid a\nendsolid a\nfacet"),
                "line 3: \"solid\" should stand where \"facet\" does"}),
    RowName<Damaged>);

TEST_F(StlTest, NoPrefixOfAFileIsTakenForAFile)
{
    const Bytes binary = Bytes(Head(1)).Add(Facet(s_First));
    const Bytes text("solid\n" + s_FacetText + "\nendsolid");
    for (const Bytes& file : {binary, text})
        for (std::size_t size = 0; size < file.Size(); ++size) {
            WriteFile(file.First(size), "a.stl");
            EXPECT_FALSE(LoadScene(L"stl", "a.stl")) << size << " bytes";
            EXPECT_EQ(TakeErrors().size(), 1U) << size << " bytes";
        }
}

std::shared_ptr<AEntitySceneNode> NodeOf(const std::vector<std::shared_ptr<ASubMesh>>& meshes,
                                         const std::vector<std::shared_ptr<ASubEdge>>& edges)
{
    auto node = std::make_shared<AEntitySceneNode>();
    node->SetEntity(Formats::MakeEntity(meshes, edges));
    return node;
}

TEST_F(StlTest, ASceneIsWrittenInWorldSpace)
{
    const auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    mesh->IndexBuffer() = {0, 1, 2};
    mesh->NormalBuffer() = {0, 0, 1, 0, 0, 1, 0, 0, 1};
    mesh->TexCoordBuffer() = {0, 0, 1, 0, 0, 1};
    const auto cloud = std::make_shared<ASubMesh>();
    cloud->VertexBuffer() = {5, 5, 5};
    const auto first = NodeOf({mesh, cloud}, {std::make_shared<ASubEdge>()});
    first->SetTransform({2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 10, 20, 30, 1});
    first->SetStyle(StyleFace, std::make_shared<AFaceStyle>());
    const auto mirrored = NodeOf({mesh}, {});
    mirrored->SetTransform({-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    const auto hidden = NodeOf({mesh}, {});
    hidden->SetVisible(false);

    Export(L"stl", {first, mirrored, hidden}, "a.stl");
    EXPECT_EQ(ReadFile("a.stl"), Bytes("Binary STL")
                                     .Fill(70)
                                     .Int(2)
                                     .Add(Facet({0, 0, 1, 10, 20, 30, 12, 20, 30, 10, 22, 30}))
                                     .Add(Facet({0, 0, 1, 0, 0, 0, 0, 1, 0, -1, 0, 0})));
    EXPECT_THAT(TakeLosses(),
                ElementsAre("1 x edges", "1 x hidden nodes", "2 x materials and styles", "6 x normals of vertices",
                            "1 x point clouds", "1 x sharing of meshes", "6 x texture coordinates"));
}

TEST_F(StlTest, WhatCannotBeWrittenIsRefused)
{
    const Floats triangle = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const std::vector<unsigned int> corners = {0, 1, 2};
    for (const auto& [points, indices] :
         {std::pair(Floats{0, 0, 0, 1, 0, 0}, corners), std::pair(Floats{0, 0, 0, 1, 0, 0, 0, s_Infinity, 0}, corners),
          std::pair(triangle, std::vector<unsigned int>{0, 1, 2, 0})}) {
        const auto mesh = std::make_shared<ASubMesh>();
        mesh->VertexBuffer() = points;
        mesh->IndexBuffer() = indices;
        EXPECT_THROW(Export(L"stl", {NodeOf({mesh}, {})}, "a.stl"), Formats::FormatError);
    }
}
} // namespace
