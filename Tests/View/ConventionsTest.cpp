#include <Tests/View/RandomView.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace AMath;
using namespace GrphUtil;
using namespace Kelvra;

// The numbers of Docs/Conventions.md, table by table.
namespace {

void ExpectPoint(const Vector3& p, const Vector3& expected)
{
    EXPECT_NEAR((p - expected).length(), 0, 1e-9 + 1e-7 * expected.length());
}

/// An eye at (0, 0, 10) that looks along −z, shown 1000 × 500 units wide and high on 400 × 200 pixels.
class Conventions : public testing::Test
{
protected:
    Conventions() { m_Camera.ViewMatrix(ComputeViewMatrix({0, 0, 10}, {0, 0, -1}, {0, 1, 0})); }

    ACamera m_Camera;
    const AViewport m_Viewport{0, 0, 400, 200};
};

TEST_F(Conventions, MatricesMultiplyRowVectors)
{
    const Matrix4 scale(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1);
    const Matrix4 move(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1);
    EXPECT_EQ(View::Map({1, 2, 3}, scale.concatenate(move)), Vector4(12, 24, 36, 1));
    EXPECT_EQ(View::Map({1, 2, 3}, move.concatenate(scale)), Vector4(22, 44, 66, 1));
}

TEST_F(Conventions, TheCameraLooksAlongViewZ)
{
    EXPECT_EQ(m_Camera.Right(), Vector3(1, 0, 0));
    EXPECT_EQ(m_Camera.Up(), Vector3(0, 1, 0));
    EXPECT_EQ(m_Camera.Direction(), Vector3(0, 0, -1));
    EXPECT_EQ(m_Camera.Position(), Vector3(0, 0, 10));
    EXPECT_EQ(m_Camera.ViewMatrix(), Matrix4(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 10, 1));
    const double x = double(0.002F), y = double(0.004F), z = double(1 / 99999.0F);
    EXPECT_EQ(m_Viewport.ProjectionMatrix(), Matrix4(x, 0, 0, 0, 0, y, 0, 0, 0, 0, z, 0, 0, 0, -z, 1));
}

TEST_F(Conventions, PointsGoFromWorldToPixelAndBackAsRays)
{
    const Vector3 rows[][4] = {{{0, 0, 0}, {0, 0, 10}, {0, 0, 9 / 99999.0}, {200, 100, 1}},
                               {{250, 125, 0}, {250, 125, 10}, {0.5, 0.5, 9 / 99999.0}, {300, 50, 1}},
                               {{-500, 0, -5}, {-500, 0, 15}, {-1, 0, 14 / 99999.0}, {0, 100, 1}},
                               {{500, -250, 9}, {500, -250, 1}, {1, -1, 0}, {400, 200, 1}},
                               {{0, 250, -99990}, {0, 250, 100000}, {0, 1, 1}, {200, 0, 1}}};
    for (const auto& [world, view, clip, pixel] : rows) {
        EXPECT_EQ(View::Map(world, m_Camera.ViewMatrix()), Vector4(view.x, view.y, view.z, 1));
        const Vector4 found = View::Map(view, m_Viewport.ProjectionMatrix());
        ExpectPoint({found.x, found.y, found.z}, clip);
        const Vector2 foundPixel = WorldPoint2ScreenPoint(world, m_Camera, m_Viewport);
        ExpectPoint({foundPixel.x, foundPixel.y, found.w}, pixel);
        const Ray ray = ComputeScreenRay(int(pixel.x), int(pixel.y), m_Camera, m_Viewport);
        ExpectPoint(ray.origin, {world.x, world.y, 10009});
        EXPECT_EQ(ray.direction, Vector3(0, 0, -1));
    }
    ExpectPoint(ComputeScreenRay(0, 0, m_Camera, m_Viewport).origin, {-500, 250, 10009});
}

TEST_F(Conventions, APerspectiveDividesByViewDepth)
{
    const Matrix4 viewToClip = ComputeFOVProjection(1.57079637F, 0.5F, 1, 2);
    const Vector3 rows[][2] = {
        {{2, 1, 1}, {1, 1, 0}}, {{0, 0, 4 / 3.0}, {0, 0, 0.5}}, {{-2, 1, 2}, {-0.5, 0.5, 1}}, {{4, -2, 2}, {1, -1, 1}}};
    for (const auto& [view, clip] : rows) {
        const Vector4 p = View::Map(view, viewToClip);
        EXPECT_EQ(p.w, view.z);
        ExpectPoint(Vector3(p.x, p.y, p.z) * (1 / p.w), clip);
    }
}

TEST_F(Conventions, PlanesPointInwardsOrOutwards)
{
    AFrustum inwards, outwards;
    ExtractPlanes(inwards, m_Camera, m_Viewport);
    ExtractPlanes(outwards, m_Camera.ViewMatrix().concatenate(m_Viewport.ProjectionMatrix()));
    const Vector3 normals[] = {{1, 0, 0}, {-1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}};
    const double inwardsD[] = {500, 500, 250, 250, 9, 99990}, outwardsD[] = {-500, -500, -250, -250, -100008, -99990};
    for (int i = 0; i < AFrustum::PlaneCount; ++i) {
        EXPECT_EQ(inwards.GetPlane(i).normal, normals[i]) << i;
        EXPECT_EQ(inwards.GetPlane(i).d, inwardsD[i]) << i;
        EXPECT_EQ(outwards.GetPlane(i).normal, -normals[i]) << i;
        EXPECT_NEAR(outwards.GetPlane(i).d, outwardsD[i], 1e-7 * std::abs(outwardsD[i])) << i;
    }
}
} // namespace
