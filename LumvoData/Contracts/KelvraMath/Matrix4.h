#pragma once

#include <LumvoData/Contracts/KelvraMath/Vector4.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace AMath {

/// A 4 × 4 matrix of doubles; element 4r + c stands at row r, column c:
///
///     | 0   1   2   3 |
///     | 4   5   6   7 |
///     | 8   9  10  11 |
///     | 12 13  14  15 |
///
/// Points are row vectors, p' = p · M, so a transform holds its translation in elements 12, 13 and 14, and
/// `a.concatenate(b)` is the transform that applies a first and b second.
class Matrix4
{
public:
    /// The identity.
    constexpr Matrix4() noexcept : Matrix4(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1) {}
    /// The 16 elements in storage order, row by row.
    constexpr Matrix4(double m0, double m1, double m2, double m3, double m4, double m5, double m6, double m7, double m8,
                      double m9, double m10, double m11, double m12, double m13, double m14, double m15) noexcept
        : m_Elements{m0, m1, m2, m3, m4, m5, m6, m7, m8, m9, m10, m11, m12, m13, m14, m15}
    {}

    /// Element k in storage order, 0 to 15.
    constexpr double& operator[](std::size_t k) noexcept { return m_Elements[k]; }
    constexpr const double& operator[](std::size_t k) const noexcept { return m_Elements[k]; }

    bool operator==(const Matrix4& m) const noexcept
    {
        return std::equal(std::begin(m_Elements), std::end(m_Elements), std::begin(m.m_Elements));
    }
    bool operator!=(const Matrix4& m) const noexcept { return !(*this == m); }

    /// This times `m`.
    [[nodiscard]] constexpr Matrix4 concatenate(const Matrix4& m) const noexcept;
    /// M · v, the matrix times a column vector. A row vector is transformed by `transpose() * v`.
    constexpr Vector4 operator*(const Vector4& v) const noexcept
    {
        const auto row = [&](std::size_t k) {
            return m_Elements[k] * v.x + m_Elements[k + 1] * v.y + m_Elements[k + 2] * v.z + m_Elements[k + 3] * v.w;
        };
        return {row(0), row(4), row(8), row(12)};
    }
    [[nodiscard]] constexpr Matrix4 transpose() const noexcept;
    /// The inverse, by Gauss-Jordan elimination with partial pivoting; of a matrix whose fourth column is (0, 0, 0, 1),
    /// one of the same form. A matrix for which that meets a pivot of 0, or an element that is not finite, gives 16
    /// quiet NaNs.
    [[nodiscard]] KELVRAMATH_API Matrix4 inverse() const noexcept;

    static const Matrix4 IDENTITY;

private:
    double m_Elements[16];
};

inline constexpr Matrix4 Matrix4::IDENTITY{};

constexpr Matrix4 Matrix4::concatenate(const Matrix4& m) const noexcept
{
    Matrix4 product;
    for (std::size_t r = 0; r < 16; r += 4)
        for (std::size_t c = 0; c < 4; ++c)
            product[r + c] = m_Elements[r] * m[c] + m_Elements[r + 1] * m[4 + c] + m_Elements[r + 2] * m[8 + c] +
                             m_Elements[r + 3] * m[12 + c];
    return product;
}

constexpr Matrix4 Matrix4::transpose() const noexcept
{
    Matrix4 transposed;
    for (std::size_t r = 0; r < 4; ++r)
        for (std::size_t c = 0; c < 4; ++c)
            transposed[4 * c + r] = m_Elements[4 * r + c];
    return transposed;
}
} // namespace AMath
