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

/// A .glb file: members of the document besides asset and buffers, and the binary chunk.
Bytes Glb(const std::string& members, const Bytes& binary)
{
    std::string json = R"({"asset":{"version":"2.0"},"buffers":[{"byteLength":)" + std::to_string(binary.Size()) +
                       "}]," + members + "}";
    json.resize((json.size() + 3) / 4 * 4, ' ');
    const auto jsonSize = static_cast<std::int64_t>(json.size());
    const auto binarySize = static_cast<std::int64_t>(binary.Size());
    return Bytes("glTF")
        .Int(2)
        .Int(28 + jsonSize + binarySize)
        .Int(jsonSize)
        .Add(Bytes("JSON" + json))
        .Int(binarySize)
        .Add(Bytes(std::string("BIN\0", 4)))
        .Add(binary);
}

Bytes Numbers(const Floats& numbers)
{
    Bytes bytes;
    for (const float number : numbers)
        bytes.Float(number);
    return bytes;
}

/// The triangle that most documents here show: three positions, 36 bytes.
const Floats s_Triangle = {0, 0, 0, 1, 0, 0, 0, 1, 0};
const std::string s_View = R"("bufferViews":[{"buffer":0,"byteLength":36}],)";
const std::string s_Accessor = R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],)";
const std::string s_Mesh = R"("meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],)";
const std::string s_Node = R"("nodes":[{"mesh":0}])";

class GltfTest : public FormatTest
{
public:
    GltfTest() : FormatTest(FORMAT_MODULE) {}

    std::shared_ptr<ASceneNode> LoadGlb(const std::string& members, const Bytes& binary = Numbers(s_Triangle))
    {
        WriteFile(Glb(members, binary), "a.glb");
        return LoadScene(L"gltf", "a.glb");
    }
    /// The scene that comes back when a scene is written and read again.
    std::shared_ptr<ASceneNode> ThereAndBack(const std::shared_ptr<ASceneNode>& scene)
    {
        Export(L"glb", {scene}, "back.glb");
        return LoadScene(L"gltf", "back.glb");
    }
};

std::vector<std::shared_ptr<ASceneNode>> ChildrenOf(const std::shared_ptr<ASceneNode>& node)
{
    const auto& children = dynamic_cast<const AGroupSceneNode&>(*node).GetChildNodes();
    return {children.begin(), children.end()};
}
const std::shared_ptr<AEntity>& EntityOf(const std::shared_ptr<ASceneNode>& node)
{
    return dynamic_cast<const AEntitySceneNode&>(*node).GetEntity();
}
const ASubMesh& MeshOf(const std::shared_ptr<ASceneNode>& node)
{
    return *dynamic_cast<const AMeshEntity&>(*EntityOf(node)).GetItem();
}
std::shared_ptr<AMaterial> MaterialOf(const std::shared_ptr<ASceneNode>& node)
{
    return dynamic_cast<const AFaceStyle&>(*node->GetStyle(StyleFace)).GetMaterial();
}
std::shared_ptr<AEntitySceneNode> Show(const std::shared_ptr<AEntity>& entity)
{
    auto node = std::make_shared<AEntitySceneNode>();
    node->SetEntity(entity);
    return node;
}
std::shared_ptr<ASubMesh> Triangle()
{
    auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = s_Triangle;
    mesh->IndexBuffer() = {0, 1, 2};
    Formats::FitBox(*mesh);
    return mesh;
}

// Strides, integers that stand for fractions, sparse elements and texture coordinates from the upper left corner.
TEST_F(GltfTest, AccessorsAreConverted)
{
    Bytes binary;
    for (const float x : {0.0F, 1.0F, 2.0F}) // position, then a normal of four bytes
        binary.Add(Numbers({x, 0, 0})).Byte(0).Byte(127).Byte(0x80).Byte(0);
    binary.Byte(0).Byte(255).Byte(51).Byte(0).Byte(255).Byte(0); // texture coordinates
    binary.Byte(2).Byte(1).Byte(0).Byte(0);                      // indices, of two bytes with the next
    binary.Byte(0).Byte(0).Byte(1).Byte(0).Fill(2);              // the sparse one, and filling
    binary.Add(Numbers({7, 8, 9}));
    const auto node = LoadGlb(R"("bufferViews":[{"buffer":0,"byteLength":48,"byteStride":16},
        {"buffer":0,"byteOffset":48,"byteLength":6},{"buffer":0,"byteOffset":54,"byteLength":8},
        {"buffer":0,"byteOffset":64,"byteLength":12}],
        "accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","sparse":{"count":1,
            "indices":{"bufferView":2,"byteOffset":2,"componentType":5121},"values":{"bufferView":3}}},
        {"bufferView":0,"byteOffset":12,"componentType":5120,"normalized":true,"count":3,"type":"VEC3"},
        {"bufferView":1,"componentType":5121,"normalized":true,"count":3,"type":"VEC2"},
        {"bufferView":2,"componentType":5121,"count":3,"type":"SCALAR"}],
        "meshes":[{"primitives":[{"attributes":{"POSITION":0,"NORMAL":1,"TEXCOORD_0":2},"indices":3}]}],)" +
                                  s_Node,
                              binary);
    ASSERT_TRUE(node) << testing::PrintToString(TakeErrors());
    EXPECT_EQ(MeshOf(node).VertexBuffer(), (Floats{7, 8, 9, 1, 0, 0, 2, 0, 0}));
    EXPECT_EQ(MeshOf(node).NormalBuffer(), (Floats{0, 1, -1, 0, 1, -1, 0, 1, -1}));
    EXPECT_EQ(MeshOf(node).TexCoordBuffer(), (Floats{0, 0, 51.0F / 255, 1, 1, 1}));
    EXPECT_EQ(MeshOf(node).IndexBuffer(), (Indices{2, 1, 0}));
    EXPECT_EQ(node->GetBBox(), AMath::AxisAlignedBox({1, 0, 0}, {7, 8, 9}));
}

TEST_F(GltfTest, BuffersAreFoundInTextsAndInFiles)
{
    WriteFile(Numbers(s_Triangle), "\xC3\xBC b.bin");
    for (const char* const uri :
         {"data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA", "%C3%BC%20b.bin",
          "./x/../\xC3\xBC b.bin"}) {
        PutText("a.gltf", R"({"asset":{"version":"2.0"},"buffers":[{"byteLength":36,"uri":")" + std::string(uri) +
                              "\"}]," + s_View + s_Accessor + s_Mesh + s_Node + "}");
        const auto node = LoadScene(L"gltf", "a.gltf");
        ASSERT_TRUE(node) << uri << testing::PrintToString(TakeErrors());
        EXPECT_EQ(MeshOf(node).VertexBuffer(), s_Triangle);
    }
}

struct ModeRow : TestRow
{
    int mode;
    Indices triangles;
    std::vector<Floats> edges;
};
class GltfModeTest : public GltfTest, public testing::WithParamInterface<ModeRow>
{
};

// Vertices 0 to 4 lie at x = 0 to 4 and are used in this order.
TEST_P(GltfModeTest, GivesTrianglesOrEdges)
{
    const auto node = LoadGlb(R"("bufferViews":[{"buffer":0,"byteLength":72}],
        "accessors":[{"bufferView":0,"componentType":5126,"count":6,"type":"VEC3"}],
        "meshes":[{"primitives":[{"attributes":{"POSITION":0},"mode":)" +
                                  std::to_string(GetParam().mode) + "}]}]," + s_Node,
                              Numbers({0, 0, 0, 1, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0, 4, 0, 0}));
    ASSERT_TRUE(node) << testing::PrintToString(TakeErrors());
    if (GetParam().edges.empty()) {
        EXPECT_EQ(MeshOf(node).IndexBuffer(), GetParam().triangles);
        return;
    }
    std::vector<Floats> edges;
    Formats::ForEachPlaced({node}, [&](const Formats::Placed& placed) {
        Floats along;
        for (std::size_t k = 0; k < placed.edge->VertexBuffer().size(); k += 3)
            along.push_back(placed.edge->VertexBuffer()[k]);
        edges.push_back(along);
    });
    EXPECT_EQ(edges, GetParam().edges);
}
INSTANTIATE_TEST_SUITE_P(Gltf, GltfModeTest,
                         testing::Values(ModeRow{{"Points"}, 0, {}, {}}, ModeRow{{"Lines"}, 1, {}, {{0, 1, 2}, {3, 4}}},
                                         ModeRow{{"LineLoop"}, 2, {}, {{0, 1, 1, 2, 3, 4, 0}}},
                                         ModeRow{{"LineStrip"}, 3, {}, {{0, 1, 1, 2, 3, 4}}},
                                         ModeRow{{"Triangles"}, 4, {0, 1, 2, 3, 4, 5}, {}},
                                         ModeRow{{"Strip"}, 5, {0, 1, 2, 1, 3, 2, 2, 3, 4, 3, 5, 4}, {}},
                                         ModeRow{{"Fan"}, 6, {1, 2, 0, 2, 3, 0, 3, 4, 0, 4, 5, 0}, {}}),
                         RowName<ModeRow>);

TEST_F(GltfTest, TransformsAndVisibilityOfNodes)
{
    const auto node = LoadGlb(s_View + s_Accessor + s_Mesh + R"("nodes":[{"mesh":0,"children":[1,2]},
        {"mesh":0,"translation":[5,6,7],"rotation":[0,0,0.7071067811865476,0.7071067811865476],"scale":[2,3,4]},
        {"matrix":[1,2,3,0,4,5,6,0,7,8,10,0,11,12,13,1],"extensions":{"KHR_node_visibility":{"visible":false}}}],
        "extensionsRequired":["KHR_node_visibility"])");
    ASSERT_TRUE(node) << testing::PrintToString(TakeErrors());
    const auto children = ChildrenOf(node);
    ASSERT_EQ(children.size(), 3U);
    EXPECT_EQ(EntityOf(children[0]), EntityOf(children[1]));
    // x becomes y, y becomes -x.
    const AMath::Matrix4 expected(0, 2, 0, 0, -3, 0, 0, 0, 0, 0, 4, 0, 5, 6, 7, 1);
    for (std::size_t k = 0; k < 16; ++k)
        EXPECT_NEAR(children[1]->GetTransform()[k], expected[k], 1e-12) << k;
    EXPECT_EQ(children[2]->GetTransform(), AMath::Matrix4(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 10, 0, 11, 12, 13, 1));
    EXPECT_FALSE(children[2]->IsVisible());
    EXPECT_TRUE(children[1]->IsVisible());
}

TEST_F(GltfTest, TheScenesRootsBecomeTheResult)
{
    const auto count = [&](const std::string& scenes) {
        const auto node = LoadGlb(scenes + R"("nodes":[{"children":[1]},{},{}])", Bytes("1234"));
        return node ? ChildrenOf(node).size() : 99;
    };
    EXPECT_EQ(count(""), 2U);                                             // both roots in a group
    EXPECT_EQ(count(R"("scenes":[{"nodes":[2]},{"nodes":[0,2]}],)"), 0U); // the one root itself
    EXPECT_EQ(count(R"("scene":1,"scenes":[{},{"nodes":[0,2]}],)"), 2U);
    EXPECT_EQ(count(R"("scenes":[{}],)"), 0U);
    EXPECT_THAT(TakeLosses(), ElementsAre("1 x further scenes", "2 x nodes outside the scene", "1 x further scenes",
                                          "3 x nodes outside the scene"));
}

// The same accessors are the same geometry, whatever mesh and material they are used with.
const std::string s_Shared = R"("materials":[{},{"alphaMode":"BLEND","emissiveFactor":[0.25,0.5,1],
    "pbrMetallicRoughness":{"baseColorFactor":[0.5,0.04,0.25,0.75],"metallicFactor":0.25,"roughnessFactor":0.5}}],
    "meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":0}]},
        {"primitives":[{"attributes":{"POSITION":0},"material":1}]},
        {"primitives":[{"attributes":{"POSITION":0},"material":1},{"attributes":{"POSITION":0},"material":0},
            {"attributes":{"POSITION":0},"mode":3,"material":0}]}],
    "nodes":[{"mesh":0},{"mesh":1},{"mesh":2},{"mesh":0}])";

TEST_F(GltfTest, SharedThingsAreOneObjectAndStayOne)
{
    const auto first = LoadGlb(s_View + s_Accessor + s_Shared);
    ASSERT_TRUE(first) << testing::PrintToString(TakeErrors());
    for (const auto& scene : {first, ThereAndBack(first)}) {
        ASSERT_TRUE(scene) << testing::PrintToString(TakeErrors());
        const auto nodes = ChildrenOf(scene);
        ASSERT_EQ(nodes.size(), 4U);
        const auto parts = ChildrenOf(nodes[2]);
        ASSERT_EQ(parts.size(), 3U); // each material of the faces, and the lines
        for (const auto& node : {nodes[1], nodes[3], parts[0], parts[1]})
            EXPECT_EQ(EntityOf(node), EntityOf(nodes[0]));
        EXPECT_EQ(nodes[3]->GetStyle(StyleFace), nodes[0]->GetStyle(StyleFace));
        EXPECT_EQ(parts[1]->GetStyle(StyleFace), nodes[0]->GetStyle(StyleFace));
        EXPECT_EQ(parts[0]->GetStyle(StyleFace), nodes[1]->GetStyle(StyleFace));
        EXPECT_NE(nodes[1]->GetStyle(StyleFace), nodes[0]->GetStyle(StyleFace));
        EXPECT_EQ(dynamic_cast<const AEdgeEntity&>(*EntityOf(parts[2])).GetItem()->VertexBuffer(), s_Triangle);
        EXPECT_TRUE(parts[2]->GetStyle(StyleEdge));
        EXPECT_FALSE(parts[2]->GetStyle(StyleFace));

        const AMaterial& material = *MaterialOf(nodes[1]);
        EXPECT_EQ(material.GetDiffuse(), AMath::ColourValue(0.5F, 0.04F, 0.25F, 0.75F));
        EXPECT_EQ(material.GetAmbient(), AMath::ColourValue(0.5F, 0.04F, 0.25F, 1));
        EXPECT_EQ(material.GetEmission(), AMath::ColourValue(0.25F, 0.5F, 1));
        EXPECT_FLOAT_EQ(material.GetSpecular().r, 0.155F); // a quarter of the way from 0.04 to 0.5
        EXPECT_FLOAT_EQ(material.GetSpecular().g, 0.04F);
        EXPECT_FLOAT_EQ(material.GetSpecular().b, 0.0925F);
        EXPECT_FLOAT_EQ(material.GetShininess(), 30); // 2 / 0.5^4 - 2
        EXPECT_TRUE(dynamic_cast<const AFaceStyle&>(*nodes[1]->GetStyle(StyleFace)).IsTransparent());
    }
    EXPECT_THAT(TakeLosses(), IsEmpty());
}

// A vertex buffer that many primitives cut up among them is not copied as a whole for each.
TEST_F(GltfTest, PrimitivesTakeTheirPartOfSharedVertices)
{
    Bytes binary = Numbers(s_Triangle);
    binary.Add(Numbers(s_Triangle)).Byte(3).Byte(4).Byte(5).Byte(5).Byte(0).Byte(0).Fill(2);
    const auto node =
        LoadGlb(R"("bufferViews":[{"buffer":0,"byteLength":72},{"buffer":0,"byteOffset":72,"byteLength":6}],
        "accessors":[{"bufferView":0,"componentType":5126,"count":6,"type":"VEC3"},
            {"bufferView":1,"componentType":5121,"count":3,"type":"SCALAR"},
            {"bufferView":1,"byteOffset":3,"componentType":5121,"count":3,"type":"SCALAR"}],
        "meshes":[{"primitives":[{"attributes":{"POSITION":0},"indices":1},{"attributes":{"POSITION":0},"indices":2}]}],)" +
                    s_Node,
                binary);
    ASSERT_TRUE(node) << testing::PrintToString(TakeErrors());
    const auto& items = dynamic_cast<const AMeshListEntity&>(*EntityOf(node)).GetItems();
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items.front()->VertexBuffer(), s_Triangle);
    EXPECT_EQ(items.front()->IndexBuffer(), (Indices{0, 1, 2}));
    EXPECT_EQ(items.back()->VertexBuffer(), (Floats{0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(items.back()->IndexBuffer(), (Indices{0, 1, 1}));
}

const std::string s_Textured =
    R"("bufferViews":[{"buffer":0,"byteLength":36},{"buffer":0,"byteLength":8}],)" + s_Accessor +
    R"("images":[{"uri":"a%20b/%C3%A9.png","name":"wood"},{"bufferView":1,"mimeType":"image/png","name":"../x"},
        {"uri":"data:image/jpeg;base64,/9j/4A=="}],
    "textures":[{"source":0},{"source":1},{"source":2}],
    "materials":[{"pbrMetallicRoughness":{"baseColorTexture":{"index":0}}},
        {"pbrMetallicRoughness":{"baseColorTexture":{"index":0}},"alphaMode":"MASK"},
        {"pbrMetallicRoughness":{"baseColorTexture":{"index":1}}},
        {"pbrMetallicRoughness":{"baseColorTexture":{"index":1}},"normalTexture":{"index":0}},
        {"pbrMetallicRoughness":{"baseColorTexture":{"index":2}}}],
    "meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":0},{"attributes":{"POSITION":0},"material":1},
        {"attributes":{"POSITION":0},"material":2},{"attributes":{"POSITION":0},"material":3},
        {"attributes":{"POSITION":0},"material":4}]}],)" +
    s_Node;

TEST_F(GltfTest, TexturesAreKnownByNameAndImagesInsideAreOffered)
{
    KeepImagesUnder(L"kept-");
    const auto node = LoadGlb(s_Textured, Numbers({0, 0, 0, 1, 0, 0, 0, 1, 0}));
    ASSERT_TRUE(node) << testing::PrintToString(TakeErrors());
    std::vector<std::shared_ptr<ATexture>> textures;
    for (const auto& part : ChildrenOf(node))
        textures.push_back(MaterialOf(part)->GetDiffuseTexture());
    ASSERT_EQ(textures.size(), 5U);
    EXPECT_EQ(textures[0]->GetFileName(), L"a b/\u00E9.png");
    EXPECT_EQ(textures[0]->GetName(), L"wood");
    EXPECT_FALSE(textures[0]->IsEnableMask());
    EXPECT_EQ(textures[1]->GetFileName(), textures[0]->GetFileName());
    EXPECT_TRUE(textures[1]->IsEnableMask());
    EXPECT_EQ(textures[2]->GetFileName(), L"kept-.._x.png");
    EXPECT_EQ(textures[3], textures[2]);
    EXPECT_EQ(textures[4]->GetFileName(), L"kept-a-image2.jpg");
    EXPECT_EQ(GetImages().at(L"kept-a-image2.jpg"), "\xFF\xD8\xFF\xE0");
    EXPECT_EQ(GetImages().size(), 2U);
    EXPECT_THAT(TakeLosses(), ElementsAre("1 x normal textures"));

    KeepImagesUnder(L"");
    const auto without = LoadGlb(s_Textured);
    ASSERT_TRUE(without);
    EXPECT_FALSE(MaterialOf(ChildrenOf(without)[2])->GetDiffuseTexture());
    EXPECT_THAT(TakeLosses(), ElementsAre("2 x images inside the file", "1 x normal textures"));
}

TEST_F(GltfTest, WhatHasNoPlaceIsCounted)
{
    const auto node = LoadGlb(s_View + s_Accessor + R"("extensionsUsed":["KHR_lights_punctual","KHR_materials_unlit"],
        "animations":[{},{}],"skins":[{}],"cameras":[{}],"extras":{"a":[{}]},
        "materials":[{"name":"m","doubleSided":true,"extensions":{"KHR_materials_unlit":{}},"extras":1}],
        "meshes":[{"name":"n","primitives":[{"attributes":{"POSITION":0,"COLOR_0":0,"TANGENT":0,"TEXCOORD_1":0,"_X":0},
            "material":0,"targets":[{}]}]},{"primitives":[]}],
        "nodes":[{"mesh":0,"name":"o"}])");
    ASSERT_TRUE(node) << testing::PrintToString(TakeErrors());
    EXPECT_THAT(TakeLosses(),
                ElementsAre("2 x animations", "1 x cameras", "1 x double-sided materials",
                            "1 x extension KHR_lights_punctual", "2 x extras", "1 x further texture coordinates",
                            "1 x meshes outside the scene", "1 x morph targets", "1 x names of materials",
                            "1 x names of meshes", "1 x names of nodes", "1 x skins", "1 x tangents",
                            "1 x unlit materials", "1 x vertex attribute _X", "1 x vertex colours"));
}

struct ErrorRow : TestRow
{
    std::string members;
    std::string error;
};
class GltfErrorTest : public GltfTest, public testing::WithParamInterface<ErrorRow>
{
};

TEST_P(GltfErrorTest, SaysWhatIsWrongAndWhere)
{
    EXPECT_FALSE(LoadGlb(GetParam().members));
    EXPECT_THAT(TakeErrors(), ElementsAre(GetParam().error));
}

ErrorRow ViewRow(const char* what, const std::string& view, const std::string& error)
{
    return {{what}, "\"bufferViews\":[" + view + "]," + s_Accessor + s_Mesh + s_Node, error};
}
ErrorRow AccessorRow(const char* what, const std::string& accessor, const std::string& error)
{
    return {{what},
            s_View + R"("accessors":[{"componentType":5126,"type":"VEC3",)" + accessor + "}]," + s_Mesh + s_Node,
            error};
}
/// The positions' bytes as indices or as anything else.
ErrorRow PrimitiveRow(const char* what, const std::string& accessor, const std::string& primitive,
                      const std::string& error)
{
    return {{what},
            s_View + R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"},{"bufferView":0,)" +
                accessor + R"(}],"meshes":[{"primitives":[{"attributes":{"POSITION":0)" + primitive + "}]}]," + s_Node,
            error};
}

INSTANTIATE_TEST_SUITE_P(
    Documents, GltfErrorTest,
    testing::Values(
        ErrorRow{{"WrongType"}, R"("nodes":{})", "nodes: should be an array and is an object"},
        ErrorRow{{"MissingMember"}, R"("meshes":[{}])", "meshes[0].primitives: is missing"},
        ErrorRow{{"Negative"}, R"("nodes":[{"mesh":-1}])", "nodes[0].mesh: should be a whole number from 0 on"},
        ErrorRow{{"Dangling"}, R"("nodes":[{},{"mesh":3}])", "nodes[1].mesh: is 3, there are 0 meshes"},
        ErrorRow{{"TwiceTheSameName"}, R"("nodes":[{"mesh":0,"mesh":0}])", "nodes[0].mesh: is there twice"},
        ErrorRow{
            {"TooDeep"},
            R"("a":[{},)" + std::string(300, '['),
            "a[1][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0]..."
            "][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0][0]: "
            "arrays and objects are nested deeper than 200 levels"},
        ErrorRow{{"NumberBeyondBounds"}, R"("a":1e999)", "byte 85: a number beyond all bounds: \"1e999\""},
        ErrorRow{{"RequiredExtensions"},
                 R"("extensionsRequired":["KHR_mesh_quantization","KHR_a","B C"])",
                 "extensionsRequired: the file cannot be read without KHR_a, \"B C\""},
        ErrorRow{{"OwnAncestor"},
                 R"("nodes":[{},{"children":[2]},{"children":[3]},{"children":[1]}])",
                 "nodes[1]: is its own ancestor"},
        ErrorRow{{"TwoParents"},
                 R"("nodes":[{"children":[2]},{"children":[2]},{}])",
                 "nodes[2]: is a child of both nodes[0] and nodes[1]"},
        ErrorRow{{"SceneOfAChild"},
                 R"("scenes":[{"nodes":[1]}],"nodes":[{"children":[1]},{}])",
                 "scenes[0].nodes[0]: nodes[1] is no root: it is a child of nodes[0]"},
        ErrorRow{
            {"RootTwice"}, R"("scenes":[{"nodes":[0,0]}],"nodes":[{}])", "scenes[0].nodes[1]: nodes[0] is there twice"},
        ErrorRow{{"ShortMatrix"}, R"("nodes":[{"matrix":[1,0]}])", "nodes[0].matrix: should have 16 numbers and has 2"},
        ErrorRow{{"Perspective"},
                 R"("nodes":[{"matrix":[1,0,0,0.5,0,1,0,0,0,0,1,0,0,0,0,1]}])",
                 "nodes[0].matrix: element 3 should be 0"},
        ErrorRow{{"NoRotation"}, R"("nodes":[{"rotation":[0,0,0,0]}])", "nodes[0].rotation: has no direction"},
        ErrorRow{{"TransformBeyondBounds"},
                 R"("nodes":[{"scale":[1,1e39,1]}])",
                 "nodes[0].scale[1]: is beyond what a float holds"},
        ErrorRow{{"Draco"},
                 R"("accessors":[{"componentType":5126,"count":3,"type":"VEC3"}],"meshes":[{"primitives":[
                    {"attributes":{"POSITION":0},"extensions":{"KHR_draco_mesh_compression":{}}}]}],)" +
                     s_Node,
                 "meshes[0].primitives[0]: is compressed by KHR_draco_mesh_compression, which is not read"},
        ErrorRow{{"FloatBeyondBounds"},
                 R"("materials":[{"emissiveFactor":[1e39,0,0]}],)" + s_View + s_Accessor +
                     R"("meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":0}]}],)" + s_Node,
                 "materials[0].emissiveFactor[0]: is beyond what a float holds"}),
    RowName<ErrorRow>);
INSTANTIATE_TEST_SUITE_P(
    Numbers, GltfErrorTest,
    testing::Values(
        ViewRow("ViewBeyondBuffer", R"({"buffer":0,"byteOffset":4,"byteLength":36})",
                "bufferViews[0]: 36 bytes from byte 4 on do not fit into buffers[0], which has 36"),
        ViewRow("ViewThatWraps", R"({"buffer":0,"byteOffset":9007199254740992,"byteLength":9007199254740992})",
                "bufferViews[0]: 9007199254740992 bytes from byte 9007199254740992 on do not fit into buffers[0], "
                "which has 36"),
        ViewRow("OddStride", R"({"buffer":0,"byteLength":36,"byteStride":6})",
                "bufferViews[0].byteStride: is 6 and should be a multiple of 4 from 4 to 252"),
        ViewRow("Overlapping", R"({"buffer":0,"byteLength":36,"byteStride":8})",
                "accessors[0]: elements of 12 bytes overlap at a stride of 8"),
        AccessorRow("AccessorBeyondView", R"("bufferView":0,"count":4)",
                    "accessors[0]: 4 elements end at byte 48 of a buffer view of 36"),
        AccessorRow("HugeCount", R"("bufferView":0,"count":9007199254740992)",
                    "accessors[0]: 9007199254740992 elements end at byte 108086391056891904 of a buffer view of 36"),
        AccessorRow("NoElements", R"("bufferView":0,"count":0)", "accessors[0].count: should be at least 1"),
        AccessorRow("Misaligned", R"("bufferView":0,"byteOffset":2,"count":2)",
                    "accessors[0]: does not begin at a multiple of its components' size, 4"),
        AccessorRow("ZerosForNothing", R"("count":100000000)",
                    "the scene would take more than 1144 MB in memory, out of proportion to the file"),
        AccessorRow("FallingSparse",
                    R"("bufferView":0,"count":3,"sparse":{"count":2,"indices":{"bufferView":0,"componentType":5125},
                        "values":{"bufferView":0}})",
                    "accessors[0].sparse.indices: number 1 is 0: they should rise and be less than 3"),
        PrimitiveRow("IndexBeyondVertices", R"("byteOffset":12,"componentType":5121,"count":4,"type":"SCALAR")",
                     R"(},"indices":1)", "meshes[0].primitives[0].indices: index 2 is 128, there are 3 vertices"),
        PrimitiveRow("IndexType", R"("componentType":5126,"count":3,"type":"SCALAR")", R"(},"indices":1)",
                     "accessors[1].componentType: is 5126, which is no component type of indices"),
        PrimitiveRow("VectorType", R"("componentType":5126,"count":3,"type":"VEC2")", R"(,"NORMAL":1})",
                     "accessors[1].type: should be VEC3 and is \"VEC2\""),
        PrimitiveRow("OtherCount", R"("componentType":5126,"count":2,"type":"VEC3")", R"(,"NORMAL":1})",
                     "meshes[0].primitives[0].attributes.NORMAL: has 2 elements, POSITION has 3"),
        PrimitiveRow("Mode", R"("componentType":5126,"count":3,"type":"VEC3")", R"(},"mode":7)",
                     "meshes[0].primitives[0].mode: is 7, which is no mode of primitives")),
    RowName<ErrorRow>);

struct FileRow : TestRow
{
    std::string text;
    std::string error;
};
class GltfFileErrorTest : public GltfTest, public testing::WithParamInterface<FileRow>
{
};

TEST_P(GltfFileErrorTest, SaysWhatIsWrongAndWhere)
{
    PutText("a.gltf", GetParam().text);
    EXPECT_FALSE(LoadScene(L"gltf", "a.gltf"));
    EXPECT_THAT(TakeErrors(), ElementsAre(GetParam().error));
}

FileRow BufferRow(const char* what, const std::string& uri, const std::string& error)
{
    return {{what},
            R"({"asset":{"version":"2.0"},"buffers":[{"byteLength":36,"uri":")" + uri + "\"}]," + s_View + s_Accessor +
                s_Mesh + s_Node + "}",
            error};
}

INSTANTIATE_TEST_SUITE_P(
    Gltf, GltfFileErrorTest,
    testing::Values(
        FileRow{{"Empty"}, "", "is empty"},
        FileRow{{"NoJson"}, "{\"asset\":]", "byte 9: no valid JSON ends with \"\"asset\":]\""},
        FileRow{{"FirstVersion"},
                R"({"asset":{"version":"1.0"},"buffers":{}})",
                "asset.version: version \"1.0\" of glTF is not read, only 2.0"},
        FileRow{{"LaterVersion"},
                R"({"asset":{"version":"2.1","minVersion":"2.1"}})",
                "asset.minVersion: takes a reader of version \"2.1\", this is one of 2.0"},
        FileRow{{"Meshopt"},
                R"({"asset":{"version":"2.0"},"buffers":[{"byteLength":36,"extensions":{"EXT_meshopt_compression":{}}}],
                    "bufferViews":[{"buffer":0,"byteLength":36,"extensions":{"EXT_meshopt_compression":{}}}],)" +
                    s_Accessor + s_Mesh + s_Node + "}",
                "bufferViews[0]: is compressed by EXT_meshopt_compression, which is not read"},
        BufferRow("Base64", "data:;base64,AA*A", "buffers[0].uri: is no valid data URI"),
        BufferRow("ShortData", "data:;base64,AAAA", "buffers[0]: should have 36 bytes, 3 are there"),
        BufferRow("Parent", "a/../%2E%2E/b.bin",
                  "buffers[0].uri: the file \"a/../../b.bin\" is not in the folder of the model or below it"),
        BufferRow("Zero", "b%00.bin",
                  "buffers[0].uri: the file \"b\\x0000.bin\" is not in the folder of the model or below it"),
        BufferRow("Scheme", "https://b", "buffers[0].uri: does not lead to a file in the folder: \"https://b\""),
        BufferRow("Missing", "b.bin",
                  "buffers[0].uri: the file \"b.bin\" cannot be opened: No such file or directory")),
    RowName<FileRow>);

// A file that ends anywhere is an error with a place, never less than all of the scene.
TEST_F(GltfTest, EveryShorterFileIsRefused)
{
    const Bytes whole = Glb(s_View + s_Accessor + s_Shared, Numbers(s_Triangle));
    for (std::size_t size = 0; size < whole.Size(); ++size) {
        WriteFile(whole.First(size), "cut.glb");
        EXPECT_FALSE(LoadScene(L"gltf", "cut.glb")) << size;
        EXPECT_EQ(TakeErrors().size(), 1U) << size;
    }
}

// What references multiply is bounded by the size of the file.
TEST_F(GltfTest, ASmallFileDoesNotBecomeALargeScene)
{
    const auto list = [](const std::string& element, int count) {
        std::string text = "[" + element;
        while (--count > 0)
            text += "," + element;
        return text + "]";
    };
    std::string primitives = R"({"attributes":{"POSITION":0},"material":0})";
    for (int k = 1; k < 2'000; ++k)
        primitives += R"(,{"attributes":{"POSITION":0},"material":)" + std::to_string(k) + "}";
    EXPECT_FALSE(LoadGlb(s_View + s_Accessor + "\"materials\":" + list("{}", 2'000) + ",\"meshes\":[{\"primitives\":[" +
                         primitives + "]}],\"nodes\":" + list("{\"mesh\":0}", 2'000)));
    EXPECT_THAT(TakeErrors(), ElementsAre(testing::HasSubstr("out of proportion to the file")));
    EXPECT_FALSE(LoadGlb("\"nodes\":" + list("{}", 200'000)));
    EXPECT_THAT(TakeErrors(), ElementsAre(testing::HasSubstr("out of proportion to the file")));
}

TEST_F(GltfTest, AGlbIsWrittenAsTheFormatDemands)
{
    auto mesh = Triangle();
    mesh->NormalBuffer() = {0, 0, 1, 0, 0, 1, 0, 0, 5};
    mesh->TexCoordBuffer() = {0, 0, 1, 0, 0, 1};
    const auto node = Show(Formats::MakeEntity({mesh}, {}));
    node->SetVisible(false);
    node->SetTransform({2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0.1, 0, 0, 1});
    Export(L"glb", {node}, "a.glb");
    EXPECT_THAT(TakeLosses(), ElementsAre("1 x lengths of normals other than 1"));

    std::string json = R"({"asset":{"version":"2.0","generator":"LumvoData"},
"extensionsUsed":["KHR_node_visibility"],
"scene":0,
"scenes":[{"nodes":[0]}],
"nodes":[
{"matrix":[2,0,0,0,0,2,0,0,0,0,2,0,0.1,0,0,1],"mesh":0,"extensions":{"KHR_node_visibility":{"visible":false}}}],
"meshes":[
{"primitives":[{"attributes":{"POSITION":0,"NORMAL":1,"TEXCOORD_0":2},"indices":3}]}],
"accessors":[
{"bufferView":0,"byteOffset":0,"componentType":5126,"type":"VEC3","count":3,"min":[0,0,0],"max":[1,1,0]},
{"bufferView":1,"byteOffset":0,"componentType":5126,"type":"VEC3","count":3},
{"bufferView":2,"byteOffset":0,"componentType":5126,"type":"VEC2","count":3},
{"bufferView":3,"byteOffset":0,"componentType":5123,"type":"SCALAR","count":3}],
"bufferViews":[
{"buffer":0,"byteOffset":0,"byteLength":36,"byteStride":12,"target":34962},
{"buffer":0,"byteOffset":36,"byteLength":36,"byteStride":12,"target":34962},
{"buffer":0,"byteOffset":72,"byteLength":24,"byteStride":8,"target":34962},
{"buffer":0,"byteOffset":96,"byteLength":6,"target":34963}],
"buffers":[{"byteLength":102}]}
)";
    json.resize((json.size() + 3) / 4 * 4, ' ');
    const auto size = static_cast<std::int64_t>(json.size());
    Bytes expected = Bytes("glTF").Int(2).Int(28 + size + 104).Int(size).Add(Bytes("JSON" + json)).Int(104);
    expected.Add(Bytes(std::string("BIN\0", 4))).Add(Numbers(s_Triangle)).Add(Numbers({0, 0, 1, 0, 0, 1, 0, 0, 1}));
    expected.Add(Numbers({0, 1, 1, 1, 0, 0})).Byte(0).Byte(0).Byte(1).Byte(0).Byte(2).Byte(0).Fill(2);
    EXPECT_EQ(GetText("a.glb"), expected.Data());
}

TEST_F(GltfTest, WhatAGlbCannotHoldIsCountedAndTheRestComesBack)
{
    auto polygon = std::make_shared<ASubPolygon>();
    polygon->VertexBuffer() = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    auto face = std::make_shared<APolygonEntity>();
    face->SetItem(polygon);
    auto edge = std::make_shared<ASubEdge>();
    edge->VertexBuffer() = {0, 0, 0, 1, 2, 3};
    auto cloud = std::make_shared<ASubMesh>();
    cloud->VertexBuffer() = {4, 5, 6};
    auto all = std::make_shared<AGroupEntity>();
    all->AddEntity(face);
    all->AddEntity(Formats::MakeEntity({cloud}, {edge}));
    all->AddEntity(std::make_shared<ATextListEntity>());

    auto plain = std::make_shared<AFaceStyle>();
    plain->SetColor({0.25F, 0.5F, 2, 1});
    const auto shared = std::make_shared<AGroupSceneNode>();
    shared->AddChildNode(Show(all));
    shared->SetId(3);
    const auto root = std::make_shared<AGroupSceneNode>();
    root->SetStyle(StyleFace, plain);
    root->SetStyle(StyleEdge, std::make_shared<ALineStyle>(2.5F, AMath::ColourValue(1, 0, 0)));
    root->AddChildNode(shared);
    root->AddChildNode(shared);
    const auto back = ThereAndBack(root);
    ASSERT_TRUE(back) << testing::PrintToString(TakeErrors());
    EXPECT_THAT(TakeLosses(), ElementsAre("2 x further uses of shared nodes, written as copies", "2 x ids of nodes",
                                          "1 x parts of colours beyond 0 to 1", "1 x polygons, written as triangles",
                                          "1 x widths of lines"));
    const auto copies = ChildrenOf(back);
    ASSERT_EQ(copies.size(), 2U);
    const auto one = ChildrenOf(copies[0]).front();
    EXPECT_EQ(EntityOf(one), EntityOf(ChildrenOf(copies[1]).front()));
    const auto& topo = dynamic_cast<const ATopoEntity&>(*EntityOf(one));
    ASSERT_EQ(topo.GetFaces()->GetItems().size(), 2U);
    EXPECT_EQ(topo.GetFaces()->GetItems().front()->IndexBuffer().size(), 6U);
    EXPECT_EQ(topo.GetFaces()->GetItems().back()->VertexBuffer(), cloud->VertexBuffer());
    EXPECT_EQ(topo.GetEdges()->GetItems().front()->VertexBuffer(), edge->VertexBuffer());
    EXPECT_EQ(one->GetStyle(StyleFace)->GetColor(), AMath::ColourValue(0.25F, 0.5F, 1, 1));
    EXPECT_EQ(one->GetStyle(StyleEdge)->GetColor(), AMath::ColourValue(1, 0, 0));
}

TEST_F(GltfTest, AGltfFileHasItsNumbersBesideIt)
{
    const auto node = Show(Formats::MakeEntity({Triangle()}, {}));
    Export(L"gltf", {node, Show(nullptr)}, "\xC3\xA9 1.gltf");
    EXPECT_THAT(GetText("\xC3\xA9 1.gltf"), testing::HasSubstr(R"("uri":"%C3%A9%201.bin")"));
    const auto back = LoadScene(L"gltf", "\xC3\xA9 1.gltf");
    ASSERT_TRUE(back) << testing::PrintToString(TakeErrors());
    ASSERT_EQ(ChildrenOf(back).size(), 2U);
    EXPECT_EQ(MeshOf(ChildrenOf(back)[0]).VertexBuffer(), s_Triangle);

    Export(L"gltf", {node}, "bad\xFF.gltf");
    EXPECT_TRUE(LoadScene(L"gltf", "bad\xFF.gltf")) << testing::PrintToString(TakeErrors());

    Export(L"glb", {}, "none.glb");
    EXPECT_TRUE(ChildrenOf(LoadScene(L"gltf", "none.glb")).empty());
}

// What reading makes of a file is written in such a way that the next round changes nothing.
TEST_F(GltfTest, FurtherRoundsChangeNothing)
{
    auto scene = LoadGlb(s_View + s_Accessor + R"("materials":[{"pbrMetallicRoughness":{
        "baseColorFactor":[0.8,0.61,0.37,1],"metallicFactor":0.5539389,"roughnessFactor":0.317}}],
        "meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":0}]}],)" +
                         s_Node);
    ASSERT_TRUE(scene) << testing::PrintToString(TakeErrors());
    scene = ThereAndBack(scene);
    const std::string first = GetText("back.glb");
    (void)ThereAndBack(scene);
    EXPECT_EQ(GetText("back.glb"), first);
}

struct RefusedRow : TestRow
{
    void (*damage)(AEntitySceneNode& node, ASubMesh& mesh);
    const char* error;
};
class GltfRefusedTest : public GltfTest, public testing::WithParamInterface<RefusedRow>
{
};

TEST_P(GltfRefusedTest, ASceneThatMakesNoValidFile)
{
    const auto mesh = Triangle();
    const auto node = Show(Formats::MakeEntity({mesh}, {}));
    GetParam().damage(*node, *mesh);
    try {
        Export(L"glb", {Show(nullptr), node}, "a.glb");
        FAIL() << "was written";
    } catch (const Formats::FormatError& error) {
        EXPECT_STREQ(error.what(), GetParam().error);
    }
}
constexpr float s_NaN = std::numeric_limits<float>::quiet_NaN();
INSTANTIATE_TEST_SUITE_P(Gltf, GltfRefusedTest,
                         testing::Values(RefusedRow{{"NotFinite"},
                                                    [](auto&, ASubMesh& mesh) { mesh.VertexBuffer()[4] = s_NaN; },
                                                    "nodes[1]: positions are not all finite"},
                                         RefusedRow{{"Index"},
                                                    [](auto&, ASubMesh& mesh) { mesh.IndexBuffer()[1] = 3; },
                                                    "nodes[1]: index 1 of a mesh is 3, it has 3 vertices"},
                                         RefusedRow{{"TwoCorners"},
                                                    [](auto&, ASubMesh& mesh) { mesh.IndexBuffer().pop_back(); },
                                                    "nodes[1]: a mesh has 2 indices, which make no whole triangles"},
                                         RefusedRow{{"Normals"},
                                                    [](auto&, ASubMesh& mesh) {
                                                        mesh.NormalBuffer() = {0, 0, 1};
                                                    },
                                                    "nodes[1]: 3 numbers make no normals for 3 vertices"},
                                         RefusedRow{{"Coordinates"},
                                                    [](auto&, ASubMesh& mesh) { mesh.VertexBuffer().pop_back(); },
                                                    "nodes[1]: 8 numbers make no positions"},
                                         RefusedRow{
                                             {"Perspective"},
                                             [](AEntitySceneNode& node, auto&) {
                                                 node.SetTransform({1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
                                             },
                                             "nodes[1]: the transform has a perspective part, which glTF cannot hold"}),
                         RowName<RefusedRow>);
} // namespace
