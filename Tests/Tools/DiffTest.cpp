#include <Tests/Support/TestRow.h>
#include <Tests/Tools/ToolTest.h>

#include <gmock/gmock.h>

using namespace Kelvra;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

/// A group with two nodes that show one list of two meshes, each node with a style of its own.
struct Scene
{
    std::vector<std::shared_ptr<ASubMesh>> meshes = {Mesh(), Mesh()};
    std::shared_ptr<AMeshListEntity> list = std::make_shared<AMeshListEntity>();
    std::vector<std::shared_ptr<AEntitySceneNode>> nodes = {Node(), Node()};
    std::shared_ptr<AGroupSceneNode> root = std::make_shared<AGroupSceneNode>();

    Scene()
    {
        for (const auto& mesh : meshes)
            list->AddItem(mesh);
        for (const auto& node : nodes) {
            node->SetEntity(list);
            root->AddChildNode(node);
        }
    }
    static std::shared_ptr<ASubMesh> Mesh()
    {
        auto mesh = std::make_shared<ASubMesh>();
        mesh->VertexBuffer() = {0, 0, 0, 1000, 0, std::numeric_limits<float>::quiet_NaN(), 0, 1, 0};
        mesh->IndexBuffer() = {0, 1, 2};
        return mesh;
    }
    static std::shared_ptr<AEntitySceneNode> Node()
    {
        auto node = std::make_shared<AEntitySceneNode>();
        node->SetStyle(StyleEdge, std::make_shared<ALineStyle>(2.0F, AMath::ColourValue::Red));
        return node;
    }
};

class Diff : public ToolTest
{
public:
    void Put(const std::string& name, const Scene& scene) const { SaveScene(name, {scene.root}); }
};

struct Change : TestRow
{
    std::function<void(Scene&)> make;
    Lumvo::Json difference; ///< The only one.
};
class Changes : public Diff, public testing::WithParamInterface<Change>
{
};

Lumvo::Json Differs(const char* kind, const char* className, const char* member, const char* path, const char* a,
                    const char* b, int count = 1)
{
    return {{"kind", kind}, {"class", className}, {"member", member}, {"path", path}, {"a", a},
            {"b", b},       {"count", count}};
}
} // namespace

TEST_P(Changes, AreTold)
{
    Scene changed;
    GetParam().make(changed);
    Put("a", Scene());
    Put("b", changed);
    const Outcome outcome = Lumvo("diff --json a b");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.Json()["same"], false);
    EXPECT_EQ(outcome.Json()["differences"], Lumvo::Json::array({GetParam().difference}));
}
INSTANTIATE_TEST_SUITE_P(
    Diff, Changes,
    testing::Values(
        Change{{"Integer"},
               [](Scene& scene) { scene.list->SetTag(7); },
               Differs("value", "AMeshListEntity", "tag", "roots[0].children[0].entity", "-1", "7")},
        Change{{"ManyNumbers"},
               [](Scene& scene) {
                   for (const auto& mesh : scene.meshes)
                       mesh->VertexBuffer() = {0, 0.5F, 0, 1001, 0, std::numeric_limits<float>::quiet_NaN(), 0, 1, 0};
               },
               Differs("value", "ASubMesh", "vertices", "roots[0].children[0].entity.items[0]",
                       "0.0 at [1], the first of 2", "0.5 at [1], the first of 2", 2)},
        Change{
            {"MoreNumbers"},
            [](Scene& scene) {
                scene.meshes[1]->NormalBuffer() = {0, 0, 1};
            },
            Differs("value", "ASubMesh", "normals", "roots[0].children[0].entity.items[1]", "0 numbers", "3 numbers")},
        Change{{"OtherClass"},
               [](Scene& scene) { scene.nodes[1]->SetStyle(StyleEdge, std::make_shared<AFaceStyle>()); },
               Differs("class", "", "styles", "roots[0].children[1].styles[1]", "ALineStyle", "AFaceStyle")},
        Change{
            {"Fewer"},
            [](Scene& scene) { scene.list->GetItems().pop_back(); },
            Differs("count", "AMeshListEntity", "items", "roots[0].children[0].entity", "2 references", "1 reference")},
        Change{{"Absent"},
               [](Scene& scene) { scene.nodes[0]->SetStyle(StyleEdge, nullptr); },
               Differs("presence", "", "styles", "roots[0].children[0].styles[1]", "ALineStyle", "none")},
        Change{{"Copied"},
               [](Scene& scene) {
                   auto copy = std::make_shared<AMeshListEntity>();
                   copy->SetBBox(scene.list->GetBBox());
                   for (const auto& mesh : scene.meshes)
                       copy->AddItem(mesh);
                   scene.nodes[1]->SetEntity(copy);
               },
               Differs("sharing", "AMeshListEntity", "", "roots[0].children[1].entity", "shared with another place",
                       "an object of its own")},
        Change{{"Shared"},
               [](Scene& scene) { scene.nodes[1]->SetStyle(StyleEdge, scene.nodes[0]->GetStyle(StyleEdge)); },
               Differs("sharing", "ALineStyle", "", "roots[0].children[1].styles[1]", "an object of its own",
                       "shared with another place")}),
    RowName<Change>);

TEST_F(Diff, TakesNumbersForAlikeWithinTheTolerance)
{
    Scene changed;
    changed.meshes[0]->VertexBuffer()[1] = 0.009F;
    changed.meshes[0]->VertexBuffer()[3] = 1009;
    Put("a", Scene());
    Put("b", changed);
    EXPECT_EQ(Lumvo("diff a a").code, 0) << "a NaN is like itself";
    EXPECT_THAT(Lumvo("diff a b").out, AllOf(HasSubstr("value roots[0].children[0].entity.items[0]: ASubMesh.vertices\n"
                                                       "  a  0.0 at [1], the first of 2\n"),
                                             EndsWith("a and b: they differ\n")));
    EXPECT_EQ(Lumvo("diff --tolerance 0.001 a b").code, 1);
    EXPECT_EQ(Lumvo("diff --tolerance 0.01 a b").code, 0);
    changed.meshes[0]->VertexBuffer()[0] = std::numeric_limits<float>::infinity();
    changed.list->SetTag(0);
    Put("b", changed);
    EXPECT_EQ(Lumvo("diff --json --tolerance 10 a b").Json()["differences"].size(), 2U)
        << "nothing is near infinity, and integers are alike or not";
    EXPECT_EQ(Lumvo("diff a missing").code, 3);
}

// Of a class that only its module knows all is compared: its record, what it shares, and what nobody else sees.
TEST_F(Diff, TakesNothingForGrantedOfAModulesClasses)
{
    std::filesystem::create_symlink(PLAIN_MODULE, Folder() / "plain.so");
    const auto differences = [&](const std::string& a, const std::string& b) {
        PutFile("a.plain", Bytes(a));
        PutFile("b.plain", Bytes(b));
        const Lumvo::Json all = Lumvo("diff --json --plugins . a.plain b.plain").Json()["differences"];
        return all.empty() ? Lumvo::Json() : all.size() > 1 ? all : all[0];
    };
    EXPECT_EQ(differences("N1one", "N1one"), nullptr);
    EXPECT_EQ(differences("N1one", "N2one"),
              Differs("record", "ANotedEntity", "", "roots[0].entity", "1 byte, 49 at [0]", "1 byte, 50 at [0]"));
    EXPECT_EQ(differences("N1one", "N1two"),
              Differs("value", "ASubText", "text", "roots[0].entity.reference", "\"one\"", "\"two\""));
}

class Merge : public Diff
{
};

TEST_F(Merge, PutsScenesUnderOneRoot)
{
    Put("a", Scene());
    Put("b", Scene());
    const Lumvo::Json plain = Lumvo("merge -q --json a b both.scene").Json();
    EXPECT_EQ(plain["in"][1]["objects"], 8);
    EXPECT_EQ(plain["objects"], 3 + 2 * 8);
    const Lumvo::Json info = Lumvo("info --json both.scene").Json();
    EXPECT_EQ(info["rootReferences"], 1);
    EXPECT_EQ(info["classes"]["AGroupSceneNode"]["objects"], 3 + 2);

    const Lumvo::Json shared = Lumvo("merge -q --json --dedupe a b both.scene").Json();
    EXPECT_EQ(shared["duplicates"]["styles"], 3);
    EXPECT_EQ(shared["duplicates"]["entities"], 1);
    EXPECT_EQ(Lumvo("check --json both.scene").Json()["errors"], 0);
}

TEST_F(Merge, FailsWithoutTouchingWhatWasThere)
{
    Put("a", Scene());
    PutFile("both.scene", Bytes("kept"));
    EXPECT_EQ(Lumvo("merge -q a missing both.scene").code, 3);
    EXPECT_EQ(Lumvo("merge -q a both.scene").code, 2);
    EXPECT_EQ(GetFile("both.scene"), Bytes("kept"));
    EXPECT_THAT(Files(), ElementsAre("a", "both.scene"));
}

class Materials : public ToolTest
{
};

TEST_F(Materials, ShowsTheTableAndReadsXmlBack)
{
    const Lumvo::Json all = Lumvo("materials --json").Json();
    ASSERT_EQ(all.size(), 24U);
    const auto gold = std::find_if(all.begin(), all.end(), [](const auto& one) { return one["name"] == "gold"; });
    ASSERT_NE(gold, all.end());
    ASSERT_EQ(Lumvo("materials --xml gold > gold.xml").code, 0);
    Lumvo::Json read = Lumvo("materials --json --read gold.xml").Json();
    EXPECT_EQ(read["name"], nullptr);
    read["name"] = "gold";
    EXPECT_EQ(read, *gold);
    EXPECT_THAT(Shell(LUMVO_PROGRAM " materials --read - < gold.xml").out, HasSubstr("shininess  51.2\n"));

    EXPECT_THAT(Lumvo("materials").out, AllOf(HasSubstr("gold"), Not(HasSubstr("\x1B"))));
    EXPECT_THAT(Lumvo("--color always materials").out + Lumvo("materials --color always").out, HasSubstr("\x1B[48;2;"));
    EXPECT_EQ(Lumvo("materials --xml unobtainium").code, 2);
    PutFile("other.xml", Bytes("<a/>"));
    EXPECT_EQ(Lumvo("materials --read other.xml").code, 3);
    EXPECT_EQ(Lumvo("materials --read missing.xml").code, 3);
}
