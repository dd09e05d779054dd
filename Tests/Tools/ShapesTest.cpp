#include <Tools/Shapes.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>

using namespace Kelvra;
using namespace Lumvo;
using AMath::AxisAlignedBox;
using AMath::Vector3;

namespace {

Vector3 PointOf(const std::vector<float>& buffer, unsigned index)
{
    const auto at = [&](unsigned k) { return static_cast<double>(buffer.at(3 * std::size_t{index} + k)); };
    return {at(0), at(1), at(2)};
}

/// The space that the triangles enclose: negative where they face inwards, wrong where they leave gaps.
double VolumeOf(const ASubMesh& mesh)
{
    double volume = 0;
    for (std::size_t i = 0; i < mesh.IndexBuffer().size(); i += 3) {
        std::array<Vector3, 3> corners;
        for (std::size_t k = 0; k < 3; ++k)
            corners[k] = PointOf(mesh.VertexBuffer(), mesh.IndexBuffer()[i + k]);
        const Vector3 across = (corners[1] - corners[0]).crossProduct(corners[2] - corners[0]);
        const Vector3 normal = PointOf(mesh.NormalBuffer(), mesh.IndexBuffer()[i]);
        EXPECT_NEAR(across.dotProduct(normal), across.length(), 1e-3) << "the normal belongs to the face";
        volume += corners[0].dotProduct(corners[1].crossProduct(corners[2])) / 6;
    }
    EXPECT_EQ(mesh.NormalBuffer().size(), mesh.VertexBuffer().size());
    EXPECT_EQ(mesh.TexCoordBuffer().size() / 2, mesh.VertexBuffer().size() / 3);
    return volume;
}
} // namespace

// Solids are closed and face outwards.
TEST(Shapes, SolidsEncloseTheirVolume)
{
    const double hexagon = 3 * std::sin(std::acos(-1.0) / 3); // area of one in a circle of radius 1
    const auto prism = Cylinder(2, -1, 4, 6);
    EXPECT_NEAR(VolumeOf(*prism), 4 * hexagon * 5, 1e-4);
    EXPECT_NEAR(prism->GetBBox().getMinimum().x, -2, 1e-6);
    EXPECT_EQ(prism->GetBBox().getMaximum().z, 4);
    EXPECT_NEAR(VolumeOf(*Revolve({{1, 0}, {3, 0}, {3, 2}, {1, 2}}, 6)), (9 - 1) * hexagon * 2, 1e-4) << "a ring";

    const AxisAlignedBox box({1, 2, 3}, {2, 4, 6});
    double volume = 0;
    AxisAlignedBox around;
    for (const auto& face : BoxFaces(box)) {
        volume += VolumeOf(*face);
        around.merge(face->GetBBox());
    }
    EXPECT_NEAR(volume, 1 * 2 * 3, 1e-6);
    EXPECT_EQ(around, box);
}

// Each edge of a box runs along one axis, and together they reach around it four times in each direction.
TEST(Shapes, BoxesHaveTwelveEdges)
{
    Vector3 lengths;
    const auto edges = BoxEdges(AxisAlignedBox({1, 2, 3}, {2, 4, 6}));
    for (const auto& edge : edges)
        lengths = lengths + edge->GetBBox().getMaximum() - edge->GetBBox().getMinimum();
    EXPECT_EQ(edges.size(), 12U);
    EXPECT_EQ(lengths, Vector3(4, 8, 12));
}
