#include <Formats/Support/Geometry.h>
#include <Tests/Formats/FormatTest.h>
#include <Tests/Support/TestRow.h>

#include <gmock/gmock.h>

#include <limits>

using namespace Kelvra;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

namespace {

using Floats = std::vector<float>;
using Indices = std::vector<unsigned int>;

class ObjTest : public FormatTest
{
public:
    ObjTest() : FormatTest(FORMAT_MODULE) {}

    /// Everything that a file shows, in order.
    std::vector<Formats::Placed> Load(std::string_view text, const std::string& name = "a.obj")
    {
        PutText(name, text);
        return Pieces(LoadScene(L"obj", name));
    }
    std::vector<Formats::Placed> Pieces(const std::shared_ptr<ASceneNode>& root)
    {
        m_Root = std::dynamic_pointer_cast<AGroupSceneNode>(root);
        std::vector<Formats::Placed> pieces;
        if (root)
            Formats::ForEachPlaced({root}, [&](const Formats::Placed& placed) { pieces.push_back(placed); });
        else
            ADD_FAILURE() << testing::PrintToString(TakeErrors());
        return pieces;
    }
    /// What is left of a scene after a way out and in.
    std::vector<Formats::Placed> OutAndIn(const std::shared_ptr<ASceneNode>& root)
    {
        Export(L"obj", {root}, "out.obj");
        m_ExportLosses = TakeLosses();
        return Pieces(LoadScene(L"obj", "out.obj"));
    }

    std::shared_ptr<AGroupSceneNode> m_Root; // of the last file
    std::vector<std::string> m_ExportLosses;
};

constexpr const char* s_Square = "v 0 0 0\nv 2 0 0\nv 2 2 0\nv 0 2 0\nvt 0 0\nvt 1 0\nvt 1 1\nvn 0 0 1\n";

std::shared_ptr<AEntitySceneNode> NodeOf(const std::shared_ptr<ASubMesh>& mesh)
{
    Formats::FitBox(*mesh);
    auto node = std::make_shared<AEntitySceneNode>();
    node->SetEntity(Formats::MakeEntity({mesh}, {}));
    return node;
}

std::shared_ptr<ASubMesh> Triangle()
{
    auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = {0.1F, 1e-20F, -3.4028235e38F, 413440016384.0F, 1.17549435e-38F, -0.0F, 1, 1e-45F, 16777216};
    mesh->NormalBuffer() = {0, 0, 1, 0, 1, 0, 1, 0, 0};
    mesh->TexCoordBuffer() = {0, 0.5F, 1, -2, 1.0F / 3, 7};
    mesh->IndexBuffer() = {2, 0, 1, 0, 2, 1};
    return mesh;
}

// Vertices are told apart by all three indices and keep the order of the file; those of no use are left out.
TEST_F(ObjTest, FacesBecomeCompactMeshes)
{
    const auto pieces =
        Load(std::string(s_Square) + "v 9 9 9\nf 3/3/1 4/1/1 1/1/1\nf -5/1/-1 -4/2/1 -3/2/1 # a comment\n");
    ASSERT_EQ(pieces.size(), 1U);
    const ASubMesh& mesh = *pieces[0].mesh;
    EXPECT_EQ(mesh.VertexBuffer(), (Floats{0, 0, 0, 2, 0, 0, 2, 2, 0, 2, 2, 0, 0, 2, 0}));
    EXPECT_EQ(mesh.TexCoordBuffer(), (Floats{0, 0, 1, 0, 1, 0, 1, 1, 0, 0}));
    EXPECT_EQ(mesh.NormalBuffer().size(), 15U);
    EXPECT_EQ(mesh.IndexBuffer(), (Indices{3, 4, 0, 0, 1, 2}));
    EXPECT_EQ(m_Root->GetBBox(), AMath::AxisAlignedBox({0, 0, 0}, {2, 2, 0}));
    EXPECT_THAT(TakeLosses(), IsEmpty());
}

TEST_F(ObjTest, PolygonsAreTriangulatedAlongTheirShape)
{
    const auto pieces = Load("v 0 0 0\nv 4 0 0\nv 1 1 0\nv 0 4 0\nf 1 2 3 4\n");
    EXPECT_EQ(pieces.at(0).mesh->IndexBuffer().size(), 6U);
    for (std::size_t i = 0; i < 6; i += 3) // each has the concave corner
        EXPECT_EQ(std::count_if(&pieces[0].mesh->IndexBuffer()[i], &pieces[0].mesh->IndexBuffer()[i] + 3,
                                [](unsigned int index) { return index == 2; }),
                  1);
}

// Corners with and without normals or texture coordinates make meshes of their own.
TEST_F(ObjTest, MixedFacesLoseNothing)
{
    const auto pieces = Load(std::string(s_Square) + "f 1 2 3\nf 1/1 2/2 3/3\nf 1//1 2//1 3//1\nf 4 3 2\nf 1/1 2 3\n");
    ASSERT_EQ(pieces.size(), 3U);
    EXPECT_EQ(pieces[0].mesh->IndexBuffer().size(), 9U);
    EXPECT_EQ(pieces[1].mesh->TexCoordBuffer(), (Floats{0, 0, 1, 0, 1, 1}));
    EXPECT_EQ(pieces[2].mesh->NormalBuffer(), (Floats{0, 0, 1, 0, 0, 1, 0, 0, 1}));
    EXPECT_THAT(TakeLosses(), ElementsAre("1 x texture coordinates that only some corners of an element have"));
}

TEST_F(ObjTest, LinesAndPointsStandBesideFaces)
{
    const auto pieces = Load(std::string(s_Square) + "l 1 2/2 3\ng a\nl 1 -1\np 1 2\np 3//1\nf 1 2 3\n");
    ASSERT_EQ(pieces.size(), 5U);
    EXPECT_EQ(pieces[0].edge->VertexBuffer(), (Floats{0, 0, 0, 2, 0, 0, 2, 2, 0}));
    EXPECT_EQ(pieces[1].mesh->IndexBuffer(), (Indices{0, 1, 2}));
    EXPECT_EQ(pieces[2].mesh->VertexBuffer(), (Floats{0, 0, 0, 2, 0, 0}));
    EXPECT_EQ(pieces[3].mesh->NormalBuffer(), (Floats{0, 0, 1}));
    EXPECT_THAT(pieces[3].mesh->IndexBuffer(), IsEmpty());
    EXPECT_EQ(pieces[4].edge->VertexBuffer(), (Floats{0, 0, 0, 0, 2, 0}));

    EXPECT_EQ(Load("vn 0 0 1\nv 1 2 3\nvn 0 1 0\nv 4 5 6\n").at(0).mesh->NormalBuffer(), (Floats{0, 0, 1, 0, 1, 0}))
        << "vertices alone are a cloud";
}

// A group goes on where its name comes again in the same object; several materials make a group node.
TEST_F(ObjTest, GroupsBecomeNodes)
{
    PutText("m.mtl", "newmtl red\nKd 1 0 0\nnewmtl blue\nKd 0 0 1\n");
    const auto pieces = Load(std::string("mtllib m.mtl\n") + s_Square +
                             "g a\nusemtl red\nf 1 2 3\ng empty\ng b\nusemtl blue\nf 1 2 3\nusemtl red\nf 1 2 3\n"
                             "g a\nf 2 3 4\no new\ng a\nf 1 2 3\n");
    ASSERT_EQ(pieces.size(), 4U);
    EXPECT_EQ(pieces[0].mesh->IndexBuffer().size(), 6U);
    ASSERT_EQ(m_Root->GetChildCount(), 3);
    const auto second = std::next(m_Root->GetChildNodes().begin());
    EXPECT_EQ(dynamic_cast<AGroupSceneNode&>(**second).GetChildCount(), 2);
    EXPECT_EQ(pieces[0].faceStyle, pieces[1].faceStyle) << "one style for one material";
    EXPECT_EQ(pieces[2].faceStyle->GetMaterial()->GetDiffuse(), AMath::ColourValue(0, 0, 1));
    EXPECT_THAT(TakeLosses(), ElementsAre("3 x names of groups"));
}

TEST_F(ObjTest, MaterialsBecomeFaceStyles)
{
    const std::string name = "Küche 部 🎨 # 1";
    std::filesystem::create_directory(PathOf("sub"));
    PutText("sub/" + name + ".mtl", "\xEF\xBB\xBFnewmtl " + name +
                                        "\r\nKa .1\nKd 1 0.5 \\\n 0.25\nKs 1 1 1\nKe 0 2 0\nNs 30\nTr 1\nd -halo 0.75\n"
                                        "map_Kd -s 2 2 -clamp on textures\\wood grain.v2.png\nillum 2\nNi 1.5\n"
                                        "refl -type sphere sky.png\nmap_Bump -bm 2 b.png\nwhatever 3\n"
                                        "newmtl B\nmap_Kd textures/wood grain.v2.png\nrefl -type cube_top t.png\n");
    const auto pieces = Load("mtllib sub\\" + name + ".mtl\nusemtl " + name + "  \n" + s_Square +
                             "f 1 2 3\nl 1 2\nusemtl B\nf 1 2 3\n");
    ASSERT_EQ(pieces.size(), 3U);
    const AMaterial& material = *pieces[0].faceStyle->GetMaterial();
    EXPECT_EQ(material.GetAmbient(), AMath::ColourValue(0.1F, 0.1F, 0.1F));
    EXPECT_EQ(material.GetDiffuse(), AMath::ColourValue(1, 0.5F, 0.25F, 0.75F));
    EXPECT_EQ(material.GetEmission(), AMath::ColourValue(0, 2, 0));
    EXPECT_EQ(material.GetShininess(), 30);
    EXPECT_TRUE(pieces[0].faceStyle->IsTransparent());
    EXPECT_EQ(pieces[1].lineStyle->GetColor(), material.GetDiffuse());
    EXPECT_EQ(material.GetDiffuseTexture()->GetFileName(), L"textures/wood grain.v2.png");
    EXPECT_EQ(material.GetDiffuseTexture()->GetName(), L"wood grain.v2");
    EXPECT_EQ(material.GetReflectionTexture()->GetFileName(), L"sky.png");
    EXPECT_EQ(pieces[2].faceStyle->GetMaterial()->GetDiffuseTexture(), material.GetDiffuseTexture()) << "shared";
    EXPECT_FALSE(pieces[2].faceStyle->IsTransparent());
    EXPECT_THAT(TakeLosses(),
                ElementsAre("1 x halos", "1 x indices of refraction", "1 x material statements of unknown kind",
                            "2 x options of textures", "1 x sides of cube maps", "1 x textures of \"map_Bump\""));
}

TEST_F(ObjTest, WhatHasNoPlaceIsCounted)
{
    PutText("here.mtl", "newmtl Default\n");
    EXPECT_THAT(Load("mtllib here.mtl no.mtl\nmtllib here.mtl"s + '\0' +
                     "\nmtllib gone 1.mtl\nmtllib sub/../../here.mtl\nusemtl Caf\xE9\nv 1 2 3 "
                     "0.5\nv 1 2 3 1 0 0\nv 0 0 0 1\n"
                     "s 1\ns off\nvp 1 2\ncstype bezier\ncurv 0 1 1 2\nend\nbanana 3\nf 1 2 3\n"),
                testing::SizeIs(1));
    EXPECT_THAT(TakeLosses(),
                ElementsAre("1 x free-form curves", "1 x material files that are not there: \"gone 1.mtl\"",
                            "1 x material files that are not there: \"here.mtl\\x0000\"",
                            "1 x material files that are not there: \"no.mtl\"",
                            "1 x material files that are not there: \"sub/../../here.mtl\"", "1 x smoothing groups",
                            "1 x statements of unknown kind", "1 x uses of materials that no file defines: \"Café\"",
                            "1 x vertex colours", "1 x vertices in parameter space", "1 x weights of vertices"));
}

struct Spelling : TestRow
{
    std::string text;
};
class ObjSpellings : public ObjTest, public testing::WithParamInterface<Spelling>
{
};

std::string Utf16(std::string_view text, bool bigEndian)
{
    std::string units = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : text)
        units += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
    return units;
}

// One triangle, however it is written.
TEST_P(ObjSpellings, AreAllRead)
{
    const auto pieces = Load(GetParam().text);
    ASSERT_EQ(pieces.size(), 1U);
    EXPECT_EQ(pieces[0].mesh->VertexBuffer(), (Floats{0, 0, 0, 1, 0, 0, 0, 20, 0}));
    EXPECT_EQ(pieces[0].mesh->IndexBuffer(), (Indices{0, 1, 2}));
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ObjSpellings,
    testing::Values(Spelling{{"NoLineAtTheEnd"}, "v 0 0 0\nv 1 0 0\nv 0 20 0\nf 1 2 3"},
                    Spelling{{"DosLines"}, "v 0 0 0\r\nv 1 0 0\r\nv 0 20 0\r\nf 1 2 3\r\n"},
                    Spelling{{"MacLines"}, "v 0 0 0\rv 1 0 0\rv 0 20 0\rf 1 2 3\r"},
                    Spelling{{"Mark"}, "\xEF\xBB\xBFv 0 0 0\nv 1 0 0\nv 0 20 0\nf 1 2 3\n"},
                    Spelling{{"Utf16LittleEndian"}, Utf16("v 0 0 0\nv 1 0 0\nv 0 20 0\nf 1 2 3\n", false)},
                    Spelling{{"Utf16BigEndian"}, Utf16("v 0 0 0\r\nv 1 0 0\r\nv 0 20 0\r\nf 1 2 3\r\n", true)},
                    Spelling{{"BlanksAndTabs"}, "\tv\t0  0 0 \n\n  v 1 0\t0\n # c:\\\nv 0 20 0\t\nf  1 2  3 \n"},
                    Spelling{{"LinesThatGoOn"}, "v 0 0 \\\n0\nv 1\\\r\n 0 0\nv 0 20 0\nf 1\\\n\\\n 2 3\\"},
                    Spelling{{"Numbers"}, "v +0 -0.0 1e-60\nv 1. .0 0e5\nv 0 2E+1 -1e-99\nf 1 2 3\n"}),
    RowName<Spelling>);

struct Refusal : TestRow
{
    std::string text;
    const char* error;
};
class ObjRefusals : public ObjTest, public testing::WithParamInterface<Refusal>
{
};

TEST_P(ObjRefusals, SayWhereAndWhy)
{
    PutText("bad.mtl", "newmtl a\nKd 1 x 0\n");
    PutText("worse.mtl", "Kd 1 1 1\n");
    PutText("other.txt", "secret:x:0:0:of/somebody else\n");
    PutText("a.obj", GetParam().text);
    EXPECT_EQ(LoadScene(L"obj", "a.obj"), nullptr);
    EXPECT_THAT(TakeErrors(), ElementsAre(GetParam().error));
}

constexpr const char* s_NoNumber = "line 1: \"nan\" is no number that a coordinate or a colour can have";

INSTANTIATE_TEST_SUITE_P(
    Formats, ObjRefusals,
    testing::Values(
        Refusal{{"TooFewNumbers"}, "#\nv 1 \\\n2\n", "line 2: 3 to 7 numbers should follow, 2 do"},
        Refusal{{"FiveNumbers"}, "v 1 2 3 4 5\n", "line 1: 3, 4, 6 or 7 numbers should follow, 5 do"},
        Refusal{{"TooManyNumbers"}, "vn 1 2 3 4 5 6 7 8 9 10\n", "line 1: 3 numbers should follow, 10 do"},
        Refusal{{"HalfANumber"}, "vt 0.5x\n", "line 1: \"0.5x\" is no number that a coordinate or a colour can have"},
        Refusal{{"NotANumber"}, "v nan 0 0\n", s_NoNumber},
        Refusal{{"TooLarge"}, "v 0 0 1e39\n", "line 1: \"1e39\" is no number that a coordinate or a colour can have"},
        Refusal{{"BeyondTheLast"}, "v 0 0 0\nf 1 1 2\n", "line 2: there is no vertex 2, 1 comes before"},
        Refusal{{"BeforeTheFirst"}, "v 0 0 0\nl 1 -2\n", "line 2: there is no vertex -2, 1 comes before"},
        Refusal{{"Zero"}, "v 0 0 0\np 0\n", "line 2: there is no vertex 0: they are counted from 1"},
        Refusal{{"Huge"},
                "v 0 0 0\nf 1 1 99999999999999999999\n",
                "line 2: there is no vertex 99999999999999999999, 1 comes before"},
        Refusal{{"NoTexCoord"}, "v 0 0 0\nf 1/1 1 1\n", "line 2: there is no texture coordinate 1, 0 come before"},
        Refusal{{"NoNormal"}, "v 0 0 0\nvt 1\nf 1/1/1 1 1\n", "line 3: there is no normal 1, 0 come before"},
        Refusal{{"Corner"}, "v 0 0 0\nf 1 1/ 1\n", "line 2: \"1/\" is no corner such as 1, 1/2, 1//3 or 1/2/3"},
        Refusal{{"LongCorner"},
                "v 0 0 0\nvn 0 0 1\nf 1//1/ 1 1\n",
                "line 3: \"1//1/\" is no corner such as 1, 1/2, 1//3 or 1/2/3"},
        Refusal{{"TwoCorners"}, "v 0 0 0\nf 1 1\n", "line 2: 3 or more vertices should follow, 2 do"},
        Refusal{{"OnePointOfALine"}, "v 0 0 0\nl 1\n", "line 2: 2 or more vertices should follow, 1 does"},
        Refusal{{"Binary"}, std::string("#\n\x89PNG\0\n", 8), "line 2: \"�PNG\\x0000\" is no statement"},
        Refusal{{"Prose"}, "Dear all\nsee you\n", "line 1: \"Dear\" is no OBJ statement, and no other line is"},
        Refusal{{"HalfACharacter"}, "\xFF\xFEv", "byte 2: UTF-16 takes two bytes for a character, one is left"},
        Refusal{{"BadMaterial"},
                "mtllib bad.mtl\n",
                "line 2 of \"bad.mtl\": \"x\" is no number that a coordinate or a colour can have"},
        Refusal{{"NoStatement"}, "mtllib other.txt\n", "line 1 of \"other.txt\": \"secret:x\" is no statement"},
        Refusal{{"NoMaterial"}, "mtllib worse.mtl\n", "line 1 of \"worse.mtl\": newmtl should come first"}),
    RowName<Refusal>);

TEST_F(ObjTest, FilesWithoutGeometryAreEmptyScenes)
{
    EXPECT_THAT(Load("# nothing\ng a\n"), IsEmpty());
    ASSERT_NE(m_Root, nullptr);
    EXPECT_EQ(m_Root->GetChildCount(), 0);
    EXPECT_THAT(OutAndIn(m_Root), IsEmpty());
    EXPECT_THAT(TakeErrors(), IsEmpty());
}

// Every float comes back as it was, and so do the order of vertices, the styles and the textures.
TEST_F(ObjTest, OutAndInIsExact)
{
    const auto mesh = Triangle();
    const auto edge = std::make_shared<ASubEdge>();
    edge->VertexBuffer() = {0, 0, 0, 1, 1, 1, 2, 0, 0};
    Formats::FitBox(*edge);
    Formats::FitBox(*mesh);
    const auto node = std::make_shared<AEntitySceneNode>();
    node->SetEntity(Formats::MakeEntity({mesh}, {edge}));
    const auto style = std::make_shared<AFaceStyle>();
    style->SetColor({0.1F, 0.2F, 0.3F, 0.4F});
    style->SetTransparent(true);
    style->SetMaterial(std::make_shared<AMaterial>(L"Gold"));
    style->GetMaterial()->SetDiffuse(style->GetColor());
    const auto texture = std::make_shared<ATexture>();
    texture->SetName(L"Holz 木");
    texture->SetFileName(L"bilder/Holz 木.png");
    style->GetMaterial()->SetDiffuseTexture(texture);
    style->GetMaterial()->SetReflectionTexture(texture);
    node->SetStyle(StyleFace, style);
    node->SetStyle(StyleEdge, std::make_shared<ALineStyle>(1.0F, AMath::ColourValue(0, 1, 0, 0.5F)));
    const auto plain = NodeOf(Triangle());
    const auto root = std::make_shared<AGroupSceneNode>();
    root->AddChildNode(node);
    root->AddChildNode(plain);

    const auto pieces = OutAndIn(root);
    EXPECT_THAT(m_ExportLosses, IsEmpty());
    ASSERT_EQ(pieces.size(), 3U);
    for (const std::size_t i : {0U, 2U}) {
        EXPECT_EQ(pieces[i].mesh->VertexBuffer(), mesh->VertexBuffer());
        EXPECT_EQ(pieces[i].mesh->NormalBuffer(), mesh->NormalBuffer());
        EXPECT_EQ(pieces[i].mesh->TexCoordBuffer(), mesh->TexCoordBuffer());
        EXPECT_EQ(pieces[i].mesh->IndexBuffer(), mesh->IndexBuffer());
    }
    EXPECT_EQ(pieces[1].edge->VertexBuffer(), edge->VertexBuffer());
    EXPECT_EQ(pieces[1].lineStyle->GetColor(), AMath::ColourValue(0, 1, 0, 0.5F));
    EXPECT_EQ(pieces[2].faceStyle, nullptr);
    ASSERT_NE(pieces[0].faceStyle, nullptr);
    EXPECT_TRUE(pieces[0].faceStyle->IsTransparent());
    const AMaterial& material = *pieces[0].faceStyle->GetMaterial();
    EXPECT_EQ(material.GetAmbient(), style->GetMaterial()->GetAmbient());
    EXPECT_EQ(material.GetDiffuse(), style->GetColor());
    EXPECT_EQ(material.GetSpecular(), style->GetMaterial()->GetSpecular());
    EXPECT_EQ(material.GetShininess(), style->GetMaterial()->GetShininess());
    EXPECT_EQ(material.GetReflectionTexture()->GetFileName(), texture->GetFileName());
    EXPECT_EQ(material.GetDiffuseTexture()->GetName(), texture->GetName());
}

TEST_F(ObjTest, WritesTheFileThatOthersExpect)
{
    const auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    mesh->NormalBuffer() = {0, 0, 1, 0, 0, 1, 0, 0, 1};
    mesh->IndexBuffer() = {0, 1, 2};
    const auto cloud = std::make_shared<ASubMesh>();
    cloud->VertexBuffer() = {5, 5, 5};
    const auto node = NodeOf(mesh);
    const auto style = std::make_shared<AFaceStyle>();
    style->SetColor({1, 0.5F, 0, 1});
    node->SetStyle(StyleFace, style);
    const auto polygon = std::make_shared<ASubPolygon>();
    polygon->VertexBuffer() = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    polygon->SetNormal({0, 0, 1});
    Formats::FitBox(*polygon);
    const auto flat = std::make_shared<APolygonEntity>();
    flat->SetItem(polygon);
    flat->SetBBox(polygon->GetBBox());
    const auto mirrored = std::make_shared<AEntitySceneNode>();
    mirrored->SetEntity(flat);
    mirrored->SetTransform({-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 0, 0, 1});
    const auto moved = NodeOf(mesh);
    moved->SetEntity(node->GetEntity());
    const auto hidden = NodeOf(mesh);
    hidden->SetVisible(false);

    const auto points = NodeOf(cloud);
    Export(L"obj", {node, mirrored, points, moved, hidden}, "two words.obj");
    EXPECT_EQ(GetText("two words.obj"), "o node1\nmtllib two words.mtl\nusemtl material1\n"
                                        "v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nvn 0 0 1\nvn 0 0 1\nf 1//1 2//2 3//3\n"
                                        "o node2\nusemtl\nv 10 0 0\nv 9 0 0\nv 9 1 0\nv 10 1 0\nvn -0 0 1\n"
                                        "f 7//4 6//4 5//4 4//4\n"
                                        "o node3\nv 5 5 5\np 8\n"
                                        "o node4\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nvn 0 0 1\nvn 0 0 1\n"
                                        "f 9//5 10//6 11//7\n");
    EXPECT_EQ(GetText("two words.mtl"), "newmtl material1\nKd 1 0.5 0\n\n");
    EXPECT_THAT(TakeLosses(), ElementsAre("1 x hidden nodes", "1 x references to shared entities written as copies"));
}

// What names beside other names are taken for: options, and blanks that only part them.
TEST_F(ObjTest, NamesThatTheirLineCannotHold)
{
    const auto node = NodeOf(Triangle());
    const auto style = std::make_shared<AFaceStyle>();
    style->SetMaterial(std::make_shared<AMaterial>(L"Gold"));
    style->GetMaterial()->SetDiffuseTexture(std::make_shared<ATexture>());
    node->SetStyle(StyleFace, style);
    for (const auto& [name, read] : {std::pair(L"-s 1 wood.png", L"./-s 1 wood.png"), std::pair(L" wood.png", L""),
                                     std::pair(L"wood.png\t", L""), std::pair(L"wood.png\\", L"")}) {
        style->GetMaterial()->GetDiffuseTexture()->SetFileName(name);
        const auto texture = OutAndIn(node).at(0).faceStyle->GetMaterial()->GetDiffuseTexture();
        EXPECT_EQ(texture ? texture->GetFileName() : L"", read);
        EXPECT_EQ(
            testing::Value(m_ExportLosses, testing::Contains("1 x textures without a file name that fits on a line")),
            *read == L'\0');
    }
    for (const char* const file : {" lead.obj", "bad\xFF.obj", "back\\slash.obj"})
        EXPECT_THROW(Export(L"obj", {node}, file), Formats::FormatError) << file;
}

TEST_F(ObjTest, ASmallFileDoesNotBecomeALargeScene)
{
    const auto repeat = [](const std::string& text) {
        std::string all = "v 0 0 0\n";
        while (all.size() < 3'000'000)
            all += text;
        return all;
    };
    for (const char* const element : {"o\nf 1 1 1\n", "l 1 1\n"}) {
        PutText("a.obj", repeat(element));
        EXPECT_EQ(LoadScene(L"obj", "a.obj"), nullptr);
        EXPECT_THAT(TakeErrors(), ElementsAre(testing::HasSubstr("out of proportion to the file"))) << element;
    }
    EXPECT_THAT(Load(repeat("f 1 1 1\n")), testing::SizeIs(1)) << "many triangles are no more than they say";
}

TEST_F(ObjTest, ScenesThatMakeNoSenseAreNotWritten)
{
    const auto refuse = [&](const std::shared_ptr<ASubMesh>& mesh) {
        EXPECT_THROW(Export(L"obj", {NodeOf(mesh)}, "out.obj"), Formats::FormatError);
    };
    const auto index = Triangle();
    index->IndexBuffer()[4] = 3;
    refuse(index);
    const auto rest = Triangle();
    rest->IndexBuffer().pop_back();
    refuse(rest);
    const auto infinite = Triangle();
    infinite->VertexBuffer()[0] = std::numeric_limits<float>::infinity();
    refuse(infinite);
}
} // namespace
