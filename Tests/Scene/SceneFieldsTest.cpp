#include <LumvoData/LumvoData.h>

#include <gmock/gmock.h>

using namespace Kelvra;

namespace {

/// Notes what it is given, and lets every mesh, and nothing else, be replaced by `replacement`.
struct Notes : ASceneFieldVisitor
{
    std::vector<std::string> notes;
    std::shared_ptr<AObject> replacement;

    void OnField(const ASceneField& field) override
    {
        notes.push_back(field.name + std::string(" ") + std::to_string(static_cast<int>(field.GetKind())));
    }
    void OnReferences(const ASceneReferenceField& field, std::size_t count) override
    {
        notes.push_back(field.name + std::string(" x ") + std::to_string(count));
    }
    void OnReference(const ASceneReferenceField& /*field*/, std::shared_ptr<AObject>& object) override
    {
        object = object != nullptr ? replacement : object;
    }
    void OnBytes(const void* /*data*/, std::size_t count) override { notes.push_back(std::to_string(count)); }
};

/// A class that stores more than an ASceneRecord lists.
class OddMesh : public AMeshEntity
{
public:
    using AMeshEntity::Serialize;
    void Serialize(ASceneSerializeContext& context) override
    {
        AMeshEntity::Serialize(context);
        context.Write(L"ab");
        context.Collector().WritePtr<ASubEntity>(GetItem(), context);
    }
};
} // namespace

TEST(SceneFields, ComeInTheOrderOfTheRecord)
{
    Notes node;
    EXPECT_TRUE(VisitFields(*std::make_shared<AEntitySceneNode>(), node));
    EXPECT_THAT(node.notes,
                testing::ElementsAre("id 0", "visible 3", "transform 5", "box 6", "styles x 4", "entity x 1"));
    Notes odd;
    OddMesh mesh;
    EXPECT_TRUE(VisitFields(mesh, odd));
    EXPECT_THAT(odd.notes, testing::ElementsAre("tag 0", "box 6", "item x 1", "4", "4", " x 1"));
    EXPECT_FALSE(VisitFields(*std::make_shared<AObject>(), odd)) << "no scene file holds it";
}

// A visitor replaces a reference by an object of the class that is kept, and by no other.
TEST(SceneFields, ReferencesCanBeReplaced)
{
    const auto first = std::make_shared<ASubMesh>();
    AMeshListEntity list;
    list.AddItem(first);
    Notes visitor;
    visitor.replacement = std::make_shared<ASubEdge>();
    VisitFields(list, visitor);
    EXPECT_EQ(list.GetItems().front(), first);
    visitor.replacement = std::make_shared<ASubMesh>();
    VisitFields(list, visitor);
    EXPECT_EQ(list.GetItems().front(), visitor.replacement);
}
