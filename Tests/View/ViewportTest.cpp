#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

using namespace AMath;
using namespace Kelvra;

namespace {

// Only the constructors, SetType and UpdateProjectionMatrix build the matrix.
TEST(Viewport, KeepsItsMatrixUntilToldToUpdate)
{
    AViewport viewport;
    const Matrix4 square = GrphUtil::ComputeOrthoProjection(1000, 1000, 1, 100000);
    viewport.Reset(0, 0, 400, 200);
    viewport.SetZoom(2);
    viewport.Zoom(100);
    viewport.SetExtents(10);
    EXPECT_EQ(viewport.ProjectionMatrix(), square);
    EXPECT_EQ(viewport.UpdateProjectionMatrix(), GrphUtil::ComputeOrthoProjection(16, 8, 1, 100000));
    viewport.SetType(static_cast<ProjectionType>(7)); // whatever is not orthographic
    EXPECT_EQ(viewport.ProjectionMatrix(), GrphUtil::ComputeFOVProjection(0.7853975F, 0.5F, 1, 100000));
    EXPECT_EQ(AViewport(10, 20, 100, 50).Center(), Vector2(60, 45));
}

TEST(Viewport, ZoomsByAFloatFactor)
{
    const std::tuple<float, int, float> rows[] = {
        {20, 120, 15.2F},
        {20, -120, 24.8F},
        {20, 500, 1}, // by no less than 0.05
        {1, 500, 0.05F},
        {0.5F, 500, 0.5F},
        // It ends in 6 with the step as a double, the product in floats or the factor as a double.
        {20, -395, 0x1.1e6668p+5F}};
    for (const auto& [from, steps, to] : rows) {
        AViewport viewport;
        viewport.SetZoom(from);
        viewport.Zoom(steps);
        EXPECT_EQ(viewport.GetZoom(), to) << from << " by " << steps;
        viewport.SetZoom(0x1.999998p-5F); // the float below 0.05
        EXPECT_EQ(viewport.GetZoom(), to);
    }
}

// A quotient of floats, then a product of floats. Divided as doubles the aspect ends in 6; multiplied first, or as
// doubles, the height ends in ca.
TEST(Viewport, HasAnAspectOfFloats)
{
    const AViewport viewport(0, 0, 350.3, 361.7);
    EXPECT_EQ(viewport.Aspect(), 0x1.0854c8p+0F);
    EXPECT_EQ(viewport.NearClipPlan(), Vector2(1000, 0x1.0222ccp+10));
    EXPECT_EQ(viewport.ProjectionMatrix()[5], double(2 / 0x1.0222ccp+10F));
    AFrustum frustum;
    GrphUtil::ExtractPlanes(frustum, ACamera(), viewport);
    EXPECT_EQ(frustum.GetPlane(FrustumTop).d, 0x1.0222ccp+9);
    EXPECT_TRUE(std::isnan(AViewport(0, 0, 0, 0).Aspect()));
    EXPECT_EQ(AViewport(0, 0, 100, 0).ProjectionMatrix()[5], HUGE_VAL);
}
} // namespace
