#include <Tests/Support/SceneFileTest.h>

#include <limits>
#include <list>
#include <string>
#include <vector>

using namespace Kelvra;

namespace {

using ContainerTest = SceneFileTest;
using Styles = std::vector<std::shared_ptr<ANodeStyle>>;

/// The first occurrence of a line style.
Bytes Style(int key)
{
    return Bytes().Int(key).Text(u"ALineStyle").Colour(0, 0, 1, 1).Float(1).Byte(0);
}

TEST_F(ContainerTest, AreStoredAsCountAndReferences)
{
    const std::shared_ptr<ANodeStyle> style = std::make_shared<ALineStyle>();
    const auto edge = std::make_shared<ASubEdge>();
    Bytes expected = Bytes().Int(0).Int(3).Text(u"vector").Add(Style(1)).Int(0).Int(1);
    expected.Int(3).Int(0).Int(1).Text(u"ASubEdge").EntityHeader(-1).Int(0).Int(1);
    EXPECT_EQ(Store([&](ASceneSerializeContext& context) {
                  WriteList<AEntity>(std::list<std::shared_ptr<AEntity>>(), context);
                  WriteVector(Styles{style, nullptr, style}, context);
                  WriteList<ASubEntity>(std::list<std::shared_ptr<ASubEdge>>{nullptr, edge, edge}, context);
              }),
              expected);
}

/// Checks how one kind of container is read, from an element of the key 1 and from what stands behind the count.
class ContainerForms : public ContainerTest
{
protected:
    template <class Container, class Read>
    void Expect(Container container, const Bytes& element, const Report& missing, Read read, const Bytes& start = {})
    {
        const Bytes references = Bytes().Int(0).Add(element).Int(1).Int(0);
        const struct
        {
            int count;
            Bytes references;
            std::size_t objects, reports;
        } rows[] = {{4, references, 2, 2},
                    {9, references, 2, 7},
                    {0, Bytes(), 0, 0},
                    {std::numeric_limits<int>::min(), Bytes(), 0, 0},
                    {std::numeric_limits<int>::max(), Bytes().Int(0).Int(0).Fill(3), 0, 2 + 1024}};
        for (const auto& row : rows)
            Load(Bytes().Int(row.count).Add(start).Add(row.references), [&](ASceneSerializeContext& context) {
                container.assign(1, nullptr);
                read(container, context);
                ASSERT_EQ(container.size(), 1 + row.objects) << row.count;
                if (row.objects > 0) {
                    EXPECT_NE(container.back(), nullptr);
                    EXPECT_EQ(container.back(), *std::next(container.begin())) << "one shared object";
                }
                EXPECT_EQ(context.GetBytesLeft(), 0U);
                EXPECT_EQ(TakeReports(), Reports(row.reports, missing)) << row.count;
            });
    }
};

// Of a count that the file cannot hold, no more is tried than could stand there, and 1024 more.
TEST_F(ContainerForms, AppendWhatCanBeReadAndReportTheRest)
{
    const auto readList = [](auto& list, ASceneSerializeContext& context) { ReadList(list, context); };
    const auto readItems = [](auto& list, ASceneSerializeContext& context) {
        ReadListAs<ASubText, ASubEntity>(list, context);
    };
    const auto readVector = [](auto& vector, ASceneSerializeContext& context) { ReadVector(vector, context); };
    Expect(std::list<std::shared_ptr<AEntity>>(), Bytes().Int(1).Text(u"AGroupEntity").EntityHeader(0).Int(0),
           {L"Failed to read item!", "Serialize/AEntitySerializer", 61}, readList);
    Expect(std::list<std::shared_ptr<ASubText>>(),
           Bytes().Int(1).Text(u"ASubText").EntityHeader(0).Text(u"").Fill(24 + 32),
           {L"Failed to read item!", "Serialize/AEntitySerializer", 117}, readItems);
    Expect(std::list<std::shared_ptr<ASceneNode>>(), Bytes().Int(1).Text(u"AGroupSceneNode").NodeFields(0, 0).Int(0),
           {L"Can't find Node", "Serialize/ASceneNodeSerializer", 46}, readList);
    Expect(Styles(), Style(1), {L"Can't find Node", "Serialize/ASceneNodeSerializer", 89}, readVector,
           Bytes().Text(u"any tag"));
}

// What is tried behind the end of the file is limited for all containers of a run together.
TEST_F(ContainerTest, NestedHugeCountsTryNoMoreThanTheFileCouldHold)
{
    const int huge = std::numeric_limits<int>::max(), levels = 100;
    const std::u16string text(500'000, u'x');
    Bytes file;
    for (int key = 1; key <= levels; ++key)
        file.Int(key).Text(u"AGroupEntity").EntityHeader(0).Int(huge);
    file.Int(levels + 1).Text(u"ATextListEntity").EntityHeader(0).Int(huge);
    file.Int(1).Text(u"ASubText").EntityHeader(0).Text(text).Fill(24 + 32);
    std::shared_ptr<AEntity> entity = LoadReference<AEntity>(file);
    while (const auto group = std::dynamic_pointer_cast<AGroupEntity>(entity))
        entity = group->GetAll().empty() ? nullptr : group->GetAll().front();
    EXPECT_NE(std::dynamic_pointer_cast<ATextListEntity>(entity), nullptr);
    EXPECT_LE(TakeReports().size(), ASceneSerializeContext::MaxMissingElements + levels + 1U);
}

} // namespace
