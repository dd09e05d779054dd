#include <Tests/View/RandomView.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace AMath;
using namespace GrphUtil;
using namespace Kelvra;

namespace {

TEST(Frustum, HasUnitNormals)
{
    AFrustum frustum;
    ExtractPlanes(frustum, Matrix4(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 10, 20, 30, 1));
    EXPECT_EQ(frustum.GetPlane(FrustumLeft).normal, Vector3(-1, 0, 0));
    EXPECT_EQ(frustum.GetPlane(FrustumLeft).d, -5.5);
    EXPECT_EQ(frustum.GetPlane(FrustumRight).d, 4.5);
    ExtractPlanes(frustum, ComputeFOVProjection(1.57079637F, 1, 1, 2)); // sides at half a right angle to the axis
    EXPECT_NEAR(frustum.GetPlane(FrustumTop).getDistance({5, 1, 2}), -std::sqrt(0.5), 1e-7);
    ExtractPlanes(frustum, Matrix4(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1));
    EXPECT_TRUE(std::isnan(frustum.GetPlane(FrustumLeft).normal.x));

    Matrix4 view(0.5, 0, 0, 0, 0, 4, 0, 0, 0, 0, 2, 0, -50, -800, -600, 1);
    AViewport viewport(7, 8, 400, 200);
    viewport.SetType(Perspective); // neither the type nor the matrix is looked at
    ACamera camera(&view, nullptr);
    EXPECT_EQ(camera.Direction(), Vector3(0, 0, 0.5));
    ExtractPlanes(frustum, camera, viewport);
    EXPECT_EQ(frustum.GetPlane(FrustumTop).d, 450);
    EXPECT_EQ(frustum.GetPlane(FrustumNear).normal, Vector3(0, 0, 1));
    EXPECT_EQ(frustum.GetPlane(FrustumNear).d, -301);
}

TEST(Frustum, PlaneHasABoxOutsideThatTouchesIt)
{
    const AxisAlignedBox box({1, 2, 3}, {2, 4, 6});
    EXPECT_TRUE(isPlaneOutside({Vector3(1, -1, 2), 3.0}, box));
    EXPECT_FALSE(isPlaneOutside({Vector3(1, -1, 2), 3.1}, box));
    EXPECT_TRUE(isPlaneOutside({Vector3(-1, 1, -2), -12.0}, box));
    EXPECT_FALSE(isPlaneOutside({Vector3(-1, 1, -2), -11.9}, box));
}

// What the viewport shows is visible, and what lies wholly beyond one of its edges is not. The projection's
// elements are floats, so its edges lie within a few roundings to a float of the planes.
TEST(Frustum, OfAViewAcceptsWhatTheViewportShows)
{
    RandomView random;
    const double edge = 4 * 0x1p-24 + 1e-10;
    for (int i = 0; i < 20000; ++i) {
        const View view(random);
        AFrustum frustum;
        ExtractPlanes(frustum, view.camera, view.viewport);
        const Matrix4 worldToClip = view.camera.ViewMatrix().concatenate(view.viewport.ProjectionMatrix());
        const double size = view.viewport.NearClipPlan().x;
        const Vector3 low = view.eye + random.Point(-size, size);
        const AxisAlignedBox box(low, low + random.Point(0, size * random(0.01, 3)));
        bool isShown = false;
        int out[4] = {}; // corners beyond each side
        for (int c = 0; c < 8; ++c) {
            const Vector4 clip = View::Map(Corner(box, c), worldToClip);
            const double sides[] = {-clip.x, clip.x, clip.y, -clip.y};
            isShown = isShown || *std::max_element(sides, sides + 4) < 1 - edge;
            for (int k = 0; k < 4; ++k)
                out[k] += sides[k] > 1 + edge ? 1 : 0;
        }
        const bool isBeyond = *std::max_element(out, out + 4) == 8;
        EXPECT_TRUE(frustum.IsVisible(box) ? !isBeyond : !isShown);
        EXPECT_EQ(frustum.IsVisible(low), frustum.IsVisible(AxisAlignedBox(low, low)));
    }
}

TEST(Frustum, LooksAtTheSidesForVisibilityAndAtAllPlanesForCrossing)
{
    AFrustum frustum;
    AViewport viewport;
    viewport.SetExtents(10); // 200 wide and high
    ExtractPlanes(frustum, ACamera(), viewport);
    AxisAlignedBox box({-1, -1, -5}, {1, 1, -4}); // before near
    EXPECT_TRUE(frustum.IsVisible(box));
    EXPECT_FALSE(frustum.IsInterset(box));
    EXPECT_TRUE(frustum.IsInterset({{-1, -1, 99999}, {1, 1, 100001}}));
    box.setNull();
    EXPECT_FALSE(frustum.IsVisible(box));
    box = {{99, 5000, 10}, {101, 5001, 20}}; // across right, far above
    EXPECT_FALSE(frustum.IsVisible(box));
    EXPECT_TRUE(frustum.IsInterset(box));
    box.setInfinite();
    EXPECT_TRUE(frustum.IsVisible(box));
}
} // namespace
