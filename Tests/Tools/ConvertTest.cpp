#include <Tests/Tools/ToolTest.h>
#include <Tools/Dedupe.h>
#include <Tools/DemoScene.h>
#include <Tools/Modules.h>
#include <Tools/OutputFiles.h>
#include <Tools/Progress.h>

#include <gmock/gmock.h>

#include <cstring>
#include <map>

using namespace Kelvra;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Property;

namespace {

constexpr const char* s_Square = "v 0 0 0\nv 2 0 0\nv 2 2 0\nv 0 2 0\nf 1 2 3 4\n";

class Convert : public ToolTest
{
public:
    /// Puts a module that knows nothing of this program, and one that is none, into a folder.
    Convert()
    {
        std::filesystem::create_directory(Folder() / "modules");
        std::filesystem::create_symlink(PLAIN_MODULE, Folder() / "modules" / "plain.so");
        PutFile("modules/broken.so", Bytes("no library"));
        PutFile("modules/read.me", Bytes("nor is this"));
        PutFile("a.plain", Bytes("T"));
        PutFile("square.obj", Bytes(s_Square));
    }
    [[nodiscard]] std::map<std::string, int> ClassesOf(const std::string& file) const
    {
        std::map<std::string, int> classes;
        const Lumvo::Json info = Lumvo("info --json '" + file + "'").Json();
        for (const auto& [name, entry] : info["classes"].items())
            classes[name] = entry["objects"];
        return classes;
    }
};

TEST_F(Convert, FindsModulesAndExplainsThoseThatFail)
{
    const Outcome listed = Lumvo("formats -v --plugins modules");
    EXPECT_EQ(listed.code, 1) << "one module is broken";
    EXPECT_THAT(listed.out, testing::ContainsRegex("plain +Plain \u00E9\u4E2D +"));
    EXPECT_THAT(listed.out, HasSubstr("*.plain; *.pln"));
    EXPECT_THAT(listed.out, HasSubstr("broken.so: not loaded: "));
    EXPECT_THAT(listed.out, Not(HasSubstr("read.me")));
    EXPECT_THAT(listed.out, HasSubstr("libLumvoFormatObj.so: loaded, 3 services"));
    EXPECT_LT(listed.out.find("--plugins  "), listed.out.find("installation  ")) << "the order of the search";

    EXPECT_THAT(Lumvo("formats --plugins modules").err, HasSubstr("1 module could not be loaded"));
    const Lumvo::Json fromPath = Shell("LUMVO_PLUGIN_PATH=/nowhere:modules " LUMVO_PROGRAM " formats --json").Json();
    EXPECT_EQ(fromPath["tried"][0]["from"], "LUMVO_PLUGIN_PATH");
    EXPECT_EQ(fromPath["tried"][0]["reason"], "No such file or directory");
    EXPECT_EQ(Lumvo("formats").code, 0);
    EXPECT_EQ(Lumvo("formats --plugins nowhere").code, 3);
}

// A module that tells nothing but through the library's own interfaces works in every verb.
TEST_F(Convert, LoadsThroughModulesOfOthers)
{
    EXPECT_THAT(Lumvo("info --plugins modules a.plain").out, HasSubstr("AMeshEntity                  1"));
    EXPECT_THAT(Lumvo("tree --plugins modules a.plain").out, HasSubstr("1 triangle"));
    EXPECT_EQ(Lumvo("convert -q --plugins modules a.plain a.scene").code, 0);
    EXPECT_EQ(ClassesOf("a.scene"),
              (std::map<std::string, int>{{"AEntitySceneNode", 1}, {"AMeshEntity", 1}, {"ASubMesh", 1}}));

    PutFile("b.PLN", Bytes("F"));
    PutFile("mute.plain", Bytes("T"));
    const Outcome refused = Lumvo("convert --plugins modules a.plain b.PLN a.scene");
    EXPECT_EQ(refused.code, 3);
    EXPECT_THAT(refused.err, HasSubstr("b.PLN: cannot be loaded: No T!"));
    EXPECT_THAT(Lumvo("info --plugins modules mute.plain").err, HasSubstr("does not say why"));
    EXPECT_EQ(ClassesOf("a.scene").size(), 3U) << "the file of the first run";

    PutFile("thrown.plain", Bytes("X"));
    EXPECT_THAT(Lumvo("info --plugins modules thrown.plain").err,
                HasSubstr("thrown.plain: cannot be loaded: \\x001B[31m\uFFFD\n"));
    EXPECT_EQ(Lumvo("info --json --plugins modules thrown.plain").Json()["error"],
              "cannot be loaded: \\x001B[31m\uFFFD");
}

TEST_F(Convert, PutsModelsAndScenesIntoOneScene)
{
    ASSERT_EQ(Lumvo("convert -q square.obj one.scene").code, 0);
    const Outcome made = Lumvo("convert --json --unit-scale 0.5 --up y square.obj one.scene square.obj all.scene");
    ASSERT_EQ(made.code, 0) << made.err;
    EXPECT_EQ(made.Json()["objects"]["AGroupSceneNode"], 4) << "one for each file and one above them";
    EXPECT_EQ(made.Json()["out"]["bytes"], GetFile("all.scene").Size());
    const Lumvo::Json box = Lumvo("info --json all.scene").Json()["box"];
    EXPECT_EQ(box["minimum"], (Lumvo::Json{0.0, 0.0, 0.0}));
    EXPECT_EQ(box["maximum"], (Lumvo::Json{1.0, 0.0, 1.0})) << "half as large, and y points up no more";
    std::vector<int> ids;
    const Lumvo::Json tree = Lumvo("tree --json all.scene").Json();
    for (const Lumvo::Json& line : tree["lines"])
        if (line.contains("id"))
            ids.push_back(line["id"]);
    EXPECT_THAT(ids, ElementsAre(3, 4, 5, 1, 2, 6, 7)) << "ids that were there stay, others differ from them";
}

TEST_F(Convert, LeavesTheOldFileWhenItFails)
{
    PutFile("old.scene", Bytes().Int(1));
    PutFile("cut.obj", Bytes("v 0 0 0\nv 1 0\n"));
    const std::vector<std::string> before = Files();
    const Outcome failed = Lumvo("convert square.obj cut.obj old.scene");
    EXPECT_EQ(failed.code, 3);
    EXPECT_THAT(failed.err, HasSubstr("cut.obj: line 2: "));
    EXPECT_EQ(Lumvo("convert --service ghost square.obj old.scene").code, 2);
    EXPECT_EQ(Lumvo("convert square.obj old.zip").code, 2);
    EXPECT_EQ(Lumvo("convert square.obj").code, 2);
    EXPECT_EQ(Lumvo("convert square.obj -").code, 2);
    EXPECT_EQ(Lumvo("convert square.obj nowhere/new.scene").code, 4);
    EXPECT_EQ(Lumvo("convert square.obj /dev/full").code, 2);
    std::filesystem::create_symlink("/dev/full", Folder() / "full.scene");
    EXPECT_EQ(Lumvo("convert square.obj full.scene").code, 4);
    std::filesystem::remove(Folder() / "full.scene");
    EXPECT_EQ(Files(), before);
    EXPECT_EQ(GetFile("old.scene"), Bytes().Int(1));
}

// A scene file nests 1,024 levels: what lies deeper must not be missing from one without a word.
TEST_F(Convert, RefusesWhatASceneFileCannotNest)
{
    std::string nodes = "{\"mesh\":0}";
    for (int i = 0; i < 1100; ++i)
        nodes += ",{\"children\":[" + std::to_string(i) + "]}";
    PutFile("deep.gltf",
            Bytes("{\"asset\":{\"version\":\"2.0\"},\"scenes\":[{\"nodes\":[1100]}],\"nodes\":[" + nodes +
                  "],\"meshes\":[{\"primitives\":[{\"attributes\":{\"POSITION\":0}}]}],\"accessors\":"
                  "[{\"bufferView\":0,\"componentType\":5126,\"count\":3,\"type\":\"VEC3\"}],\"bufferViews\":"
                  "[{\"buffer\":0,\"byteLength\":36}],\"buffers\":[{\"byteLength\":36,\"uri\":"
                  "\"data:application/octet-stream;base64," +
                  std::string(48, 'A') + "\"}]}"));
    const Outcome refused = Lumvo("convert -q deep.gltf deep.scene");
    EXPECT_EQ(refused.code, 4) << refused.err;
    EXPECT_THAT(refused.err, HasSubstr("nested too deeply"));
    EXPECT_THAT(Lumvo("info deep.gltf").out, HasSubstr("nested too deep for a scene file"));
    EXPECT_EQ(Lumvo("convert -q --mesh deep.gltf flat.scene").code, 0);
}

TEST_F(Convert, LeavesNothingTemporaryBehind)
{
    const std::string spooling =
        "mkdir t; { cat square.obj; sleep 2; } | TMPDIR=$PWD/t timeout -s TERM 0.3 " LUMVO_PROGRAM
        " info --service obj -; ls t";
    EXPECT_EQ(Shell(spooling).out, "");
    std::filesystem::remove(Folder() / "t");
    std::filesystem::create_symlink("new.scene", Folder() / "link.scene");
    EXPECT_EQ(Shell("(ulimit -f 0; exec " LUMVO_PROGRAM " convert -q square.obj link.scene)").code, 4);
    EXPECT_EQ(Lumvo("convert -q square.obj link.scene").code, 0);
    EXPECT_THAT(Files(), testing::IsSupersetOf({"link.scene", "new.scene"})) << "made where the link leads";
    EXPECT_THAT(Files(), testing::Each(Not(HasSubstr("lumvo-"))));
}

// What goes with a file never takes the place of somebody else's.
TEST_F(Convert, KeepsFilesThatWouldGoWithAnother)
{
    PutFile("mine.mtl", Bytes("precious"));
    EXPECT_EQ(Lumvo("demo demo.scene").code, 0);
    for (const char* const name : {"mine-2.mtl", "mine-3.mtl", "mine-2.mtl"}) {
        EXPECT_EQ(Lumvo("convert --json demo.scene mine.obj").Json()["beside"], Lumvo::Json{name});
        EXPECT_EQ(Lumvo("convert --json mine.obj back.scene").Json()["objects"]["AMaterial"], 5);
    }
    EXPECT_THAT(Files(), Not(testing::Contains("mine-3.mtl"))) << "of the file that was replaced";
    EXPECT_EQ(GetFile("mine.mtl"), Bytes("precious"));
}

TEST_F(Convert, ReadsStandardInput)
{
    EXPECT_EQ(Lumvo("convert --service obj - - s.scene").code, 2);
    EXPECT_EQ(Shell("cat square.obj | " LUMVO_PROGRAM " convert -q --service obj - s.scene").code, 0);
    EXPECT_THAT(Shell(LUMVO_PROGRAM " tree - < s.scene").out, HasSubstr("standard input: 1 root reference"));
    const Outcome nameless = Shell(LUMVO_PROGRAM " info - < square.obj");
    EXPECT_EQ(nameless.code, 3);
    EXPECT_THAT(nameless.err, HasSubstr("--service"));
}

TEST_F(Convert, ShowsColoursAndBarsOnTerminalsOnly)
{
    EXPECT_THAT(Lumvo("convert square.obj s.scene").err, "lumvo: reading square.obj\nlumvo: writing s.scene\n");
    EXPECT_THAT(Lumvo("convert -q square.obj s.scene").err, "");
    EXPECT_THAT(Lumvo("info s.scene").out, Not(HasSubstr("\x1B")));
    EXPECT_THAT(Lumvo("info --color always s.scene").out, HasSubstr("\x1B[1m"));
    const std::string terminal = "script -qec '" LUMVO_PROGRAM " convert square.obj s.scene' /dev/null";
    EXPECT_THAT(Shell("TERM=xterm " + terminal).out, AllOf(HasSubstr("\x1B[1m"), HasSubstr("square.obj [")));
    EXPECT_THAT(Shell("TERM=xterm NO_COLOR=1 " + terminal).out, Not(HasSubstr("\x1B[1m")));
}

TEST(ProgressBar, FitsItsLine)
{
    EXPECT_EQ(Lumvo::Progress::Bar("reading a", 50, 80), "reading a [############            ]  50 %");
    EXPECT_EQ(Lumvo::Progress::Bar("reading a very long name.scene", 100, 50),
              "...ng name.scene [########################] 100 %");
    EXPECT_EQ(Lumvo::Progress::Bar("reading", 7, 20), "7 %");
}

// What was shared is shared again after the way out and back in, and nothing else is.
TEST_F(Convert, KeepsSharingThroughGlb)
{
    ASSERT_EQ(Lumvo("demo demo.scene").code, 0);
    ASSERT_EQ(Lumvo("convert -q demo.scene out.glb").code, 0);
    ASSERT_EQ(Lumvo("convert -q out.glb in.scene").code, 0);
    ASSERT_EQ(Lumvo("convert -q in.scene again.glb").code, 0);
    ASSERT_EQ(Lumvo("convert -q again.glb again.scene").code, 0);
    const Lumvo::Json first = Lumvo("info --json in.scene").Json();
    const Lumvo::Json second = Lumvo("info --json again.scene").Json();
    EXPECT_EQ(first["classes"], second["classes"]);
    EXPECT_EQ(first["references"], second["references"]);
    EXPECT_EQ(first["box"], second["box"]);
    EXPECT_GT(first["references"]["repeated"], 20);
}

TEST_F(Convert, TakesNamesOfEveryKind)
{
    // 250 bytes and four for the extension: as long as a name can be.
    for (const std::string& name :
         {std::string("l\u00E4nge \u4E2D\u6587 \U0001F600"),
          std::string(125, 'x') + std::string("\u00E9\u00E9\u00E9") + std::string(115, 'y'), std::string("[a] b'c")}) {
        const std::string quoted = name == "[a] b'c" ? "'[a] b'\\''c" : "'" + name;
        PutFile(name + ".obj", Bytes(s_Square));
        const Outcome made = Lumvo("convert -q " + quoted + ".obj' " + quoted + ".stl'");
        EXPECT_EQ(made.code, 0) << made.err;
        EXPECT_EQ(GetFile(name + ".stl").Size(), 84U + 2 * 50U);
        EXPECT_EQ(Lumvo("info " + quoted + ".stl'").code, 0);
    }
}

std::shared_ptr<AEntitySceneNode> NodeWith(float size, const std::wstring& texture)
{
    auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = {0, 0, 0, size, 0, 0, 0, size, 0};
    mesh->IndexBuffer() = {0, 1, 2};
    auto entity = std::make_shared<AMeshEntity>();
    entity->SetItem(mesh);
    auto image = std::make_shared<ATexture>();
    image->SetFileName(texture);
    auto material = std::make_shared<AMaterial>();
    material->SetDiffuseTexture(image);
    auto style = std::make_shared<AFaceStyle>();
    style->SetMaterial(material);
    auto node = std::make_shared<AEntitySceneNode>();
    node->SetEntity(entity);
    node->SetStyle(StyleFace, style);
    node->SetBBox({{0, 0, 0}, {9, 9, 9}});
    return node;
}

TEST(ShareEqualObjects, SharesWhatIsEqualAndOnlyThat)
{
    const auto first = NodeWith(1, L"a.png");
    const auto equal = NodeWith(1, L"a.png");
    const auto larger = NodeWith(2, L"a.png");
    const auto other = NodeWith(1, L"b.png");
    const auto group = std::make_shared<AGroupEntity>();
    group->AddEntity(equal->GetEntity());
    group->AddEntity(larger->GetEntity());
    group->SetTag(7);
    const auto holder = std::make_shared<AEntitySceneNode>();
    holder->SetEntity(group);

    const Lumvo::Duplicates duplicates = Lumvo::ShareEqualObjects({first, equal, larger, other, holder});
    EXPECT_EQ(duplicates.textures, 2U);
    EXPECT_EQ(duplicates.materials, 2U);
    EXPECT_EQ(duplicates.styles, 2U);
    EXPECT_EQ(duplicates.pieces, 2U);
    EXPECT_EQ(duplicates.entities, 2U);
    EXPECT_EQ(equal->GetEntity(), first->GetEntity());
    EXPECT_EQ(other->GetEntity(), first->GetEntity());
    EXPECT_NE(larger->GetEntity(), first->GetEntity());
    EXPECT_EQ(larger->GetStyle(StyleFace), first->GetStyle(StyleFace));
    EXPECT_NE(other->GetStyle(StyleFace), first->GetStyle(StyleFace));
    EXPECT_EQ(equal->GetBBox(), AMath::AxisAlignedBox({0, 0, 0}, {9, 9, 9})) << "the node's own";
    EXPECT_THAT(group->GetAll(), ElementsAre(first->GetEntity(), larger->GetEntity()));
    EXPECT_EQ(group->GetTag(), 7);
}

/// A text that counts how often its record is stored.
class CountedText : public ASubText
{
public:
    static inline int s_Stored = 0;
    using ASubText::Serialize;
    void Serialize(ASceneSerializeContext& context) override
    {
        s_Stored += context.GetFieldVisitor() == nullptr ? 1 : 0;
        ASubText::Serialize(context);
    }
};

// Records that all have one hash, though no two are equal, take little more work than others.
TEST(ShareEqualObjects, ComparesFewObjectsOfOneHash)
{
    // Bytes 8 to 15 of a record of 132 bytes, the upper half of this x and the lower half of this y, are multiplied
    // into a hash with those before them, as 0: the tags do not count.
    const std::uint64_t x = 0x2C81017C'00000000U, y = 0x1CAD21F7U;
    AMath::AxisAlignedBox box({0, 0, 0}, {1, 1, 1});
    std::memcpy(&box.m_Minimum.x, &x, sizeof(x));
    std::memcpy(&box.m_Minimum.y, &y, sizeof(y));
    const auto list = std::make_shared<ATextListEntity>();
    constexpr int count = 300;
    for (int tag = 0; tag < count; ++tag) {
        const auto text = std::make_shared<CountedText>();
        text->SetTag(tag / 2); // every other one equals the one before
        text->SetBBox(box);
        text->SetText(L"ten to end");
        list->AddItem(text);
    }
    const auto node = std::make_shared<AEntitySceneNode>();
    node->SetEntity(list);
    CountedText::s_Stored = 0;
    EXPECT_EQ(Lumvo::ShareEqualObjects({node}).pieces, count / 2U);
    EXPECT_GT(CountedText::s_Stored, 2 * count) << "their hashes differ";
    EXPECT_LE(CountedText::s_Stored, 4 * count);
    int i = 0;
    for (const auto& text : list->GetItems())
        EXPECT_EQ(text->GetTag(), i++ / 2);
}

// An image never replaces a file that is not its own, and a second run finds what the first one wrote.
TEST_F(Convert, KeepsImagesUnderFreeNames)
{
    PutFile("scene-wood.png", Bytes("somebody's"));
    const std::wstring longName(300, L'\u6F22');
    for (int run = 0; run < 2; ++run) {
        Lumvo::OutputFiles files(Folder() / "scene.scene");
        EXPECT_EQ(files.KeepImage(L"wood.png", "bytes"), L"scene-wood-2.png");
        EXPECT_EQ(files.KeepImage(L"../wo/od.png", "others"), L"scene-.._wo_od.png");
        EXPECT_EQ(files.KeepImage(longName, "1"), L"scene-" + longName.substr(0, 40));
        EXPECT_EQ(files.KeepImage(longName, "2"), L"scene-" + longName.substr(0, 40) + L"-2");
        EXPECT_EQ(files.GetBeside().size(), 4U);
        files.Commit();
    }
    EXPECT_EQ(GetFile("scene-wood.png"), Bytes("somebody's"));
    EXPECT_EQ(GetFile("scene-wood-2.png"), Bytes("bytes"));
    EXPECT_EQ(GetFile("scene-.._wo_od.png"), Bytes("others"));
    Lumvo::OutputFiles files(Folder() / (KvText::ToPath(longName.substr(0, 80)) += ".scene"));
    EXPECT_EQ(files.KeepImage(L"a.png", "bytes"), longName.substr(0, 33) + L"-a.png");
}
} // namespace
