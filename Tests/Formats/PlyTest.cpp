#include <Tests/Formats/FormatTest.h>
#include <Tests/Support/TestRow.h>

#include <Formats/Support/Geometry.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

using namespace Kelvra;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Floats = std::vector<float>;
using Indices = std::vector<unsigned int>;

class PlyTest : public FormatTest
{
public:
    PlyTest() : FormatTest(FORMAT_MODULE) {}
};

std::string Head(const std::string& lines, const std::string& format = "ascii")
{
    return "ply\nformat " + format + " 1.0\n" + lines + "end_header\n";
}
const std::string s_Points = "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n";
const std::string s_Faces = "element face 1\nproperty list uchar int vertex_indices\n";
const std::string s_Square = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n";

const AEntity& EntityOf(const std::shared_ptr<ASceneNode>& node)
{
    return *dynamic_cast<const AEntitySceneNode&>(*node).GetEntity();
}
const ASubMesh& MeshOf(const std::shared_ptr<ASceneNode>& node)
{
    return *dynamic_cast<const AMeshEntity&>(EntityOf(node)).GetItem();
}

/// What a file of text gives, when that is one mesh.
struct Accepted : TestRow
{
    std::string file;
    Floats points;
    Indices indices;
    Floats normals;
    Floats texCoords;
    std::vector<std::string> losses;
};
class AcceptedPly : public PlyTest, public testing::WithParamInterface<Accepted>
{
};

TEST_P(AcceptedPly, GivesItsMesh)
{
    PutText("a.ply", GetParam().file);
    const auto node = LoadScene(L"ply", "a.ply");
    ASSERT_TRUE(node) << testing::PrintToString(TakeErrors());
    const ASubMesh& mesh = MeshOf(node);
    EXPECT_EQ(mesh.VertexBuffer(), GetParam().points);
    EXPECT_EQ(mesh.IndexBuffer(), GetParam().indices);
    EXPECT_EQ(mesh.NormalBuffer(), GetParam().normals);
    EXPECT_EQ(mesh.TexCoordBuffer(), GetParam().texCoords);
    EXPECT_EQ(node->GetBBox(), Formats::BoxOf(GetParam().points));
    EXPECT_EQ(TakeLosses(), GetParam().losses);
}

const Floats s_SquarePoints = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
Indices CutSquare()
{
    Indices triangles;
    Formats::Triangulate(s_SquarePoints, {0, 1, 2, 3}, triangles);
    return triangles;
}
const std::string s_Mixed =
    "element vertex 4\nproperty uchar red\nproperty list uchar short tags\nproperty float t\nproperty float s\n"
    "property double z\nproperty short y\nproperty float x\nproperty float ny\nproperty float nz\nproperty float nx\n";

INSTANTIATE_TEST_SUITE_P(
    Formats, AcceptedPly,
    testing::Values(
        Accepted{
            {"ASquare"}, Head(s_Points + s_Faces) + s_Square + "4 0 1 2 3\n", s_SquarePoints, CutSquare(), {}, {}, {}},
        Accepted{
            {"CarriageReturnsAndBlankLines"},
            "ply\r\nformat ascii 1.0\r\ncomment a b\r\nobj_info c\r\nelement vertex 3  \r\nproperty float32 x\r\n"
            "property float32 y\r\nproperty float32 z\r\nelement face 1\r\nproperty list uint8 int32 vertex_index\r\n"
            "end_header \r\n\r\n0 0 0 \r\n +1 0 0\r\n\r\n0\t1e0 0\r\n3 0 1 2",
            {0, 0, 0, 1, 0, 0, 0, 1, 0},
            {0, 1, 2},
            {},
            {},
            {}},
        Accepted{
            {"PropertiesInAnyOrder"},
            Head(s_Mixed +
                 "element camera 2\nproperty list uchar int a\nproperty float b\n"
                 "element face 1\nproperty uchar red\nproperty list uchar uint vertex_index\nproperty int flags\n") +
                "255 2 7 8 0.25 0.5 0 0 0 0 1 0\n0 0 0 1 0 0 1 0 1 0\n0 1 9 1 1 0 1 1 0 1 0\n0 0 0.25 0.5 0 0 -0 0 1 "
                "0\n"
                "1 5 0.5\n0 1\n"
                "0 3 3 1 2 7\n",
            {1, 0, 0, 1, 1, 0, 0, 0, 0},
            {2, 0, 1},
            {0, 0, 1, 0, 0, 1, 0, 0, 1},
            {1, 0, 1, 1, 0.5F, 0.25F},
            {"4 x double precision of vertices", "1 x face colours", "1 x property \"flags\" of face",
             "4 x property \"tags\" of vertex", "2 x rows of element \"camera\"", "4 x vertex colours",
             "1 x vertices that no face or edge uses"}},
        Accepted{{"FacesInFrontOfTheVertices"},
                 Head(s_Faces + s_Points) + "3 0 1 2\n" + s_Square,
                 {0, 0, 0, 1, 0, 0, 1, 1, 0},
                 {0, 1, 2},
                 {},
                 {},
                 {"1 x vertices that no face or edge uses"}},
        Accepted{{"EqualVerticesOfAMesh"},
                 Head(s_Points + "element face 2\nproperty list uchar int vertex_indices\n") +
                     "0 0 0\n1 0 0\n-0 0 0\n0 1 0\n3 2 1 3\n3 0 1 3\n",
                 {0, 0, 0, 1, 0, 0, 0, 1, 0},
                 {0, 1, 2, 0, 1, 2},
                 {},
                 {},
                 {}},
        Accepted{{"ACloudKeepsAllPoints"},
                 Head("element vertex 2\nproperty float x\nproperty float y\nproperty float z\n"
                      "property float nx\nproperty float ny\nproperty float nz\n") +
                     "1 1 1 0 0 1\n1 1 1 0 0 1\n",
                 {1, 1, 1, 1, 1, 1},
                 {},
                 {0, 0, 1, 0, 0, 1},
                 {},
                 {}},
        Accepted{{"FewCorners"},
                 Head(s_Points + "element face 3\nproperty list uchar int vertex_indices\n") + s_Square +
                     "2 0 1\n4 0 1 2 3\n0\n",
                 s_SquarePoints,
                 CutSquare(),
                 {},
                 {},
                 {"2 x faces with fewer than three corners"}},
        Accepted{{"Strips"},
                 Head(s_Points + "element tristrips 1\nproperty list int int vertex_indices\n") + s_Square +
                     "9 0 1 3 2 -1 0 1 1 2\n",
                 s_SquarePoints,
                 {0, 1, 3, 1, 2, 3},
                 {},
                 {},
                 {}},
        Accepted{{"TextureCoordinatesOfCorners"},
                 Head("comment TextureFile a.png\n" + s_Points +
                      "element face 2\nproperty list uchar int vertex_indices\nproperty list uchar float texcoord\n") +
                     s_Square + "3 0 1 2 6 0 0 .5 0 .5 1\n3 0 2 3 6 0 0 1 1 0 1\n",
                 {0, 0, 0, 1, 0, 0, 1, 1, 0, 1, 1, 0, 0, 1, 0},
                 {0, 1, 2, 0, 3, 4},
                 {},
                 {0, 0, 0.5F, 0, 0.5F, 1, 1, 1, 0, 1},
                 {"1 x textures named in comments"}}),
    RowName<Accepted>);

/// The same model in binary, with every type under either name.
Bytes Binary(bool bigEndian)
{
    const std::string lines =
        "element vertex 3\nproperty int8 a\nproperty float x\nproperty ushort b\nproperty float64 y\nproperty uint c\n"
        "property int16 z\nproperty list uint16 double d\nelement other 2\nproperty uint8 e\nproperty int32 f\n"
        "element face 2\nproperty list char uint32 vertex_index\n";
    std::string data;
    const auto put = [&](auto value) {
        std::string bytes(sizeof value, '\0');
        std::memcpy(bytes.data(), &value, sizeof value);
        if (bigEndian)
            std::reverse(bytes.begin(), bytes.end());
        data += bytes;
    };
    for (int i = 0; i < 3; ++i) {
        put(std::int8_t{-1}), put(i == 1 ? 1.5F : 0.0F), put(std::uint16_t{2}), put(i == 2 ? 2.5 : 0.0);
        put(std::uint32_t{3}), put(std::int16_t{-300}), put(static_cast<std::uint16_t>(i));
        for (int k = 0; k < i; ++k)
            put(4.0);
    }
    data += std::string(10, 'o');
    put(std::int8_t{3}), put(std::uint32_t{0}), put(std::uint32_t{1}), put(std::uint32_t{2});
    put(std::int8_t{4}), put(std::uint32_t{2}), put(std::uint32_t{1}), put(std::uint32_t{0}), put(std::uint32_t{0});
    return Bytes(Head(lines, bigEndian ? "binary_big_endian" : "binary_little_endian") + data);
}

TEST_F(PlyTest, BinaryFilesOfBothByteOrdersAreRead)
{
    for (const bool bigEndian : {false, true}) {
        WriteFile(Bytes(Binary(bigEndian)).Byte('\n'), "a.ply");
        const auto node = LoadScene(L"ply", "a.ply");
        ASSERT_TRUE(node) << testing::PrintToString(TakeErrors());
        EXPECT_EQ(MeshOf(node).VertexBuffer(), (Floats{0, 0, -300, 1.5F, 0, -300, 0, 2.5F, -300}));
        EXPECT_EQ(MeshOf(node).IndexBuffer().size(), 9U);
        EXPECT_THAT(TakeLosses(), ElementsAre("1 x bytes after the last row", "3 x double precision of vertices",
                                              "3 x property \"a\" of vertex", "3 x property \"b\" of vertex",
                                              "3 x property \"c\" of vertex", "3 x property \"d\" of vertex",
                                              "2 x rows of element \"other\""));
    }
}

// Values that lie across the ends of blocks are read as any others.
TEST_F(PlyTest, LargeBinaryFilesAreReadInBlocks)
{
    constexpr int s_Count = 200'000;
    Bytes file(Head("element vertex 200000\nproperty uchar a\nproperty float x\nproperty float y\nproperty float z\n",
                    "binary_little_endian"));
    for (int i = 0; i < s_Count; ++i)
        file.Byte(1).Float(static_cast<float>(i)).Float(2).Float(3);
    WriteFile(file, "a.ply");
    const auto node = LoadScene(L"ply", "a.ply");
    ASSERT_TRUE(node);
    const Floats& points = MeshOf(node).VertexBuffer();
    ASSERT_EQ(points.size(), 3U * s_Count);
    for (std::size_t i = 0; i < s_Count; ++i)
        ASSERT_TRUE(points[3 * i] == static_cast<float>(i) && points[3 * i + 1] == 2 && points[3 * i + 2] == 3) << i;
}

TEST_F(PlyTest, EdgesThatGoOnBecomeOneEdge)
{
    PutText("a.ply",
            Head(s_Points + "element edge 3\nproperty int vertex1\nproperty int vertex2\nproperty uchar red\n") +
                s_Square + "0 1 9\n1 2 9\n3 0 9\n");
    const auto node = LoadScene(L"ply", "a.ply");
    ASSERT_TRUE(node) << testing::PrintToString(TakeErrors());
    const auto& list = dynamic_cast<const AEdgeListEntity&>(EntityOf(node));
    ASSERT_EQ(list.GetItems().size(), 2U);
    EXPECT_EQ(list.GetItems().front()->VertexBuffer(), (Floats{0, 0, 0, 1, 0, 0, 1, 1, 0}));
    EXPECT_EQ(list.GetItems().back()->VertexBuffer(), (Floats{0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(node->GetBBox(), AMath::AxisAlignedBox({0, 0, 0}, {1, 1, 0}));
    EXPECT_THAT(TakeLosses(), ElementsAre("3 x edge colours"));
}

TEST_F(PlyTest, AFileWithoutVerticesIsAnEmptyGroup)
{
    PutText("a.ply", Head("element vertex 0\nproperty float x\nelement face 0\nelement nothing 4000000000\n"));
    const auto node = std::dynamic_pointer_cast<AGroupSceneNode>(LoadScene(L"ply", "a.ply"));
    ASSERT_TRUE(node);
    EXPECT_EQ(node->GetChildCount(), 0);
}

struct Damaged : TestRow
{
    std::string file;
    std::string error;
};
class DamagedPly : public PlyTest, public testing::WithParamInterface<Damaged>
{
};

TEST_P(DamagedPly, IsRefusedWithPlaceAndReason)
{
    PutText("a.ply", GetParam().file);
    EXPECT_FALSE(LoadScene(L"ply", "a.ply"));
    EXPECT_THAT(TakeErrors(), ElementsAre(GetParam().error));
}

const std::string s_Quad = Head(s_Points + s_Faces) + s_Square; // 9 lines of header and 4 of vertices
INSTANTIATE_TEST_SUITE_P(
    Formats, DamagedPly,
    testing::Values(
        Damaged{{"NoPly"}, "plx\n", "line 1: a PLY file begins with \"ply\""},
        Damaged{{"UnknownFormat"}, "ply\nformat binary 1.0\n", "line 2: the format \"binary\" is unknown"},
        Damaged{{"UnknownVersion"}, "ply\nformat ascii 2.0\n", "line 2: \"1.0\" should stand where \"2.0\" does"},
        Damaged{{"CutHeader"}, "ply\nformat ascii 1.0\nelement vertex 3\n", "line 4: the file ends inside the header"},
        Damaged{{"UnknownType"}, Head("element vertex 1\nproperty real x\n"), "line 4: the type \"real\" is unknown"},
        Damaged{{"UnknownLine"},
                Head("element vertex 1\nproperti float x\n"),
                "line 4: \"properti\" is not a word that a header line begins with"},
        Damaged{{"CountOfFloats"},
                Head("element a 1\nproperty list float int x\n"),
                "line 4: the count of a list should be an integer"},
        Damaged{{"SecondElement"}, Head("element a 0\nelement a 0\n"), "line 4: there are two elements \"a\""},
        Damaged{{"SecondProperty"},
                Head("element a 0\nproperty int b\nproperty int b\n"),
                "line 5: the element has two properties \"b\""},
        Damaged{
            {"NegativeCount"}, Head("element vertex -1\n"), "line 3: a count of rows should stand where \"-1\" does"},
        Damaged{{"HugeCount"},
                Head("element vertex 18446744073709551615\nproperty float x\n") + "1\n",
                "line 3: 18446744073709551615 rows of \"vertex\" take at least 2 bytes each, 3 are left for them"},
        Damaged{{"HugeBinaryCount"},
                Head("element face 4000000000\nproperty list uchar int a\n", "binary_big_endian"),
                "line 3: 4000000000 rows of \"face\" take at least 1 bytes each, 0 are left for them"},
        Damaged{{"NoZ"},
                Head("element vertex 1\nproperty float x\nproperty float y\n") + "0 0\n",
                "line 3: vertices should have the properties x, y and z"},
        Damaged{{"NoIndices"},
                Head(s_Points + "element face 1\nproperty int a\n") + s_Square + "1\n",
                "line 7: element \"face\" should have a list vertex_indices or vertex_index"},
        Damaged{{"ShortLine"},
                Head(s_Points) + "0 0 0\n0 0\n0 0 0\n0 0 0 0",
                "line 9: the line ends where a value of \"z\" should stand"},
        Damaged{{"LongLine"},
                Head(s_Points) + "0 0 0\n0 0 0 0\n0 0 0\n0 0 0\n",
                "line 9: the row of \"vertex\" should end where \"0\" stands"},
        Damaged{{"NoNumber"},
                Head(s_Points) + "0 0 0\n0 a\x1B 0\n0 0 0\n0 0 0\n",
                "line 9: a number should stand for \"y\" where \"a\\x001B\" does"},
        Damaged{{"NotFinite"},
                Head(s_Points) + "0 0 0\n0 0 0\n0 inf 0\n0 0 0\n",
                "line 10: a value of \"y\" is not finite"},
        Damaged{{"MissingRow"},
                Head(s_Points) + "0 0 0\n0 0 0\n0 0 0\n          \n",
                "line 12: the file ends where a row of \"vertex\" should stand"},
        Damaged{
            {"MoreRows"}, Head(s_Points) + s_Square + "\n0 0 0\n", "line 13: the file should end where \"0\" stands"},
        Damaged{{"IndexTooLarge"}, s_Quad + "3 0 1 4\n", "line 14: there is no vertex 4, the file has 4"},
        Damaged{{"NegativeIndex"}, s_Quad + "3 0 -1 2\n", "line 14: there is no vertex -1, the file has 4"},
        Damaged{{"BrokenIndex"}, s_Quad + "3 0 1.5 2\n", "line 14: there is no vertex 1.5, the file has 4"},
        Damaged{{"HugeList"},
                s_Quad + "4000000000 0 1 2\n",
                "line 14: the list \"vertex_indices\" cannot have \"4000000000\" values"},
        Damaged{
            {"NegativeList"}, s_Quad + "-3 0 1 2\n", "line 14: the list \"vertex_indices\" cannot have \"-3\" values"},
        Damaged{{"ShortList"},
                s_Quad + "4 0 1 2\n",
                "line 14: the line ends where a value of \"vertex_indices\" should stand"},
        Damaged{{"OddTextureCoordinates"},
                Head(s_Points + s_Faces + "property list uchar float texcoord\n") + s_Square + "3 0 1 2 4 0 0 0 0\n",
                "line 15: 3 corners should have 6 texture coordinates, there are 4"},
        Damaged{{"HugeBinaryList"},
                Head("element a 1\nproperty list int double b\n", "binary_little_endian") + "\x02\x01" +
                    std::string(9, '\0'),
                "byte 86: the list \"b\" cannot have 258 values"},
        Damaged{{"NotFiniteInBinary"},
                Head("element vertex 1\nproperty double x\nproperty uchar y\nproperty uchar z\n", "binary_big_endian") +
                    "\x7E" + std::string(9, '\0'),
                "byte 113: a value of \"x\" is not finite"}),
    RowName<Damaged>);

// Edges of two bytes each are small in a file and large in memory; rows of no bytes are nothing, however many.
TEST_F(PlyTest, ASmallFileDoesNotBecomeALargeScene)
{
    std::string file = Head("element vertex 1\nproperty char x\nproperty char y\nproperty char z\n"
                            "element edge 400000\nproperty uchar vertex1\nproperty uchar vertex2\n",
                            "binary_little_endian");
    file += std::string(3 + 2 * 400'000, '\0');
    PutText("a.ply", file);
    ASSERT_TRUE(LoadScene(L"ply", "a.ply")) << "one long edge";
    file.replace(file.find("vertex 1"), 8, "vertex 2");
    for (std::size_t end = file.size() - 1; file[end] == 0 && end > file.size() - 790'000; end -= 2)
        file[end] = 1;
    PutText("a.ply", file + std::string(3, '\0'));
    EXPECT_FALSE(LoadScene(L"ply", "a.ply"));
    EXPECT_THAT(TakeErrors(), ElementsAre(testing::HasSubstr("out of proportion to the file")));

    PutText("a.ply", Head("element nothing 18446744073709551615\n"));
    EXPECT_TRUE(LoadScene(L"ply", "a.ply"));
    EXPECT_THAT(TakeLosses(), IsEmpty());
}

TEST_F(PlyTest, NoPrefixOfAFileIsTakenForAFile)
{
    const Bytes text(s_Quad + "4 0 1 2 3");
    for (const Bytes& file : {text, Binary(false)})
        for (std::size_t size = 0; size < file.Size(); ++size) {
            WriteFile(file.First(size), "a.ply");
            EXPECT_FALSE(LoadScene(L"ply", "a.ply")) << size << " bytes";
            EXPECT_EQ(TakeErrors().size(), 1U) << size << " bytes";
        }
}
} // namespace
