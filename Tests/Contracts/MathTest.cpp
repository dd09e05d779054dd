#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>

using namespace AMath;

namespace {

// Scene files and callers take the values as they lie in memory.
static_assert(sizeof(Vector2) == 16 && sizeof(Vector3) == 24 && sizeof(Vector4) == 32);
static_assert(sizeof(Matrix4) == 128 && sizeof(ColourValue) == 16 && sizeof(Ray) == 48);
static_assert(sizeof(Plane) == 32 && offsetof(Plane, d) == 24);
static_assert(sizeof(AxisAlignedBox) == 56 && offsetof(AxisAlignedBox, m_State) == 48);

constexpr double s_NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double s_Infinity = std::numeric_limits<double>::infinity();

class Random
{
public:
    double operator()(double low, double high) { return std::uniform_real_distribution(low, high)(m_Engine); }

    /// An invertible matrix of any size, affine or not. In each row and each column stands one large element, so
    /// that rows must be exchanged.
    Matrix4 Invertible(bool affine)
    {
        std::size_t columns[] = {0, 1, 2, 3};
        std::shuffle(columns, columns + (affine ? 3 : 4), m_Engine);
        const double size = std::exp2((*this)(-20, 3));
        Matrix4 m;
        for (std::size_t k = 0; k < 16; ++k)
            if (!affine || k % 4 < 3)
                m[k] = size * ((*this)(-1, 1) + (columns[k / 4] == k % 4 ? 5 : 0));
        return m;
    }

private:
    std::mt19937 m_Engine{2011};
};

/// The largest difference of an element; NaN only where all elements are.
double DistanceFromIdentity(const Matrix4& m)
{
    double distance = s_NaN;
    for (std::size_t k = 0; k < 16; ++k)
        distance = std::fmax(distance, std::abs(m[k] - Matrix4::IDENTITY[k]));
    return distance;
}

TEST(Matrix, InverseTimesMatrixIsTheIdentityInBothOrders)
{
    Random random;
    for (int i = 0; i < 4000; ++i) {
        const Matrix4 m = random.Invertible(i % 2 == 0);
        ASSERT_LT(DistanceFromIdentity(m.concatenate(m.inverse())), 1e-12) << "matrix " << i;
        ASSERT_LT(DistanceFromIdentity(m.inverse().concatenate(m)), 1e-12) << "matrix " << i;
    }
}

TEST(Matrix, WithoutAnInverseGivesNaN)
{
    const Matrix4 general = Random().Invertible(false);
    for (std::size_t k = 0; k < 16; ++k)
        for (const double value : {s_NaN, s_Infinity})
            for (Matrix4 m : {Matrix4::IDENTITY, general}) {
                m[k] = value;
                EXPECT_TRUE(std::isnan(DistanceFromIdentity(m.inverse()))) << "element " << k << " = " << value;
            }
    const Matrix4 dependent(1, 2, 3, 4, 5, 6, 7, 8, 1, 2, 3, 4, 0, 0, 0, 1),
        flat(1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 9, 9, 9, 1);
    for (const Matrix4& m : {dependent, dependent.transpose(), flat})
        EXPECT_TRUE(std::isnan(DistanceFromIdentity(m.inverse())));
}

TEST(Matrix, ConcatenatesRowVectorTransformsFromLeftToRight)
{
    EXPECT_EQ(Matrix4(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15) * Vector4(1, 10, 100, 1000),
              Vector4(3210, 7654, 12098, 16542));
    const Vector4 v(3, -1, 4, 1);
    Random random;
    for (int i = 0; i < 100; ++i) {
        Matrix4 a, b;
        for (std::size_t k = 0; k < 16; ++k)
            a[k] = std::round(random(-9, 9)), b[k] = std::round(random(-9, 9));
        ASSERT_EQ(a.concatenate(b).transpose() * v, b.transpose() * (a.transpose() * v));
    }
}

TEST(Vector, OfAnySizeHasALengthAndADirection)
{
    for (const double size : {0x1p-1074, 1e-320, 1e-200, 1.0, 1e154, 1e200, 0x1p1022}) {
        Vector3 v(-size, 0, size);
        const double length = v.length();
        EXPECT_DOUBLE_EQ(length, size * std::sqrt(2.0));
        EXPECT_EQ(v.normalise(), length);
        EXPECT_DOUBLE_EQ(v.z, std::sqrt(0.5)) << size;
    }
    Vector3 zero;
    EXPECT_EQ(zero.normalise(), 0);
    EXPECT_EQ(zero, Vector3::ZERO);
}

TEST(Box, TransformedIsTheTightBoxOfItsCornersToTheBit)
{
    Random random;
    for (int i = 0; i < 2000; ++i) {
        const Matrix4 m = random.Invertible(i % 2 == 0);
        const Vector3 low(random(-9, 9), random(-9, 9), random(-9, 9));
        const Vector3 high = low + Vector3(random(0, 5), random(0, 5), random(0, 5));
        Vector3 lowest(s_Infinity, s_Infinity, s_Infinity), highest = -lowest;
        for (int corner = 0; corner < 8; ++corner) {
            const Vector4 p = m.transpose() * Vector4((corner & 1 ? high : low).x, (corner & 2 ? high : low).y,
                                                      (corner & 4 ? high : low).z, 1);
            lowest = {std::min(lowest.x, p.x), std::min(lowest.y, p.y), std::min(lowest.z, p.z)};
            highest = {std::max(highest.x, p.x), std::max(highest.y, p.y), std::max(highest.z, p.z)};
        }
        AxisAlignedBox box(low, high);
        box.transform(m);
        ASSERT_TRUE(box == AxisAlignedBox(lowest, highest)) << "matrix " << i;
    }
}

TEST(Box, NullIsNeutralAndInfiniteAbsorbs)
{
    const AxisAlignedBox finite({0, 0, 0}, {1, 2, 3}), other({-1, 1, 1}, {0.5, 5, 2});
    AxisAlignedBox null = other, infinite = other;
    null.setNull();
    infinite.setInfinite();
    const auto merged = [](AxisAlignedBox a, const AxisAlignedBox& b) {
        a.merge(b);
        a.transform(Matrix4::IDENTITY);
        return a;
    };
    EXPECT_TRUE(merged(finite, other) == AxisAlignedBox({-1, 0, 0}, {1, 5, 3}));
    EXPECT_TRUE(merged(finite, null) == finite && merged(null, finite) == finite);
    EXPECT_TRUE(merged(null, null).isNull());
    EXPECT_TRUE(merged(finite, infinite).isInfinite() && merged(infinite, null).isInfinite());
}

} // namespace
