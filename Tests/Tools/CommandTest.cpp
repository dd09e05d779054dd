#include <Tests/Support/TestRow.h>
#include <Tests/Tools/ToolTest.h>

#include <gmock/gmock.h>

#include <tuple>

using namespace Kelvra;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

struct Call
{
    const char* what;
    const char* arguments;
    int code;
    std::vector<const char*> out;
    std::vector<const char*> err;

    friend std::ostream& operator<<(std::ostream& stream, const Call& call) { return stream << call.what; }
};

class Calls : public ToolTest, public testing::WithParamInterface<Call>
{
public:
    Calls()
    {
        PutScene("good.scene", Group(1, 0));
        PutScene("damaged.scene", Group(1, 3).Int(0).Int(2).Text(u"AGhost").Int(0));
        PutScene("cut.scene", Group(1, 0).First(100));
        PutScene("count.scene", Bytes().Int(1).Int(0x7FFFFFFF));
        PutFile("short.scene", Bytes::Header().First(7));
        PutFile("empty.scene", Bytes());
        PutFile("photo.scene", Bytes().Byte('P').Byte('K').Byte(3).Byte(4).Fill(100));
        std::filesystem::create_directory(Folder() / "folder");
    }
};
} // namespace

TEST_P(Calls, EndWithTheirCodeAndSayWhy)
{
    const std::vector<std::string> before = Files();
    const Outcome outcome = Lumvo(GetParam().arguments);
    EXPECT_EQ(outcome.code, GetParam().code);
    for (const char* const text : GetParam().out)
        EXPECT_THAT(outcome.out, HasSubstr(text));
    for (const char* const text : GetParam().err)
        EXPECT_THAT(outcome.err, HasSubstr(text));
    EXPECT_EQ(outcome.err.empty(), GetParam().err.empty()) << outcome.err;
    EXPECT_EQ(Files(), before) << "left something behind";
}
INSTANTIATE_TEST_SUITE_P(
    Command, Calls,
    testing::Values(
        Call{"Nothing", "", 2, {}, {"Usage: lumvo", "Exit codes"}},
        Call{"Help", "--help", 0, {"demo", "info", "tree"}, {}}, Call{"Version", "--version", 0, {"lumvo 0."}, {}},
        Call{"HelpOnAVerb", "tree --help", 0, {"Example: lumvo tree"}, {}},
        Call{"UnknownVerb", "frobnicate", 2, {}, {"frobnicate"}}, Call{"NoFile", "info", 2, {}, {"FILE"}},
        Call{"NotANumber", "tree --max many good.scene", 2, {}, {"--max"}},
        Call{"Negative", "tree --depth -1 good.scene", 2, {}, {"--depth"}},
        Call{"Good", "info good.scene", 0, {"good.scene", "messages    none"}, {}},
        Call{"Damaged", "info damaged.scene", 1, {"3 x \"Can't find Node\", first at byte 271"}, {}},
        Call{"DamagedTree",
             "tree damaged.scene",
             1,
             {"AGroupSceneNode"},
             {"\"Failed to create objectAGhost\", at byte"}},
        Call{"Cut",
             "tree cut.scene",
             1,
             {"AGroupSceneNode"},
             {"cut.scene: note: at byte 51: the file ends early: 128 bytes"}},
        Call{"CutInfo", "info --json cut.scene", 1, {"\"wanted\": 128"}, {"ends early"}},
        Call{"CutDiff", "diff cut.scene cut.scene", 1, {"no differences in what could be loaded"}, {"ends early"}},
        Call{"DamagedDiff",
             "diff --json damaged.scene damaged.scene",
             1,
             {"\"same\": null", "Can't find Node"},
             {"5 messages"}},
        Call{"NoSalvage", "check --salvage '' good.scene", 2, {}, {"--salvage: must not be empty"}},
        Call{"UnsafeVerb", "\x1B[31m", 2, {}, {"\\x001B[31m"}},
        Call{"Count", "info count.scene", 3, {}, {"count.scene: at byte 16: the count before this byte"}},
        Call{"Missing", "info missing.scene", 3, {}, {"missing.scene: cannot be opened: No such file"}},
        Call{"Folder", "tree folder", 3, {}, {"folder: is a folder"}},
        Call{"Device", "info /dev/null", 3, {}, {"/dev/null: is a pipe or a device"}},
        Call{"Short", "info short.scene", 3, {}, {"short.scene: at byte 7: ends inside the header: it has 7 bytes"}},
        Call{"Empty", "info empty.scene", 3, {}, {"empty.scene: at byte 0: ends inside the header: it has 0 bytes"}},
        Call{"OtherFormat",
             "tree photo.scene",
             3,
             {},
             {"at byte 0: not a scene file: it begins with the bytes 50 4B 03 04"}},
        Call{"WorstOfSeveral",
             "info damaged.scene short.scene good.scene",
             3,
             {"damaged.scene\n", "good.scene\n"},
             {"short.scene"}},
        Call{"FullDevice", "demo /dev/full", 4, {}, {"/dev/full: cannot be written: No space left on device"}},
        Call{"FullOutput", "info good.scene > /dev/full", 4, {}, {"standard output"}},
        Call{"NoSuchFolder", "demo nowhere/out.scene", 4, {}, {"nowhere/out.scene: cannot be written: No such file"}},
        Call{"OntoAFolder", "demo folder", 4, {}, {"folder: cannot be written: Is a directory"}},
        Call{"BelowAFile", "demo good.scene/out.scene", 4, {}, {"Not a directory"}}),
    [](const auto& row) { return row.param.what; });

/// Scenes that show far more than they hold.
class Nested : public ToolTest
{
public:
    Nested()
    {
        PutScene("nodes.scene", Twice(30, NodeGroup, Group(31, 0)));
        const Bytes leaf = Bytes().Int(31).Text(u"AEdgeEntity").EntityHeader(0).Int(0);
        PutScene("entities.scene", EntityNode(1).Add(Twice(30, EntityGroup, leaf)));
        const auto mesh = std::make_shared<AMeshEntity>();
        mesh->SetItem(std::make_shared<ASubMesh>());
        mesh->GetItem()->VertexBuffer().resize(9);
        mesh->GetItem()->IndexBuffer().resize(60'000, 2);
        PutScene("mesh.scene",
                 Twice(19, NodeGroup, EntityNode(20).Add(StoreReference(std::shared_ptr<AEntity>(mesh)))));
    }
    /// Runs `lumvo ARGUMENTS`, which gets ten seconds of the processor.
    [[nodiscard]] Outcome LumvoInTime(const std::string& arguments) const
    {
        return Shell("ulimit -t 10 && " LUMVO_PROGRAM " " + arguments);
    }

private:
    static Bytes NodeGroup(int key) { return Group(key, 2); }
    static Bytes EntityGroup(int key) { return Bytes().Int(key).Text(u"AGroupEntity").EntityHeader(0).Int(2); }
    /// A reference to groups that each hold the next one twice, the last one the object of key `groups + 1`.
    static Bytes Twice(int groups, Bytes (*group)(int key), Bytes inside)
    {
        for (int key = groups; key > 0; --key)
            inside = group(key).Add(inside).Int(key + 1);
        return inside;
    }
};

struct NestedCall : TestRow
{
    const char* arguments; ///< A @ stands for the file.
    int code;
};
class NestedCalls : public Nested, public testing::WithParamInterface<std::tuple<const char*, NestedCall>>
{
};

// What is shared a thousand million times over takes no more time than what it is made of.
TEST_P(NestedCalls, EndInTime)
{
    const auto& [file, call] = GetParam();
    const std::vector<std::string> before = Files();
    std::string arguments = call.arguments;
    for (std::size_t at = 0; (at = arguments.find('@')) != std::string::npos;)
        arguments.replace(at, 1, std::string(file) + ".scene");
    const Outcome outcome = LumvoInTime(arguments);
    EXPECT_EQ(outcome.code, call.code) << outcome.err;
    if (call.code == 4) {
        EXPECT_EQ(Files(), before) << "left something behind";
    }
}
INSTANTIATE_TEST_SUITE_P(
    Command, NestedCalls,
    testing::Combine(testing::Values("nodes", "entities"),
                     testing::Values(NestedCall{{"Info"}, "info @", 0}, NestedCall{{"Tree"}, "tree @", 0},
                                     NestedCall{{"TreeAsJson"}, "tree --json @", 0},
                                     NestedCall{{"Check"}, "check @", 0}, NestedCall{{"Diff"}, "diff @ @", 0},
                                     NestedCall{{"Merge"}, "merge -q --dedupe @ @ out.scene", 0},
                                     NestedCall{{"ConvertToScene"}, "convert -q --dedupe @ out.scene", 0},
                                     NestedCall{{"ConvertToObj"}, "convert -q @ out.obj", 4},
                                     NestedCall{{"ConvertToStl"}, "convert -q @ out.stl", 4},
                                     NestedCall{{"ConvertToGlb"}, "convert -q @ out.glb", 4})),
    [](const auto& row) { return std::get<0>(row.param) + std::string("_") + std::get<1>(row.param).what; });

TEST_F(Nested, TreeHasALineForEachReferenceInside)
{
    EXPECT_EQ(Lumvo("tree --json nodes.scene").Json()["lines"].size(), 61U);
    EXPECT_THAT(Lumvo("tree nodes.scene").out, HasSubstr("(11 deeper)"));
}

// Few places may still make far more than the scene holds, which is noticed before it is written.
TEST_F(Nested, MeshesAreNotCopiedOutOfProportion)
{
    const std::vector<std::string> before = Files();
    for (const std::string file : {"out.obj", "out.stl"}) {
        const Outcome outcome = LumvoInTime("convert -q mesh.scene " + file);
        EXPECT_EQ(outcome.code, 4) << file;
        EXPECT_THAT(outcome.err, HasSubstr("out of proportion to the scene"));
        EXPECT_EQ(Files(), before) << "left something behind";
    }
}

// Ids that share one bucket of a hash table, whatever its number of buckets, are as good as others.
TEST_F(Nested, IdsMayHaveAnyCommonFactor)
{
    Bytes nodes = Group(1, 42'000);
    for (int key = 2; key <= 42'001; ++key)
        nodes.Add(Bytes().Int(key).Text(u"AGroupSceneNode").NodeFields(key * 42'043).Fill(16).Int(0));
    PutScene("scene", nodes);
    EXPECT_EQ(Shell("ulimit -t 1 && " LUMVO_PROGRAM " convert -q scene out.scene").code, 0);
}

class Command : public ToolTest
{
};

#if !defined(__SANITIZE_ADDRESS__) // which takes more memory than there is
// However little memory there is, the command ends by itself.
TEST_F(Command, EndsWithoutMemory)
{
    static constexpr int s_Items = 300'000;
    Bytes list = Bytes().Int(1).Text(u"AListEntity").EntityHeader(0).Int(s_Items);
    list.Int(1).Text(u"ASubEdge").EntityHeader(0).Int(0);
    for (int i = 1; i < s_Items; ++i)
        list.Int(1);
    PutScene("scene", EntityNode(1).Add(list));
    for (int limit = 20'000; limit <= 60'000; limit += 2'000) {
        const Outcome outcome =
            Shell("ulimit -c 0 && ulimit -v " + std::to_string(limit) + " && " LUMVO_PROGRAM " tree --json scene");
        EXPECT_THAT(outcome.code, testing::AnyOf(0, 3)) << limit << outcome.err;
    }
}
#endif

// The demonstration holds every class that a file can carry, its sharing survives, and nothing else is left.
TEST_F(Command, DemoSavesLoadsAndProves)
{
    const Outcome demo = Lumvo("demo --json out.scene");
    ASSERT_EQ(demo.code, 0) << demo.err;
    EXPECT_TRUE(demo.Json()["sharingKept"]);
    EXPECT_TRUE(demo.Json()["savedAgainAlike"]);
    EXPECT_THAT(Files(), ElementsAre("out.scene"));
    const Bytes first = GetFile("out.scene");
    EXPECT_EQ(Lumvo("demo out.scene").code, 0);
    EXPECT_EQ(GetFile("out.scene"), first);

    const Lumvo::Json info = Lumvo("info --json out.scene").Json();
    EXPECT_EQ(info["classes"].size(), 19U) << info["classes"];
    EXPECT_EQ(info["box"]["minimum"], Lumvo::Json::array({-75, -75, -10}));
    EXPECT_EQ(info["references"]["first"].get<int>() + info["references"]["repeated"].get<int>(),
              demo.Json()["references"].get<int>());
    EXPECT_THAT(Lumvo("tree out.scene").out, AllOf(HasSubstr("6 × M12"), HasSubstr("🔩"), HasSubstr("hidden")));
}

// Every byte of a file is counted once, those of dropped objects and at the top of the file too.
TEST_F(Command, InfoAccountsForEveryByte)
{
    const Bytes child = Group(2, 0);
    const Bytes text = Bytes().Int(1).Text(u"ASubText").EntityHeader(0).Text(u"lost").Fill(24).Colour(1, 1, 1, 1);
    const Bytes list = Bytes().Int(1).Text(u"AMeshListEntity").EntityHeader(0).Int(1).Add(text);
    const Bytes node = EntityNode(3).Add(list);
    const Bytes root = Group(1, 3).Add(child).Int(2).Add(node);
    PutScene("scene", Bytes(root).Int(1).Int(0));

    const Outcome outcome = Lumvo("info --json scene");
    EXPECT_EQ(outcome.code, 1);
    const Lumvo::Json info = outcome.Json();
    EXPECT_EQ(info["bytes"], 8 + root.Size() + 8);
    EXPECT_EQ(info["outsideBytes"], 8 + 8);
    EXPECT_EQ(info["dropped"], Lumvo::Json({{"objects", 1}, {"bytes", text.Size()}}));
    EXPECT_EQ(info["classes"], Lumvo::Json({
                                   {"AEntitySceneNode", {{"objects", 1}, {"bytes", node.Size() - list.Size()}}},
                                   {"AGroupSceneNode", {{"objects", 2}, {"bytes", root.Size() - node.Size()}}},
                                   {"AMeshListEntity", {{"objects", 1}, {"bytes", list.Size() - text.Size()}}},
                               }));
    EXPECT_EQ(info["references"],
              Lumvo::Json({{"total", 20}, {"first", 5}, {"repeated", 2}, {"empty", 13}, {"failed", 0}}));
    EXPECT_EQ(info["bytesSavedBySharing"], (root.Size() - 4) + (child.Size() - 4));
    EXPECT_EQ(info["rootReferences"], 3);
    EXPECT_EQ(info["messages"][0]["offset"], 8 + root.Size()) << "noticed when the item has been read";
}

// Several files give an array, a file that cannot be read an object that says so.
TEST_F(Command, InfoOfSeveralFilesIsAnArray)
{
    PutScene("[good]", Group(1, 0));
    const Lumvo::Json results = Lumvo("info --json '[good]' missing").Json();
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results[0]["file"], "./[good]") << "brackets are part of the name";
    EXPECT_EQ(results[0]["endsEarly"], nullptr);
    EXPECT_THAT(results[1]["error"], StartsWith("cannot be opened"));
}

// The tree has a line for each object where it is met first, and says what it leaves out.
TEST_F(Command, TreeOfSharedNodes)
{
    PutScene("scene", Group(1, 3).Add(Group(2, 1).Add(Group(3, 0))).Int(3).Int(2));
    const std::string box = ", box (0, 0, 0) to (0, 0, 0)";
    EXPECT_EQ(Lumvo("tree scene").out, "scene: 1 root reference, 3 nodes\n"
                                       "`- AGroupSceneNode  id 1" +
                                           box +
                                           "\n"
                                           "   |- #1 AGroupSceneNode  id 2" +
                                           box +
                                           "\n"
                                           "   |  `- #2 AGroupSceneNode  id 3" +
                                           box +
                                           "\n"
                                           "   |- -> #2 AGroupSceneNode\n"
                                           "   `- -> #1 AGroupSceneNode\n");
    EXPECT_THAT(Lumvo("tree --depth 1 scene").out,
                AllOf(HasSubstr("id 1" + box + "  ... 3 inside\n"), EndsWith("... 2 nodes left out (--depth)\n")));
    EXPECT_THAT(Lumvo("tree --max 2 scene").out, EndsWith("... 1 node left out (--max 0 shows all)\n"));

    PutScene("empty", {});
    for (const char* const call : {"tree --json scene", "tree --json --max 1 scene", "tree --json empty"}) {
        const Outcome outcome = Lumvo(call);
        EXPECT_EQ(outcome.out, outcome.Json().dump(2) + '\n') << call << ": lines are printed one by one";
    }
    const Lumvo::Json lines = Lumvo("tree --json scene").Json()["lines"];
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[2]["depth"], 2);
    EXPECT_EQ(lines[2]["id"], 3);
    EXPECT_EQ(
        lines[3],
        Lumvo::Json({{"depth", 1}, {"role", "child"}, {"class", "AGroupSceneNode"}, {"label", 2}, {"repeated", true}}));
}

// Nothing that a file holds can speak to the terminal, and numbers that JSON lacks are null.
TEST_F(Command, TextsFromFilesCannotControlTheTerminal)
{
    const Bytes text =
        Bytes().Int(1).Text(u"ASubText").EntityHeader(0).Text(u"\u001B[2J\u009B31m\u202E").Fill(24).Colour(1, 1, 1, 1);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Bytes list = Bytes().Int(1).Text(u"ATextListEntity").EntityHeader(0, nan, nan).Int(1).Add(text);
    const std::string name = "\x1B[31m\xFF.scene";
    PutScene(name, EntityNode(1).Add(list).Int(9).Text(u"\u001B[1mghost"));
    for (const char* const verb : {"tree", "tree --json", "info", "info --json"}) {
        const Outcome outcome = Lumvo(verb + std::string(" *.scene"));
        EXPECT_EQ(outcome.code, 1) << verb;
        EXPECT_THAT(outcome.out + outcome.err, AllOf(Not(HasSubstr("\x1B")), Not(HasSubstr("\xC2\x9B")))) << verb;
    }
    EXPECT_THAT(Lumvo("tree *.scene").out, HasSubstr(R"("\x001B[2J\x009B31m\x202E")"));
    EXPECT_EQ(Lumvo("tree --json *.scene").Json()["lines"][1]["box"]["minimum"][0], nullptr);
}

// Colours and lines are for terminals that want them.
TEST_F(Command, TerminalsGetColoursAndLines)
{
    PutScene("scene", Group(1, 0));
    const auto onTerminal = [&](const std::string& settings) {
        return Shell("script -qec '" + settings + " " LUMVO_PROGRAM " tree scene' /dev/null < /dev/null").out;
    };
    EXPECT_THAT(onTerminal("TERM=xterm NO_COLOR= LC_ALL=C.UTF-8"), AllOf(HasSubstr("\x1B["), HasSubstr("└─")));
    EXPECT_THAT(onTerminal("TERM=xterm NO_COLOR=1 LC_ALL=C.UTF-8"), AllOf(Not(HasSubstr("\x1B[")), HasSubstr("└─")));
    EXPECT_THAT(onTerminal("TERM=xterm NO_COLOR= LC_ALL=C"), AllOf(HasSubstr("\x1B["), HasSubstr("`-")));
}
