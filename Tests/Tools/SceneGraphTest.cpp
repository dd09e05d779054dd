#include <Tests/Tools/ToolTest.h>
#include <Tools/FileError.h>
#include <Tools/OutputFile.h>
#include <Tools/SceneGraph.h>
#include <Tools/SceneRecords.h>
#include <Tools/TreeWalk.h>

#include <gmock/gmock.h>

using namespace Kelvra;
using namespace Lumvo;

namespace {

/// Two nodes that show meshes and have a style each.
struct Pair
{
    std::shared_ptr<AEntitySceneNode> first = std::make_shared<AEntitySceneNode>();
    std::shared_ptr<AEntitySceneNode> second = std::make_shared<AEntitySceneNode>();
    Roots roots{first, second};

    /// Both show one mesh and have one style.
    Pair()
    {
        const auto mesh = std::make_shared<AMeshEntity>();
        mesh->SetItem(std::make_shared<ASubMesh>());
        const auto style = std::make_shared<AFaceStyle>();
        style->SetMaterial(std::make_shared<AMaterial>());
        for (const auto& node : {first, second}) {
            node->SetEntity(mesh);
            node->SetStyle(StyleFace, style);
        }
    }
};

/// Group nodes `depth` levels deep, each holding the next one twice.
Roots NestedTwice(int depth)
{
    std::shared_ptr<ASceneNode> node = std::make_shared<AGroupSceneNode>();
    for (int k = 0; k < depth; ++k) {
        const auto holder = std::make_shared<AGroupSceneNode>();
        holder->AddChildNode(node);
        holder->AddChildNode(node);
        node = holder;
    }
    return {node};
}
} // namespace

// Scenes are alike only where exactly the same places share an object.
TEST(SceneGraph, ComparesSharing)
{
    const Pair shared;
    EXPECT_EQ(CompareSharing(shared.roots, Pair().roots), "");

    Pair apart;
    apart.second->SetEntity(std::make_shared<AMeshEntity>(static_cast<AMeshEntity&>(*apart.first->GetEntity())));
    EXPECT_EQ(CompareSharing(shared.roots, apart.roots), "an AMeshEntity is shared in one scene and not in the other");
    EXPECT_NE(CompareSharing(apart.roots, shared.roots), "") << "shared where it was not";

    Pair material;
    static_cast<AFaceStyle&>(*material.first->GetStyle(StyleFace)).SetMaterial(nullptr);
    EXPECT_EQ(CompareSharing(shared.roots, material.roots),
              "an AMaterial stands in one scene where the other has nothing");

    Pair slot;
    slot.second->SetStyle(StyleFace, nullptr);
    slot.second->SetStyle(StyleText, slot.first->GetStyle(StyleFace));
    EXPECT_NE(CompareSharing(shared.roots, slot.roots), "") << "another slot";

    Pair entity;
    entity.second->SetEntity(std::make_shared<APolygonEntity>());
    EXPECT_NE(CompareSharing(shared.roots, entity.roots), "") << "another class";
    EXPECT_NE(CompareSharing(shared.roots, {shared.first}), "") << "fewer roots";
}

// Each object is walked once, however many paths lead to it.
TEST(SceneGraph, SharedGroupsAreWalkedOnce)
{
    const Roots roots = NestedTwice(40);
    EXPECT_EQ(SceneObjects(roots).objects.size(), 41U);
    EXPECT_EQ(CompareSharing(roots, NestedTwice(40)), "");
    EXPECT_NE(CompareSharing(roots, NestedTwice(39)), "");

    TreeWalk walk(roots, 0);
    std::size_t first = 0;
    std::size_t repeated = 0;
    while (!walk.AtEnd())
        ++(walk.Next().repeated ? repeated : first);
    EXPECT_EQ(first, 41U);
    EXPECT_EQ(repeated, 40U);
    EXPECT_EQ(walk.GetNodesLeft(), 0U);
}

class Writer : public ToolTest
{
};

// Only Commit changes the file at the target, and not if the temporary file has given way to a link.
TEST_F(Writer, ReplacesTheFileWhenItIsComplete)
{
    namespace fs = std::filesystem;
    PutFile("old.scene", Bytes().Int(1));
    PutFile("victim", Bytes().Int(2));
    fs::create_symlink("old.scene", Folder() / "link.scene");
    fs::permissions(Folder() / "old.scene", fs::perms::owner_all);
    const std::vector<std::string> before = Files();
    {
        OutputFile output(Folder() / "link.scene");
        EXPECT_EQ(fs::status(output.GetWrittenFile()).permissions(), fs::perms::owner_all);
        fs::remove(output.GetWrittenFile());
        fs::create_symlink("victim", output.GetWrittenFile());
        WriteSceneFile(Pair().roots, output);
        EXPECT_THROW(output.Commit(), FileError);
        EXPECT_EQ(GetFile("victim"), Bytes().Int(2));
        EXPECT_EQ(GetFile("old.scene"), Bytes().Int(1));
    }
    OutputFile output(Folder() / "link.scene");
    const std::uint64_t size = WriteSceneFile(Pair().roots, output);
    output.Commit();
    EXPECT_EQ(GetFile("old.scene").Size(), size);
    EXPECT_TRUE(fs::is_symlink(Folder() / "link.scene"));
    EXPECT_EQ(fs::status(Folder() / "old.scene").permissions(), fs::perms::owner_all);
    EXPECT_EQ(Files(), before);
}
