#include <Tests/View/RandomView.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace AMath;
using namespace GrphUtil;
using namespace Kelvra;

namespace {

// In floats the clip coordinate ends in 18, from the width as a double in 1a; with the width, or half the clip
// coordinate, as a float the pixel ends in b2 and f6.
TEST(Picking, RoundsOnce)
{
    AViewport viewport(0, 0, 832.1, 832.1);
    viewport.SetExtents(0.1F); // 2 wide and high
    viewport.UpdateProjectionMatrix();
    Matrix4 view(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1); // its direction is half as long
    const Ray ray = ComputeScreenRay(313, 313, ACamera(&view, nullptr), viewport);
    EXPECT_EQ(ray.direction, Vector3(0, 0, 1));
    EXPECT_TRUE(ray.origin.x == -0x1.fb4316p-3 && ray.origin.y == 0x1.fb4316p-3);
    const Vector2 pixel = WorldPoint2ScreenPoint({-0.981, -0.981, 5}, ACamera(), viewport);
    EXPECT_EQ(pixel, Vector2(0x1.f9eab4p+2, 0x1.9c18f8p+9));
}

// The way from a pixel on the screen and back loses, in pixels of a width w, 2·2^-24 · w/2 to the width's rounding,
// 2^-25 · w/2 to the clip coordinate's and 2^-24 · w to the result's: together 2.25 · 2^-24 · w, less than half a
// thousandth up to 3000 pixels. Doubles lose far less, at up to 20000 units and 60000 pixels per unit.
TEST(Picking, IsTheInverseOfProjection)
{
    RandomView random;
    for (int i = 0; i < 10000; ++i) {
        View view(random);
        const bool isFlat = i % 2 == 0;
        if (!isFlat)
            view.viewport.SetType(Perspective);
        const double width = view.viewport.GetWidth(), height = view.viewport.GetHeight();
        const int x = random.Int(0, static_cast<int>(width)), y = random.Int(0, static_cast<int>(height));
        const Ray ray = ComputeScreenRay(x, y, view.camera, view.viewport);
        const Vector3 point = ray.getPoint(isFlat ? random(0, 20000) : 10000); // a perspective spreads with the depth
        const Vector2 pixel = WorldPoint2ScreenPoint(point, view.camera, view.viewport);
        const double lostInDoubles = 1e-11 * width / view.viewport.NearClipPlan().x;
        EXPECT_NEAR(pixel.x, x, 2.25 * 0x1p-24 * width + lostInDoubles);
        EXPECT_NEAR(pixel.y, y, 2.25 * 0x1p-24 * height + lostInDoubles);
        // It starts 10000 units before the near plane, which a perspective rounds.
        EXPECT_NEAR(ray.direction.length(), 1, 1e-14);
        EXPECT_NEAR((ray.origin - view.eye).dotProduct(ray.direction), 1 - 10000, 2e-7);

        const Ray prepared = ScreenRayMapper(view.camera, view.viewport)(x, y);
        EXPECT_TRUE(prepared.origin == ray.origin && prepared.direction == ray.direction);
        EXPECT_EQ(ScreenPointMapper(view.camera, view.viewport)(point), pixel);
    }
}

// Another way to the pixel: how far the point lies to the right of the eye and above it, as a part of the view's size;
// for a perspective times the cotangent, without a division by the depth.
TEST(Picking, AgreesWithDistancesAlongTheAxes)
{
    RandomView random;
    for (int i = 0; i < 10000; ++i) {
        View view(random);
        const double width = view.viewport.GetWidth(), height = view.viewport.GetHeight();
        double scale = width / view.viewport.NearClipPlan().x; // pixels per unit, both ways
        if (i % 2 != 0) {
            view.viewport.SetType(Perspective);
            scale = height / 2 / std::tan(double(0.7853975F) / 2);
        }
        const Vector3 offset = random.Point(-500, 500);
        const Vector3 right = view.direction.crossProduct(view.up), above = right.crossProduct(view.direction);
        const double x = offset.dotProduct(right) / right.length() * scale;
        const double y = offset.dotProduct(above) / above.length() * scale;
        const Vector2 pixel = WorldPoint2ScreenPoint(view.eye + offset, view.camera, view.viewport);
        EXPECT_NEAR(pixel.x, width / 2 + x, 0x1p-24 * (6 * std::abs(x) + width) + 1e-11 * scale); // six roundings
        EXPECT_NEAR(pixel.y, height / 2 - y, 0x1p-24 * (6 * std::abs(y) + height) + 1e-11 * scale);
    }
}

TEST(Picking, InAViewWithoutInverseIsNotFinite)
{
    const AViewport flat(0, 0, 100, 0);
    EXPECT_TRUE(std::isnan(ComputeScreenRay(0, 0, ACamera(), flat).origin.x));
    EXPECT_TRUE(std::isnan(WorldPoint2ScreenPoint({1, 1, 1}, ACamera(), flat).y));
    EXPECT_EQ(WorldPoint2ScreenPoint({1e300, 0, 0}, ACamera(), AViewport()).x, HUGE_VAL);
}
} // namespace
