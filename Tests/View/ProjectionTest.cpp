#include <Tests/View/RandomView.h>

#include <gtest/gtest.h>

#include <cmath>

using namespace AMath;
using namespace GrphUtil;

namespace {

// Where a sum, a product, a quotient or a tangent is rounded to a float, the arguments are such that rounding at
// another place, or a tangent of floats, gives another float.
TEST(Projection, HasExactlyTheseElements)
{
    const struct
    {
        Matrix4 made;
        Vector4 elements; // 0, 5, 10 and 14
    } rows[] = {
        {ComputeOrthoProjection(-1, 1, -1, 1, -1, 1), {1, 1, -1, 0}},
        // From an unrounded depth 10 ends in b2, 14 in a6.
        {ComputeOrthoProjection(1, 3, 3.3F, 100012.211F), {2, 0x1.555556p-1, 0x1.4f83bp-17, -0x1.14cca4p-15}},
        // From a tangent of floats 0 ends in 52; 10 rounded once in 2a; 14 rounded once in f8, with q first in f4.
        {ComputeFOVProjection(0x1.99aabcp-4F, 1, 3.3F, 100012.211F),
         {0x1.3fae54p+4, 0x1.3fae54p+4, 0x1.000228p+0, -0x1.a669f6p+1}},
        // From an unrounded tangent the cotangent is 0x1.e12ap+1.
        {ComputeFOVProjection(0x1.0a3d7p-1F, 0.5F, 1, 2), {0x1.e12a02p+0, 0x1.e12a02p+1, 2, -2}},
        {ComputeOrthoProjection(2, 2, 5, 5), {1, 1, 0, -1}}, // no depth
        {ComputeOrthoProjection(2, 2, 0, 1e-6F), {1, 1, double(1 / 1e-6F), 0}},
        {ComputeOrthoProjection(2, 2, 0, 0x1.0c6f78p-20F), {1, 1, 0, -1}}, // the float below
        {ComputeFOVProjection(1.57079637F, 1, 5, 1), {1, 1, 0, -1}}};
    for (const auto& [made, elements] : rows)
        EXPECT_EQ(Vector4(made[0], made[5], made[10], made[14]), elements);
}

TEST(Projection, MapsSidesToTheClipVolume)
{
    RandomView random;
    for (int i = 0; i < 3000; ++i) {
        const Vector3 low = random.Point(-100, 100), high = low + random.Point(1, 100);
        const Matrix4 viewToClip = ComputeOrthoProjection(low.x, high.x, low.y, high.y, low.z, high.z);
        for (int c = 0; c < 8; ++c) {
            const Vector3 p = Corner({low, high}, c), corner = Corner({{-1, -1, -1}, {1, 1, 1}}, c);
            const Vector4 clip = View::Map({p.x, p.y, -p.z}, viewToClip);
            EXPECT_NEAR((Vector3(clip.x, clip.y, clip.z) - corner).length(), 0, 1e-12);
        }
    }
}

// A view puts the eye at the origin, the direction on +z and `up` above it, never beside; the camera reads it back.
TEST(ViewMatrix, TurnsTheWorldTowardsTheEye)
{
    EXPECT_EQ(ComputeViewMatrix({1, 2, 3}, {0, 0, -1}, {0, 1, 0}),
              Matrix4(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, -1, -2, 3, 1));
    RandomView random;
    for (int i = 0; i < 3000; ++i) {
        const View view(random);
        const Vector3 x = view.direction.crossProduct(view.up), y = x.crossProduct(view.direction);
        const Kelvra::ACamera& camera = view.camera;
        EXPECT_NEAR((camera.Right() - x * (1 / x.length())).length(), 0, 1e-12);
        EXPECT_NEAR((camera.Up() - y * (1 / y.length())).length(), 0, 1e-12);
        EXPECT_NEAR((camera.Direction() - view.direction * (1 / view.direction.length())).length(), 0, 1e-12);
        EXPECT_NEAR((camera.Position() - view.eye).length(), 0, 1e-11);
        Matrix4 flipped = ComputeViewMatrixLH(view.eye, view.direction, view.up);
        for (std::size_t k = 1; k < 16; k += 4)
            flipped[k] = -flipped[k];
        EXPECT_EQ(flipped, camera.ViewMatrix());
        EXPECT_EQ(LookAtMatrix(x, y, view.up), ComputeViewMatrix(x, x - y, view.up));
    }
}

TEST(Projection, OfNothingIsNotFinite)
{
    EXPECT_FALSE(std::isfinite(ComputeOrthoProjection(1, 1, 0, 1, 5, 5)[0]));
    EXPECT_FALSE(std::isfinite(ComputeOrthoProjection(1, 1, 0, 1, 5, 5)[10]));
    EXPECT_FALSE(std::isfinite(ComputeFOVProjection(0, 1, 1, 2)[5]));
    Kelvra::ACamera camera;
    camera.ViewMatrix(ComputeViewMatrix({1, 2, 3}, {0, 3, 0}, {0, 1, 0})); // looks along up
    EXPECT_TRUE(std::isnan(camera.Position().x));
}
} // namespace
