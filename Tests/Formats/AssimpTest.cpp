#include <Formats/Support/FormatServices.h>
#include <Formats/Support/Geometry.h>
#include <Tests/Formats/FormatTest.h>

#include <gmock/gmock.h>

#include <set>

using namespace Kelvra;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Floats = std::vector<float>;

class AssimpTest : public FormatTest
{
public:
    AssimpTest() : FormatTest(FORMAT_MODULE) {}

    /// Everything that a file shows, in order.
    std::vector<Formats::Placed> Load(const std::wstring& service, const std::string& name, std::string_view text)
    {
        PutText(name, text);
        m_Root = LoadScene(service, name);
        std::vector<Formats::Placed> pieces;
        if (m_Root)
            Formats::ForEachPlaced({m_Root}, [&](const Formats::Placed& placed) { pieces.push_back(placed); });
        else
            ADD_FAILURE() << testing::PrintToString(TakeErrors());
        return pieces;
    }

    std::shared_ptr<ASceneNode> m_Root;
};

// One service for each format that no other module reads, all of them second choice.
TEST_F(AssimpTest, OffersWhatOtherModulesDoNot)
{
    std::set<std::wstring> patterns;
    for (const auto& [name, service] : TSingleton<ASceneFileServiceManager>::Instance()) {
        EXPECT_EQ(name.rfind(L"assimp-", 0), 0U);
        EXPECT_EQ(name.find_first_not_of(L"abcdefghijklmnopqrstuvwxyz0123456789-"), std::wstring::npos);
        EXPECT_EQ(dynamic_cast<Formats::FormatPriority&>(*service).GetPriority(), -1);
        const std::wstring filter = service->GetFileFilter();
        for (std::size_t start = 0, end = 0; end != std::wstring::npos; start = end + 1) {
            end = filter.find(L';', start);
            patterns.insert(filter.substr(start, end - start));
        }
    }
    for (const auto* const own : {L"*.obj", L"*.stl", L"*.ply", L"*.gltf", L"*.glb", L"*.scene"})
        EXPECT_EQ(patterns.count(own), 0U);
    for (const auto* const other : {L"*.dae", L"*.3ds", L"*.fbx", L"*.off"})
        EXPECT_EQ(patterns.count(other), 1U);
    const auto collada = TSingleton<ASceneFileServiceManager>::Instance().GetObject(L"assimp-collada");
    ASSERT_NE(collada, nullptr);
    EXPECT_EQ(collada->GetTitle(), L"Collada Importer (Assimp)");
}

constexpr const char* s_Collada = R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1"><asset><up_axis>Y_UP</up_axis></asset>
<library_images><image id="i"><init_from>wood\grain 木.png</init_from></image></library_images>
<library_effects><effect id="e"><profile_COMMON>
<newparam sid="s"><surface type="2D"><init_from>i</init_from></surface></newparam>
<newparam sid="t"><sampler2D><source>s</source></sampler2D></newparam>
<technique sid="c"><phong><emission><color>0 0 0.5 1</color></emission><ambient><color>0.25 0 0 1</color></ambient>
<diffuse><texture texture="t" texcoord="u"/></diffuse><specular><color>1 1 0 1</color></specular>
<shininess><float>12</float></shininess><transparency><float>0.5</float></transparency>
</phong></technique></profile_COMMON></effect></library_effects>
<library_materials><material id="m"><instance_effect url="#e"/></material></library_materials>
<library_geometries><geometry id="g"><mesh>
<source id="p"><float_array id="pa" count="12">0 0 0 2 0 0 2 1 0 0 1 0</float_array><technique_common>
<accessor source="#pa" count="4" stride="3"><param name="X" type="float"/><param name="Y" type="float"/>
<param name="Z" type="float"/></accessor></technique_common></source>
<source id="w"><float_array id="wa" count="4">0 0 1 0.25</float_array><technique_common>
<accessor source="#wa" count="2" stride="2"><param name="S" type="float"/><param name="T" type="float"/></accessor>
</technique_common></source>
<vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
<polylist material="m" count="1"><input semantic="VERTEX" source="#v" offset="0"/>
<input semantic="TEXCOORD" source="#w" offset="1" set="0"/><vcount>4</vcount><p>0 0 1 0 2 1 3 1</p></polylist>
</mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="vs"><node id="n"><translate>0 0 5</translate>
<node id="a"><rotate>0 0 1 90</rotate><translate>10 0 0</translate><instance_geometry url="#g"><bind_material>
<technique_common><instance_material symbol="m" target="#m"/></technique_common></bind_material></instance_geometry>
</node><node id="b"><instance_geometry url="#g"><bind_material><technique_common>
<instance_material symbol="m" target="#m"/></technique_common></bind_material></instance_geometry></node>
<node id="c"/></node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#vs"/></scene></COLLADA>)";

TEST_F(AssimpTest, NodesKeepTransformsAndShareMeshes)
{
    const auto pieces = Load(L"assimp-collada", "Küche 🎨.dae", s_Collada);
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_EQ(pieces[0].mesh, pieces[1].mesh);
    EXPECT_EQ(pieces[0].mesh->IndexBuffer().size(), 6U);
    EXPECT_EQ(pieces[0].mesh->TexCoordBuffer(), (Floats{0, 0, 0, 0, 1, 0.25F, 1, 0.25F}));
    // (2, 1, 0) moves to (12, 1, 0), turns to (-1, 12, 0) and rises by 5; the other only rises.
    EXPECT_NEAR(m_Root->GetBBox().getMinimum().x, -1, 1e-5);
    EXPECT_NEAR(m_Root->GetBBox().getMaximum().y, 12, 1e-5);
    EXPECT_EQ(m_Root->GetBBox().getMinimum().z, 5);
    EXPECT_EQ(pieces[1].toWorld[14], 5);
    EXPECT_THAT(TakeLosses(), ElementsAre("1 x names of materials", "1 x names of meshes", "5 x names of nodes"));
}

TEST_F(AssimpTest, MaterialsBecomeFaceStyles)
{
    const auto pieces = Load(L"assimp-collada", "a.dae", s_Collada);
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_EQ(pieces[0].faceStyle, pieces[1].faceStyle);
    EXPECT_TRUE(pieces[0].faceStyle->IsTransparent());
    const AMaterial& material = *pieces[0].faceStyle->GetMaterial();
    EXPECT_EQ(material.GetDiffuse().a, 0.5F);
    EXPECT_EQ(material.GetAmbient(), AMath::ColourValue(0.25F, 0, 0));
    EXPECT_EQ(material.GetSpecular(), AMath::ColourValue(1, 1, 0));
    EXPECT_EQ(material.GetEmission(), AMath::ColourValue(0, 0, 0.5F));
    EXPECT_EQ(material.GetShininess(), 12);
    ASSERT_NE(material.GetDiffuseTexture(), nullptr);
    EXPECT_EQ(material.GetDiffuseTexture()->GetFileName(), L"wood/grain 木.png");
    EXPECT_EQ(material.GetDiffuseTexture()->GetName(), L"grain 木");
}

// Segments that follow one another are one edge; points are a mesh without indices.
TEST_F(AssimpTest, LinesAndPointsKeepTheirKind)
{
    const auto pieces = Load(L"assimp-extensible-3d-x3d", "a.x3d", R"(<?xml version="1.0" encoding="UTF-8"?>
<X3D profile="Interchange" version="3.3"><Scene><Shape><IndexedLineSet coordIndex="0 1 -1 1 2 -1 3 0 -1">
<Coordinate point="0 0 0 1 0 0 2 0 0 3 0 0"/></IndexedLineSet></Shape>
<Shape><PointSet><Coordinate point="2 0 0 0 0 0"/></PointSet></Shape></Scene></X3D>)");
    std::vector<Floats> edges; // in an order of the importer's own
    std::vector<Floats> clouds;
    for (const Formats::Placed& piece : pieces)
        if (piece.edge)
            edges.push_back(piece.edge->VertexBuffer());
        else if (piece.mesh && piece.mesh->IndexBuffer().empty())
            clouds.push_back(piece.mesh->VertexBuffer());
    EXPECT_THAT(edges, testing::UnorderedElementsAre(Floats{0, 0, 0, 1, 0, 0, 2, 0, 0}, Floats{3, 0, 0, 0, 0, 0}));
    EXPECT_THAT(clouds, ElementsAre(Floats{2, 0, 0, 0, 0, 0}));
}

// What a service reads is what its name says.
TEST_F(AssimpTest, FilesForOtherImportersAreRefused)
{
    PutText("a.dae", s_Collada);
    EXPECT_EQ(LoadScene(L"assimp-off", "a.dae"), nullptr);
    EXPECT_THAT(TakeErrors(), ElementsAre("is a file for Assimp's \"Collada Importer\", not for its \"OFF Importer\""));
}

TEST_F(AssimpTest, ErrorsAreHandedOn)
{
    for (const auto& [name, text] : {std::pair{"a.off", "OFF\n3 1 0\n0 0 0\n"}, std::pair{"a.dae", "<COLLADA"},
                                     std::pair{"nan.off", "OFF\n3 1 0\n0 0 nan\n1 0 0\n0 1 0\n3 0 1 2\n"}}) {
        PutText(name, text);
        EXPECT_EQ(LoadScene(L"assimp-off", name), nullptr) << name;
        EXPECT_EQ(TakeErrors().size(), 1U) << name;
    }
    PutText("a.dae",
            "<COLLADA><library_geometries><geometry id='g'><mesh><vertices id='v'>"
            "<input semantic='POSITION' source='\x1B[31m\xFF'/></vertices></mesh></geometry></library_geometries>"
            "</COLLADA>");
    EXPECT_EQ(LoadScene(L"assimp-collada", "a.dae"), nullptr);
    EXPECT_THAT(TakeErrors(), ElementsAre(testing::HasSubstr("\"\\x001B[31m\xEF\xBF\xBD\""))) << "Assimp's own words";
}

// Assimp opens no file that its model names outside the model's folder.
TEST_F(AssimpTest, FilesOutsideTheFolderAreNotOpened)
{
    std::filesystem::create_directory(PathOf("sub"));
    for (const char* const name : {"sub/in.off", "out.off"})
        PutText(name, "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
    std::filesystem::create_symlink("../out.off", PathOf("sub/link.off"));
    const std::string load = "\nLoadObjectLayer 1 ";
    EXPECT_EQ(Load(L"assimp-lightwave-scene", "sub/a.lws",
                   "LWSC\n3\n\nFirstFrame 1" + load + "in.off" + load + "link.off" + load + "../out.off\n")
                  .size(),
              1U);
    EXPECT_THAT(TakeLosses(),
                testing::IsSupersetOf({"1 x files that are not in the folder or below it: \"../out.off\"",
                                       "1 x files that are not in the folder or below it: \"link.off\""}));
}
} // namespace
