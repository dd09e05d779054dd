#include <Formats/Support/FormatListener.h>
#include <Formats/Support/FormatServices.h>
#include <Formats/Support/Geometry.h>
#include <Tests/Support/SceneFileTest.h>
#include <Tests/Support/TestRow.h>

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <future>
#include <thread>
#include <vector>

using namespace Kelvra;
using namespace std::string_literals;

namespace {

using Triangles = std::vector<std::uint32_t>;

struct Polygon : TestRow
{
    std::vector<float> points;
    double area;
};
class Polygons : public testing::TestWithParam<Polygon>
{
};

/// The area of a triangle, seen along z.
double AreaOf(const std::vector<float>& points, const std::uint32_t* corners)
{
    const auto at = [&](std::size_t corner, std::size_t axis) { return double{points[3 * corners[corner] + axis]}; };
    return ((at(1, 0) - at(0, 0)) * (at(2, 1) - at(0, 1)) - (at(1, 1) - at(0, 1)) * (at(2, 0) - at(0, 0))) / 2;
}

// The triangles of a simple polygon all turn the way it turns, and cover it exactly.
TEST_P(Polygons, AreCutWithoutOverlap)
{
    const std::vector<float>& points = GetParam().points;
    Triangles corners;
    for (std::uint32_t i = 0; i < points.size() / 3; ++i)
        corners.push_back(i);
    Triangles triangles;
    Formats::Triangulate(points, corners, triangles);
    ASSERT_EQ(triangles.size(), 3 * (corners.size() - 2));
    double area = 0;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        const double one = AreaOf(points, &triangles[i]);
        EXPECT_GE(one * GetParam().area, 0) << "triangle " << i / 3;
        area += one;
    }
    EXPECT_NEAR(area, GetParam().area, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, Polygons,
    testing::Values(Polygon{{"Square"}, {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}, 1},
                    Polygon{{"Clockwise"}, {0, 0, 5, 0, 2, 5, 2, 2, 5, 2, 0, 5}, -4},
                    Polygon{{"AnL"}, {0, 0, 0, 2, 0, 0, 2, 1, 0, 1, 1, 0, 1, 2, 0, 0, 2, 0}, 3},
                    Polygon{{"ConcaveAtTheFirstCorner"}, {1, 1, 0, 3, 0, 0, 1, 4, 0, 0, 0, 0}, 4.5},
                    Polygon{{"CornersInARow"}, {0, 0, 0, 1, 0, 0, 2, 0, 0, 2, 1, 0, 1, 1, 0, 0, 1, 0}, 2},
                    Polygon{{"CombOfThree"},
                            {0, 0, 0, 5, 0, 0, 5, 3, 0, 4, 3, 0, 4, 1, 0, 3, 1, 0,
                             3, 3, 0, 2, 3, 0, 2, 1, 0, 1, 1, 0, 1, 3, 0, 0, 3, 0},
                            11}),
    RowName<Polygon>);

// What cannot be clipped still gives a triangle for each corner but two.
TEST(Triangulate, CutsWhatHasNoAreaAsAFan)
{
    Triangles triangles;
    Formats::Triangulate({0, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0}, {0, 1, 2, 3}, triangles);
    EXPECT_EQ(triangles, (Triangles{0, 1, 2, 0, 2, 3}));
}

// A star with many obstacles is cut like a small one; what crosses itself everywhere ends soon all the same.
TEST(Triangulate, CutsLargePolygons)
{
    for (const bool star : {true, false}) {
        std::vector<float> points;
        Triangles corners;
        for (std::uint32_t i = 0; i < 20'000; ++i) {
            const double radius = 100 + i * i % 997, angle = i * 3.14159265358979 / 10'000;
            const double x = star ? radius * std::cos(angle) : i * 7919 % 104'729;
            const double y = star ? radius * std::sin(angle) : i * 104'723 % 7907;
            points.insert(points.end(), {static_cast<float>(x), static_cast<float>(y), 0});
            corners.push_back(i);
        }
        Triangles triangles;
        Formats::Triangulate(points, corners, triangles);
        ASSERT_EQ(triangles.size(), 3 * (corners.size() - 2));
        for (std::size_t i = 0; i < triangles.size() && star; i += 3)
            ASSERT_GE(AreaOf(points, &triangles[i]), 0) << i;
    }
}

TEST(Welder, GivesEqualVerticesOneIndex)
{
    Formats::Welder welder(3);
    std::vector<std::uint32_t> indices;
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < 10'000; ++i) {
            const float vertex[] = {static_cast<float>(i % 100), static_cast<float>(i / 100), 0.5F};
            indices.push_back(welder.Add(vertex));
        }
    ASSERT_EQ(welder.GetCount(), 10'000U);
    for (std::uint32_t i = 0; i < 10'000; ++i)
        ASSERT_TRUE(indices[i] == i && indices[i + 10'000] == i);
    EXPECT_EQ(welder.Vertices()[3 * 4321], 21.0F);

    const float plus[] = {0.0F, 0.0F, 0.0F};
    const float minus[] = {-0.0F, 0.0F, -0.0F};
    EXPECT_EQ(welder.Add(plus), welder.Add(minus));
}

std::shared_ptr<ASubMesh> Triangle()
{
    auto mesh = std::make_shared<ASubMesh>();
    mesh->VertexBuffer() = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    mesh->IndexBuffer() = {0, 1, 2};
    mesh->NormalBuffer() = {0, 0, 1, 0, 0, 1, 0, 0, 1};
    Formats::FitBox(*mesh);
    return mesh;
}

std::shared_ptr<AEntitySceneNode> NodeOf(const std::shared_ptr<AEntity>& entity, const AMath::Matrix4& transform = {})
{
    auto node = std::make_shared<AEntitySceneNode>();
    node->SetEntity(entity);
    node->SetTransform(transform);
    return node;
}

// A mirror turns triangles round, so that they still face the way their normals point.
TEST(Transformed, KeepsFacesAndNormalsTogether)
{
    const AMath::Matrix4 mirrorAndStretch(-2, 0, 0, 0, 0, 1, 0, 0, 0, 1, 3, 0, 10, 0, 0, 1);
    const auto moved = Formats::Transformed(*Triangle(), mirrorAndStretch);
    EXPECT_EQ(moved->VertexBuffer(), (std::vector<float>{10, 0, 0, 8, 0, 0, 10, 1, 0}));
    EXPECT_EQ(moved->IndexBuffer(), (std::vector<unsigned int>{0, 2, 1}));
    EXPECT_EQ(moved->GetBBox(), AMath::AxisAlignedBox({8, 0, 0}, {10, 1, 0}));
    // A shear of y by z leaves the plane z = 0, and so its normal, alone.
    EXPECT_EQ(moved->NormalBuffer(), (std::vector<float>{0, 0, 1, 0, 0, 1, 0, 0, 1}));
}

TEST(Placed, HandsOutEachUseWithItsPlaceAndStyles)
{
    const auto shared = Formats::MakeEntity({Triangle()}, {});
    const auto style = std::make_shared<AFaceStyle>();
    const auto group = std::make_shared<AGroupSceneNode>();
    group->SetStyle(StyleFace, style);
    group->SetTransform(AMath::Matrix4(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 7, 1));
    const AMath::Matrix4 twice(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 1, 1);
    group->AddChildNode(NodeOf(shared, twice));
    group->AddChildNode(NodeOf(shared));
    const auto hidden = NodeOf(shared);
    hidden->SetVisible(false);
    group->AddChildNode(hidden);

    std::vector<double> heights;
    const Formats::LeftOut left = Formats::ForEachPlaced({group}, [&](const Formats::Placed& placed) {
        heights.push_back(placed.toWorld[14]);
        EXPECT_EQ(placed.faceStyle, style.get());
    });
    EXPECT_THAT(heights, testing::ElementsAre(8, 7)); // scaled first, then lifted
    EXPECT_EQ(left.hiddenNodes, 1U);

    const auto flat = std::dynamic_pointer_cast<AMeshListEntity>(Formats::Flatten({group}, 2000));
    ASSERT_TRUE(flat);
    EXPECT_EQ(flat->GetBBox(), AMath::AxisAlignedBox({0, 0, 7}, {2, 2, 8}));
    EXPECT_THROW((void)Formats::Flatten({group}, 200), Formats::FormatError) << "copies take more";

    group->SetTransform(AMath::Matrix4(1e300, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
    EXPECT_THROW((void)Formats::Flatten({group}, 2000), Formats::FormatError) << "beyond the range of floats";
}

/// Groups that each hold the next one twice, the last one a node that shows the entity.
Formats::Roots NestedTwice(int groups, const std::shared_ptr<AEntity>& entity)
{
    std::shared_ptr<ASceneNode> node = NodeOf(entity);
    for (int i = 0; i < groups; ++i) {
        const auto group = std::make_shared<AGroupSceneNode>();
        group->AddChildNode(node);
        group->AddChildNode(node);
        node = group;
    }
    return {node};
}

// Forty groups that each hold the next one twice show a million million meshes.
TEST(Placed, RefusesSharingThatExplodes)
{
    const auto roots = NestedTwice(40, Formats::MakeEntity({Triangle()}, {}));
    EXPECT_THROW(Formats::ForEachPlaced(roots, [](const Formats::Placed&) {}), Formats::FormatError);
}

// A scene may show much, or many times what it holds, but not both.
TEST(Placed, CountsTheNumbersOfEachUse)
{
    const auto mesh = Triangle();
    const auto entity = Formats::MakeEntity({mesh}, {});
    mesh->IndexBuffer().resize(60'000);
    EXPECT_EQ(Formats::CountNumbers(NestedTwice(12, entity)), 4096 * 60'018U);
    EXPECT_THROW((void)Formats::CountNumbers(NestedTwice(13, entity)), Formats::FormatError);
    mesh->IndexBuffer().resize(3'000'000);
    EXPECT_EQ(Formats::CountNumbers(NestedTwice(9, entity)), 512 * 3'000'018U) << "much in itself";
    EXPECT_THROW((void)Formats::CountNumbers(NestedTwice(10, entity)), Formats::FormatError);

    const auto cloud = std::make_shared<ASubMesh>();
    const auto edge = std::make_shared<ASubEdge>();
    const auto polygon = std::make_shared<APolygonEntity>();
    polygon->SetItem(std::make_shared<ASubPolygon>());
    for (auto* const points : {&cloud->VertexBuffer(), &edge->VertexBuffer(), &polygon->GetItem()->VertexBuffer()})
        points->resize(60'000);
    for (const auto& other :
         {Formats::MakeEntity({cloud}, {}), Formats::MakeEntity({}, {edge}), std::shared_ptr<AEntity>(polygon)})
        EXPECT_THROW((void)Formats::CountNumbers(NestedTwice(13, other)), Formats::FormatError);
}

using Services = SceneFileTest;

// Without a listener errors and losses go to the assertion service; a service whose name is taken changes nothing.
TEST_F(Services, TellTheAssertionServiceUnlessAProgramListens)
{
    const auto read = [](Formats::Import& import) -> std::shared_ptr<ASceneNode> {
        if (import.GetFile().GetSize() > 3)
            throw Formats::FormatError(Formats::AtByte(3), "is too much");
        import.Lose("spare things", 2);
        return NodeOf(Formats::MakeEntity({Triangle()}, {}));
    };
    auto& services = TSingleton<ASceneFileServiceManager>::Instance();
    {
        const Formats::FormatRegistration first({L"t", L"Three bytes", L"*.t", read});
        {
            const Formats::FormatRegistration second({L"t", L"Another", L"*.t", read});
        }
        ASSERT_TRUE(services.GetObject(L"t"));
        WriteFile(Bytes().Int(0), "four.t");
        WriteFile(Bytes("abc"), "three.t");
        EXPECT_FALSE(services.GetObject(L"t")->LoadFile(FileName("four.t")));
        EXPECT_EQ(TakeReports(),
                  (Reports{{FileName("four.t") + L": byte 3: is too much", "Formats/FormatListener", 1}}));
        EXPECT_TRUE(services.GetObject(L"t")->LoadFile(FileName("three.t")));
        EXPECT_EQ(TakeReports(),
                  (Reports{{FileName("three.t") + L": left out: 2 x spare things", "Formats/FormatListener", 2}}));
    }
    EXPECT_FALSE(services.GetObject(L"t"));
    EXPECT_FALSE(TSingleton<AMeshFileServiceManager>::Instance().GetObject(L"t"));
}

// Two threads that load at once each receive what is theirs, whoever put its listener in force last.
TEST_F(Services, TellTheListenerOfTheirThread)
{
    struct Listener : Formats::FormatListener
    {
        void OnError(const std::filesystem::path& file, const Formats::FormatError&) override { told += file.string(); }
        void OnLoss(const std::filesystem::path&, const std::string&, std::uint64_t) override {}
        std::string told;
    } here, there;
    const Formats::FormatListenerScope scope(here);
    std::promise<void> done;
    std::promise<void> listening;
    std::thread other([&] {
        const Formats::FormatListenerScope otherScope(there);
        listening.set_value();
        done.get_future().wait();
        Formats::FormatListener::Current().OnError("there", {"", ""});
    });
    listening.get_future().wait();
    Formats::FormatListener::Current().OnError("here", {"", ""});
    done.set_value();
    other.join();
    EXPECT_EQ(here.told + ' ' + there.told, "here there");
}

using Companions = SceneFileTest;

// Names and links lead to files in the folder of the model or below it, and nowhere else.
TEST_F(Companions, AreInTheFolderOrBelow)
{
    std::filesystem::create_directories(PathOf("model/sub"));
    std::filesystem::create_directory(PathOf("outside"));
    for (const char* const file : {"model/a.obj", "model/sub/b", "outside/c"})
        WriteFile(Bytes("x"), file);
    for (const auto& [link, to] : {std::pair("model/in", "sub/b"), std::pair("model/out", "../outside/c"),
                                   std::pair("model/folder", "../outside"), std::pair("link", "model")})
        std::filesystem::create_symlink(to, PathOf(link));

    const std::filesystem::path inside = std::filesystem::canonical(PathOf("model/sub/b"));
    for (const char* const model : {"model/a.obj", "link/a.obj"}) {
        const Formats::Import import(PathOf(model));
        for (const char* const name : {"sub/b", "./x/../sub//b", "in"})
            EXPECT_EQ(import.FindCompanion(name), inside) << name;
        for (const std::string& name :
             {"out"s, "folder/c"s, "../outside/c"s, "none"s, ""s, inside.string(), "in\0"s, "in\0x"s})
            EXPECT_THROW((void)import.FindCompanion(name), Formats::FormatError) << name;
    }
}
} // namespace
