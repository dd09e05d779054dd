#pragma once

#include <LumvoData/Contracts/KelvraMath/Vector3.h>

namespace AMath {

/// A half-line: where it starts and which way it runs. The direction need not have length 1.
class Ray
{
public:
    constexpr Ray() noexcept = default;
    constexpr Ray(const Vector3& from, const Vector3& along) noexcept : origin(from), direction(along) {}

    [[nodiscard]] constexpr const Vector3& getOrigin() const noexcept { return origin; }
    [[nodiscard]] constexpr const Vector3& getDirection() const noexcept { return direction; }
    /// The point at `distance` lengths of the direction from the origin.
    [[nodiscard]] constexpr Vector3 getPoint(double distance) const noexcept { return origin + direction * distance; }

    Vector3 origin;
    Vector3 direction = Vector3::UNIT_Z;
};
} // namespace AMath
