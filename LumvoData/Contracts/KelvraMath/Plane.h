#pragma once

#include <LumvoData/Contracts/KelvraMath/Vector3.h>

#include <cmath>
#include <cstdint>

namespace AMath {

/// A plane: normal and constant d. The signed distance of a point p is normal · p + d, in units of the
/// normal's length.
class Plane
{
public:
    /// Where something lies: on the plane, where the distance is positive, where it is negative, or on both
    /// sides.
    enum Side : std::int32_t
    {
        NO_SIDE = 0,
        POSITIVE_SIDE = 1,
        NEGATIVE_SIDE = 2,
        BOTH_SIDE = 3,
    };

    /// Normal (0, 0, 0) and constant 0: every point lies on it.
    constexpr Plane() noexcept = default;
    /// The plane normal · p = `constant`, so that d = −`constant`.
    constexpr Plane(const Vector3& n, double constant) noexcept : normal(n), d(-constant) {}
    /// The plane through `point`: d = −(normal · point).
    constexpr Plane(const Vector3& n, const Vector3& point) noexcept : normal(n), d(-n.dotProduct(point)) {}

    /// Signed distance of a point: normal · p + d.
    [[nodiscard]] constexpr double getDistance(const Vector3& point) const noexcept
    {
        return normal.dotProduct(point) + d;
    }
    [[nodiscard]] constexpr Side getSide(const Vector3& point) const noexcept
    {
        const double distance = getDistance(point);
        return distance < 0 ? NEGATIVE_SIDE : distance > 0 ? POSITIVE_SIDE : NO_SIDE;
    }
    /// Side of the box around `centre` that reaches `halfSize` along each axis: NEGATIVE_SIDE where the whole
    /// box has negative distances, POSITIVE_SIDE where it has positive ones, otherwise BOTH_SIDE.
    [[nodiscard]] Side getSide(const Vector3& centre, const Vector3& halfSize) const noexcept
    {
        const double distance = getDistance(centre);
        const double reach =
            std::abs(normal.x * halfSize.x) + std::abs(normal.y * halfSize.y) + std::abs(normal.z * halfSize.z);
        return distance < -reach ? NEGATIVE_SIDE : distance > reach ? POSITIVE_SIDE : BOTH_SIDE;
    }

    Vector3 normal;
    double d = 0;
};
} // namespace AMath
