#pragma once

#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>

#include <algorithm>
#include <cstdint>

namespace AMath {

/// What a box holds: nothing, the space between its corners, or all of space.
enum AxisAlignedBoxState : std::int32_t
{
    BoxStateNull = 0,
    BoxStateFinite = 1,
    BoxStateInfinite = 2,
};

/// A box whose edges run along the axes: minimum corner, maximum corner and state.
///
/// Only a finite box's corners have a meaning, but every box keeps the ones it was given: a new box is null
/// with both corners at (0, 0, 0), and neither setNull nor setInfinite changes corners.
class AxisAlignedBox
{
public:
    /// A null box with both corners at the origin.
    constexpr AxisAlignedBox() noexcept = default;
    /// A finite box.
    constexpr AxisAlignedBox(const Vector3& minimum, const Vector3& maximum) noexcept
        : m_Minimum(minimum), m_Maximum(maximum), m_State(BoxStateFinite)
    {}

    /// Makes this a finite box with the given corners.
    constexpr void setExtents(const Vector3& minimum, const Vector3& maximum) noexcept
    {
        *this = AxisAlignedBox(minimum, maximum);
    }
    /// Empties the box.
    constexpr void setNull() noexcept { m_State = BoxStateNull; }
    /// Makes the box all of space.
    constexpr void setInfinite() noexcept { m_State = BoxStateInfinite; }
    [[nodiscard]] constexpr const Vector3& getMinimum() const noexcept { return m_Minimum; }
    [[nodiscard]] constexpr const Vector3& getMaximum() const noexcept { return m_Maximum; }
    [[nodiscard]] constexpr bool isNull() const noexcept { return m_State == BoxStateNull; }
    [[nodiscard]] constexpr bool isFinite() const noexcept { return m_State == BoxStateFinite; }
    [[nodiscard]] constexpr bool isInfinite() const noexcept { return m_State == BoxStateInfinite; }

    [[nodiscard]] constexpr Vector3 getCenter() const noexcept { return (m_Maximum + m_Minimum) * 0.5; }
    /// Half the extent along each axis.
    [[nodiscard]] constexpr Vector3 getHalfSize() const noexcept { return (m_Maximum - m_Minimum) * 0.5; }

    /// Grows this box to the union with `b`. A null box adds nothing; an infinite one makes this infinite.
    void merge(const AxisAlignedBox& b) noexcept;

    /// A finite box becomes the tightest box around its eight corners, each mapped as the row vector
    /// (x, y, z, 1) · `m`; the fourth coordinate of the results is not divided out. A null or an infinite box
    /// stays what it is.
    void transform(const Matrix4& m) noexcept;

    /// Equal states and, for finite boxes, equal corners.
    constexpr bool operator==(const AxisAlignedBox& b) const noexcept
    {
        return m_State == b.m_State && (!isFinite() || (m_Minimum == b.m_Minimum && m_Maximum == b.m_Maximum));
    }
    constexpr bool operator!=(const AxisAlignedBox& b) const noexcept { return !(*this == b); }

    Vector3 m_Minimum;
    Vector3 m_Maximum;
    AxisAlignedBoxState m_State = BoxStateNull;

    static const AxisAlignedBox BOX_NULL;
};

inline constexpr AxisAlignedBox AxisAlignedBox::BOX_NULL{};

inline void AxisAlignedBox::merge(const AxisAlignedBox& b) noexcept
{
    if (!isFinite() || !b.isFinite()) {
        if (!b.isNull() && !isInfinite())
            *this = b;
        return;
    }
    m_Minimum = {std::min(m_Minimum.x, b.m_Minimum.x), std::min(m_Minimum.y, b.m_Minimum.y),
                 std::min(m_Minimum.z, b.m_Minimum.z)};
    m_Maximum = {std::max(m_Maximum.x, b.m_Maximum.x), std::max(m_Maximum.y, b.m_Maximum.y),
                 std::max(m_Maximum.z, b.m_Maximum.z)};
}

inline void AxisAlignedBox::transform(const Matrix4& m) noexcept
{
    if (!isFinite())
        return;
    // The corners' coordinates along one axis differ only in which end of each edge they take, and rounded
    // sums keep the order of their terms: the smallest terms give the smallest corner, bit for bit.
    double low[3], high[3];
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double x0 = m_Minimum.x * m[axis], x1 = m_Maximum.x * m[axis];
        const double y0 = m_Minimum.y * m[axis + 4], y1 = m_Maximum.y * m[axis + 4];
        const double z0 = m_Minimum.z * m[axis + 8], z1 = m_Maximum.z * m[axis + 8];
        low[axis] = std::min(x0, x1) + std::min(y0, y1) + std::min(z0, z1) + m[axis + 12];
        high[axis] = std::max(x0, x1) + std::max(y0, y1) + std::max(z0, z1) + m[axis + 12];
    }
    m_Minimum = {low[0], low[1], low[2]};
    m_Maximum = {high[0], high[1], high[2]};
}
} // namespace AMath
