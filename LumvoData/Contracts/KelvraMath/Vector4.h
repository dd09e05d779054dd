#pragma once

namespace AMath {

/// A point in homogeneous coordinates: four doubles, x, y, z, w.
class Vector4
{
public:
    constexpr Vector4() noexcept = default;
    constexpr Vector4(double ax, double ay, double az, double aw) noexcept : x(ax), y(ay), z(az), w(aw) {}

    constexpr bool operator==(const Vector4& v) const noexcept { return x == v.x && y == v.y && z == v.z && w == v.w; }
    constexpr bool operator!=(const Vector4& v) const noexcept { return !(*this == v); }

    double x = 0;
    double y = 0;
    double z = 0;
    double w = 0;
};
} // namespace AMath
