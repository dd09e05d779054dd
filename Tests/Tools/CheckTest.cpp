#include <Tests/Support/TestRow.h>
#include <Tests/Tools/ToolTest.h>
#include <Tools/DemoScene.h>
#include <Tools/FileError.h>
#include <Tools/LoadedScene.h>
#include <Tools/Salvage.h>
#include <Tools/SceneRecords.h>
#include <Tools/SceneWalk.h>
#include <Tools/Shapes.h>

#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <random>
#include <set>

using namespace Kelvra;
using Lumvo::FindingCode;
using Lumvo::Findings;
using Lumvo::Severity;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class Check : public ToolTest
{
public:
    Lumvo::WalkEnd Walk(const Bytes& file, Findings& findings) const
    {
        PutFile("walked.scene", file);
        return Lumvo::SceneWalk(Folder() / "walked.scene", findings).Run();
    }
    /// Walks and loads a file, and expects both to find it whole, or neither.
    void ExpectOneVerdict(const Bytes& file) const
    {
        Findings findings;
        const bool isValid = Walk(file, findings).inStep && findings.Count(Severity::Error) == 0;
        bool loadsWhole = false;
        try {
            const Lumvo::LoadedScene scene = Lumvo::LoadScene(Folder() / "walked.scene");
            loadsWhole = scene.IsWhole();
        } catch (const Lumvo::FileError&) {
        }
        EXPECT_EQ(isValid, loadsWhole);
    }
    Bytes Saved(const Lumvo::Roots& roots) const
    {
        SaveScene("saved.scene", roots);
        return GetFile("saved.scene");
    }
    Bytes Demo() const
    {
        Lumvo::DemoScene demo;
        demo.ReplaceHighlight();
        return Saved(demo.roots);
    }
};
} // namespace

// A file with an object of each class is walked whole, without a finding.
TEST_F(Check, WalksEveryClass)
{
    Lumvo::DemoScene demo;
    demo.ReplaceHighlight();
    const Bytes file = Saved(demo.roots);
    const std::vector<const AObject*> objects = Lumvo::SceneObjects(demo.roots).objects;
    std::set<std::wstring> seen;
    for (const AObject* const object : objects)
        seen.insert(object->GetRuntimeClassId().GetName());
    EXPECT_EQ(seen.size(), Lumvo::AllRecords().size());

    Findings findings;
    const Lumvo::WalkEnd end = Walk(file, findings);
    EXPECT_TRUE(end.inStep);
    EXPECT_EQ(end.offset, file.Size());
    EXPECT_EQ(end.objects, objects.size());
    EXPECT_TRUE(findings.GetAll().empty());
}

TEST(FindingRules, StandInTheOrderOfTheirCodes)
{
    const std::vector<Lumvo::FindingRule>& rules = Lumvo::AllFindingRules();
    for (std::size_t i = 0; i < rules.size(); ++i)
        EXPECT_EQ(static_cast<std::size_t>(rules[i].code), i) << rules[i].name;
    EXPECT_EQ(rules.back().code, FindingCode::FlagValue) << "the last of all codes";
}

namespace {

struct Damage : TestRow
{
    Bytes file; ///< Behind the header.
    FindingCode code;
    std::uint64_t offset;
    std::string path;
};
class Damages : public Check, public testing::WithParamInterface<Damage>
{
};

Bytes Group(int key, int children)
{
    return ToolTest::Group(key, children);
}
Bytes EntityNode(int key)
{
    return ToolTest::EntityNode(key);
}
Bytes Node(const char16_t* entity)
{
    return EntityNode(1).Int(1).Text(entity).EntityHeader(0);
}
/// A group with four or another number of styles, without what follows its tag.
Bytes Styled(int styles)
{
    return Bytes().Int(1).Text(u"AGroupSceneNode").NodeFields(1, styles);
}
Bytes Style(int key, const char16_t* name)
{
    return Bytes().Int(key).Text(name).Colour(1, 1, 1, 1).Float(1).Byte(0);
}
/// A node with one mesh, up to the coordinates' count at byte 423.
Bytes MeshNode()
{
    return Node(u"AMeshEntity").Int(1).Text(u"ASubMesh").EntityHeader(0, 0, 1);
}
Bytes Numbers(int count, float number = 0)
{
    Bytes bytes = Bytes().Int(count);
    for (int i = 0; i < count; ++i)
        bytes.Float(number);
    return bytes;
}
Bytes TextNode(std::u16string_view text)
{
    return Node(u"ATextListEntity").Int(1).Int(1).Text(u"ASubText").EntityHeader(0).Text(text).Fill(24 + 32);
}
/// A group whose matrix, box or flag is replaced, `at` bytes behind its id.
Bytes GroupWith(std::size_t at, const Bytes& bytes)
{
    std::string all = Group(1, 0).Data();
    all.replace(38 + at, bytes.Size(), bytes.Data());
    return Bytes(all);
}
Bytes Nested(int levels)
{
    Bytes bytes;
    for (int key = 1; key <= levels; ++key)
        bytes.Add(Group(key, key == levels ? 0 : 1));
    return bytes;
}
std::string DeepPath(int shown)
{
    std::string path = "roots[0].(1004 levels)";
    for (int k = 0; k < shown; ++k)
        path += ".children[0]";
    return path;
}
constexpr double s_Infinity = std::numeric_limits<double>::infinity();
} // namespace

TEST_P(Damages, AreFoundAtTheirPlace)
{
    const Bytes file = Bytes::Header().Add(GetParam().file);
    Findings findings;
    static_cast<void>(Walk(file, findings));
    EXPECT_THAT(findings.GetAll(), Contains(AllOf(Field(&Findings::Finding::code, GetParam().code),
                                                  Field(&Findings::Finding::offset, GetParam().offset),
                                                  Field(&Findings::Finding::path, GetParam().path))));
    ExpectOneVerdict(file);
}
using C = FindingCode;
INSTANTIATE_TEST_SUITE_P(
    Check, Damages,
    testing::Values(
        Damage{{"KeyCut"}, Group(1, 0).Fill(2), C::Cut, 267, "roots[1]"},
        Damage{{"RecordCut"}, Group(1, 0).First(100), C::Cut, 51, "roots[0].transform"},
        Damage{{"ReferenceCut"}, Group(1, 2).Add(Group(2, 0)).Fill(3), C::Cut, 526, "roots[0].children[1]"},
        Damage{{"NameCut"}, Bytes().Int(1).Int(20).Fill(39), C::BadCount, 12, "roots[0]"},
        Damage{{"BufferCut"}, MeshNode().Int(9).Fill(35), C::BadCount, 423, "roots[0].entity.item.vertices"},
        Damage{{"TextCut"}, TextNode(u"text").First(433), C::BadCount, 435, "roots[0].entity.items[0].text"},
        Damage{{"ListCut"}, Group(1, 9).Int(0), C::BadCount, 263, "roots[0].children"},
        Damage{{"UnknownClass"}, Group(1, 1).Int(2).Text(u"AGhost"), C::UnknownClass, 271, "roots[0].children[0]"},
        Damage{{"NamelessClass"}, Bytes().Int(1).Int(-1), C::UnknownClass, 12, "roots[0]"},
        Damage{{"WrongClass"}, Bytes().Int(1).Text(u"AMaterial"), C::WrongFamily, 12, "roots[0]"},
        Damage{{"TooDeep"}, Nested(1025), C::TooDeep, 8 + 1024 * 259, DeepPath(20)},
        Damage{{"DeepEnough"}, Nested(1024), C::EmptyList, 8 + 1024 * 259 - 4, DeepPath(19) + ".children"},
        Damage{{"EmptyChild"}, Group(1, 1).Int(0), C::EmptyItem, 267, "roots[0].children[0]"},
        Damage{{"EmptyStyle"}, Styled(1).Int(0).Int(0), C::EmptyItem, 247, "roots[0].styles[0]"},
        Damage{{"WrongItem"},
               Node(u"AListEntity").Int(1).Add(Bytes().Int(1).Text(u"ASubMesh").EntityHeader(0).Fill(16)),
               C::WrongItem,
               351,
               "roots[0].entity.items[0]"},
        Damage{{"NegativeCount"}, Group(1, -1), C::NegativeCount, 263, "roots[0].children"},
        Damage{{"EmptyRoot"}, Group(1, 0).Int(0), C::EmptyRoot, 267, "roots[1]"},
        Damage{{"KeyReused"}, Group(1, 1).Add(Group(1, 0)), C::KeyReused, 8, "roots[0]"},
        Damage{{"VectorTag"}, GroupWith(189, Bytes().Byte('w')), C::VectorTag, 231, "roots[0].styles"},
        Damage{{"StyleCount"}, Styled(1).Add(Style(1, u"ALineStyle")).Int(0), C::StyleCount, 227, "roots[0].styles"},
        Damage{{"StyleKind"},
               Styled(4).Add(Style(1, u"ALineStyle")).Fill(12).Int(0),
               C::StyleKind,
               247,
               "roots[0].styles[0]"},
        Damage{{"StyleMissing"}, MeshNode().Fill(16), C::StyleMissing, 8, "roots[0].styles"},
        Damage{{"ItemDropped"},
               Node(u"AMeshEntity").Int(1).Text(u"ASubEdge").EntityHeader(0).Int(0),
               C::ItemDropped,
               347,
               "roots[0].entity.item"},
        Damage{{"FacesDropped"},
               Node(u"ATopoEntity").Int(2).Text(u"AListEntity").EntityHeader(0).Int(0).Int(2),
               C::ItemDropped,
               347,
               "roots[0].entity.faces"},
        Damage{{"NothingHeld"}, EntityNode(1).Int(0), C::NothingHeld, 265, "roots[0].entity"},
        Damage{{"IndexRange"},
               MeshNode().Add(Numbers(9)).Int(3).Int(0).Int(1).Int(3).Fill(8),
               C::IndexRange,
               475,
               "roots[0].entity.item.indices"},
        Damage{{"IndexCount"},
               MeshNode().Add(Numbers(9)).Add(Numbers(2)).Fill(8),
               C::IndexCount,
               463,
               "roots[0].entity.item.indices"},
        Damage{
            {"VertexCount"}, MeshNode().Add(Numbers(8)).Fill(12), C::VertexCount, 423, "roots[0].entity.item.vertices"},
        Damage{{"NormalCount"},
               MeshNode().Add(Numbers(9)).Int(0).Add(Numbers(6)).Fill(4),
               C::NormalCount,
               467,
               "roots[0].entity.item.normals"},
        Damage{{"TexCoordCount"},
               MeshNode().Add(Numbers(9)).Int(0).Int(0).Add(Numbers(9)),
               C::TexCoordCount,
               471,
               "roots[0].entity.item.texCoords"},
        Damage{{"VertexNotFinite"},
               MeshNode().Add(Numbers(9, std::numeric_limits<float>::quiet_NaN())).Fill(12),
               C::NotFinite,
               427,
               "roots[0].entity.item.vertices"},
        Damage{
            {"MatrixNotFinite"}, GroupWith(5 + 24, Bytes().Double(s_Infinity)), C::NotFinite, 75, "roots[0].transform"},
        Damage{
            {"BoxTooSmall"}, MeshNode().Add(Numbers(9, 2)).Fill(12), C::BoxTooSmall, 375, "roots[0].entity.item.box"},
        Damage{{"BoxOfGroupTooSmall"},
               Group(1, 1).Add(GroupWith(133, Bytes().Double(-1))),
               C::BoxTooSmall,
               179,
               "roots[0].box"},
        Damage{{"BoxTurned"}, GroupWith(133, Bytes().Double(1)), C::BoxTurned, 179, "roots[0].box"},
        Damage{{"LoneSurrogate"},
               TextNode(std::u16string(1, char16_t{0xD800}) + u"!"),
               C::LoneSurrogate,
               439,
               "roots[0].entity.items[0].text"},
        Damage{{"EmptyList"}, Group(1, 0), C::EmptyList, 263, "roots[0].children"},
        Damage{{"FlagValue"}, GroupWith(4, Bytes().Byte(2)), C::FlagValue, 50, "roots[0].visible"}),
    RowName<Damage>);

TEST_F(Check, HeadersAreFoundDamaged)
{
    const auto codeOf = [&](const Bytes& file) {
        Findings findings;
        static_cast<void>(Walk(file, findings));
        ExpectOneVerdict(file);
        EXPECT_EQ(findings.GetAll().at(0).path, "header");
        return findings.GetAll().at(0).code;
    };
    EXPECT_EQ(codeOf(Bytes()), FindingCode::HeaderShort);
    EXPECT_EQ(codeOf(Bytes::Header().First(7)), FindingCode::HeaderShort);
    EXPECT_EQ(codeOf(Bytes().Int(2012).Int(3)), FindingCode::HeaderIdentifier);
    EXPECT_EQ(codeOf(Bytes().Int(2011).Int(4)), FindingCode::Version);
}

// Whatever is done to a good file, walker and loader agree whether it is whole.
TEST_F(Check, VerdictsAgreeOnAlteredFiles)
{
    static constexpr int s_Runs = 1500;
    const std::string good = Demo().Data();
    std::mt19937 random(20110003);
    const auto below = [&](std::size_t limit) { return static_cast<std::size_t>(random() % limit); };
    for (int run = 0; run < s_Runs && !HasFailure(); ++run) {
        SCOPED_TRACE(run);
        std::string file = good;
        const std::size_t at = below(good.size() - 8);
        switch (run % 6) {
        case 0: // a byte
            file[at] = static_cast<char>(random());
            break;
        case 1: // the end
            file.resize(at);
            break;
        case 2:
            file.insert(at, 1 + below(8), static_cast<char>(below(2)));
            break;
        case 3:
            file.erase(at, 1 + below(8));
            break;
        case 4: // a block stands twice
            file.insert(at, good, below(good.size()), 1 + below(300));
            break;
        default: { // a small number, such as a count or a key
            std::size_t place = at;
            while (place > 8 && (file[place] == 0 || file.compare(place + 1, 3, std::string(3, '\0')) != 0))
                --place;
            file[place] = static_cast<char>(below(4));
        }
        }
        ExpectOneVerdict(Bytes(file));
    }
    for (std::size_t cut = 0; cut < good.size() && !HasFailure(); cut += 197)
        ExpectOneVerdict(Bytes(good.substr(0, cut)));
}

namespace {

/// Groups in groups, lists, and objects shared at every level.
Lumvo::Roots SmallScene()
{
    auto texture = std::make_shared<ATexture>();
    texture->SetName(L"oak");
    auto material = std::make_shared<AMaterial>();
    material->SetDiffuseTexture(texture);
    material->SetReflectionTexture(texture);
    auto style = std::make_shared<AFaceStyle>();
    style->SetMaterial(material);
    auto list = std::make_shared<AMeshListEntity>();
    list->AddItem(std::make_shared<ASubMesh>());
    list->AddItem(list->GetItems().front());
    auto body = std::make_shared<ATopoEntity>();
    body->SetFaces(list);
    auto entities = std::make_shared<AGroupEntity>();
    entities->AddEntity(list);
    entities->AddEntity(body);
    auto shown = std::make_shared<AEntitySceneNode>();
    shown->SetEntity(entities);
    shown->SetStyle(StyleFace, style);
    shown->SetStyle(StyleEdge, std::make_shared<ALineStyle>());
    auto inner = std::make_shared<AGroupSceneNode>();
    inner->AddChildNode(shown);
    inner->AddChildNode(shown);
    auto outer = std::make_shared<AGroupSceneNode>();
    outer->AddChildNode(inner);
    outer->AddChildNode(inner);
    return {outer, inner};
}
} // namespace

// Of a scene that is cut anywhere all is saved that is complete, and the longer the rest the more.
TEST_F(Check, SalvageOfEveryCut)
{
    const Bytes good = Saved(SmallScene());
    const std::uint64_t all = Lumvo::SceneObjects(SmallScene()).objects.size();
    Lumvo::Salvaged last;
    for (std::size_t cut = 0; cut <= good.Size() && !HasFailure(); ++cut) {
        SCOPED_TRACE(cut);
        PutFile("cut.scene", good.First(cut));
        try {
            const Lumvo::Salvaged saved = Lumvo::Salvage(Folder() / "cut.scene", Folder() / "out.scene");
            EXPECT_GE(saved.objects, last.objects);
            EXPECT_GE(saved.lostOffset, last.lostOffset);
            EXPECT_EQ(saved.lostOffset + saved.lostBytes, cut);
            EXPECT_EQ(saved.dropped, 0U);
            Findings findings;
            EXPECT_TRUE(Lumvo::SceneWalk(Folder() / "out.scene", findings).Run().inStep);
            EXPECT_EQ(findings.Count(Severity::Error), 0U);
            last = saved;
        } catch (const Lumvo::FileError& error) {
            EXPECT_EQ(error.GetExitCode(), Lumvo::ExitCannotRead);
            EXPECT_EQ(last.objects, 0U) << "a shorter file gave something";
        }
    }
    EXPECT_EQ(last.objects, all);
    EXPECT_EQ(last.lostBytes, 0U);
    EXPECT_EQ(GetFile("out.scene"), good);
}

// A node whose own values are whole is saved, wherever its references begin to be missing.
TEST_F(Check, SalvageOfANodeWithoutItsStyles)
{
    const Bytes whole = Bytes::Header().Add(Group(1, 0));
    for (std::size_t cut = 227; cut <= whole.Size(); ++cut) { // the first byte of the count of its styles
        PutFile("cut.scene", whole.First(cut));
        static_cast<void>(Lumvo::Salvage(Folder() / "cut.scene", Folder() / "out.scene"));
        EXPECT_EQ(GetFile("out.scene"), whole) << cut;
    }
}

// What a loader leaves out, and what it would keep where no file can hold it, does not spoil what is written, and is told.
TEST_F(Check, WhatLoadersDropIsToldAndNotWritten)
{
    const Bytes styles = Styled(5).Add(Style(1, u"ALineStyle")).Int(1).Int(1).Int(1).Int(1).Int(0);
    const Bytes children = Group(1, 2).Int(0).Add(Group(2, 0));
    using Row = std::tuple<std::string, Bytes, std::string>;
    for (const auto& [verb, records, told] :
         {Row{"check --salvage odd.scene", styles, "  lost  5 styles beyond the four of a node\n"},
          Row{"check --salvage odd.scene", children, "  lost  1 reference that no loader keeps\n"},
          Row{"check --salvage odd.scene", {}, "  saved odd.scene: 0 roots, 0 objects, 8 bytes\n"},
          Row{"convert -q odd.scene", styles, "    left out  5 x styles beyond the four of a node\n"},
          Row{"merge -q odd.scene odd.scene", styles, "5 x styles beyond the four of a node\n"}}) {
        PutScene("odd.scene", records);
        const Outcome made = Lumvo(verb + " odd.scene"); // in place
        EXPECT_THAT(made.out + made.err, HasSubstr(told)) << verb;
        const Outcome outcome = Lumvo("check odd.scene");
        EXPECT_EQ(outcome.code, 0) << verb << outcome.out;
    }
}

TEST_F(Check, AMillionEqualFindingsAreOne)
{
    static constexpr int s_Million = 1000000;
    const Bytes file = Bytes::Header().Add(MeshNode()).Int(0).Int(s_Million).Fill(4 * s_Million, 0xFF).Fill(8);
    const auto start = std::chrono::steady_clock::now();
    Findings findings;
    static_cast<void>(Walk(file, findings));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_THAT(findings.GetAll(), Contains(AllOf(Field(&Findings::Finding::code, FindingCode::IndexRange),
                                                  Field(&Findings::Finding::count, std::uint64_t{s_Million}))));
    PutFile("million.scene", file);
    EXPECT_THAT(Lumvo("check million.scene").out, HasSubstr("1,000,000 times in ASubMesh.indices\n"));
}

TEST_F(Check, TellsAndEnds)
{
    PutScene("good.scene", Group(1, 1).Add(Group(2, 0)).Int(1));
    PutScene("warned.scene", EntityNode(1).Int(0));
    PutScene("bad.scene", Group(1, 3).Int(0).Int(0).Int(2).Text(u"AGhost"));
    const auto lastLine = [](const Outcome& outcome) {
        const std::size_t end = outcome.out.size() - 1;
        return outcome.out.substr(outcome.out.rfind('\n', end - 1) + 1, end - outcome.out.rfind('\n', end - 1) - 1);
    };
    EXPECT_EQ(lastLine(Lumvo("check good.scene")), "good.scene: valid: 0 errors, 0 warnings, 1 note, 2 objects");
    EXPECT_EQ(lastLine(Lumvo("check --strict warned.scene")),
              "warned.scene: not valid: 0 errors, 1 warning, 0 notes, 1 object");
    const Outcome bad = Lumvo("check --max-issues 1 bad.scene");
    EXPECT_EQ(lastLine(bad), "bad.scene: not valid: 3 errors, 0 warnings, 0 notes, 0 objects");
    EXPECT_THAT(bad.out,
                AllOf(HasSubstr("  byte 267: error empty-item: roots[0].children[0]: the reference is empty; 2 "
                                "times in AGroupSceneNode.children\n  ... 1 more finding"),
                      HasSubstr("what follows byte ")));
    struct Row
    {
        const char* arguments;
        int code;
    };
    for (const Row& row : {Row{"good.scene", 0},
                           {"warned.scene", 0},
                           {"--strict warned.scene", 1},
                           {"bad.scene", 1},
                           {"--error nothing-held warned.scene", 1},
                           {"--strict --ignore nothing-held warned.scene", 0},
                           {"--strict --note nothing-held warned.scene", 0},
                           {"--warning empty-item --ignore unknown-class bad.scene", 0},
                           {"good.scene bad.scene missing.scene", 3},
                           {"--ignore nonsense good.scene", 2},
                           {"", 2},
                           {"--codes", 0},
                           {"--salvage out.scene good.scene bad.scene", 2},
                           {"--salvage /dev/full bad.scene", 4},
                           {"--salvage nowhere/out bad.scene", 4}}) {
        const Outcome outcome = Lumvo("check " + std::string(row.arguments));
        EXPECT_EQ(outcome.code, row.code) << row.arguments << outcome.err;
        EXPECT_EQ(outcome.err.empty(), row.code < 2) << row.arguments << outcome.err;
    }
    EXPECT_THAT(Files(), ElementsAre("bad.scene", "good.scene", "warned.scene"));
}

TEST_F(Check, TellsInJson)
{
    PutScene("bad.scene", Group(1, 3).Add(Group(2, 0)).Int(0).Int(3).Text(u"AGhost"));
    const Outcome outcome = Lumvo("check --json --ignore empty-list --max-issues 1 --salvage out.scene bad.scene");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.Json(), Lumvo::Json::parse(R"({"file": "bad.scene", "valid": false, "errors": 2, "warnings": 0,
        "notes": 0, "objects": 1, "inStep": false, "walkedBytes": 550,
        "findings": [{"code": "empty-item", "severity": "error", "class": "AGroupSceneNode", "member": "children",
            "offset": 526, "path": "roots[0].children[1]", "detail": "the reference is empty", "count": 1}],
        "findingsLeftOut": 1,
        "salvaged": {"file": "out.scene", "roots": 1, "objects": 2, "bytes": 526, "lostBytes": 20, "lostOffset": 530,
            "droppedReferences": 1, "droppedStyles": 0}})"));
    EXPECT_EQ(Lumvo("check --json --strict --ignore empty-list out.scene").code, 0);
}
