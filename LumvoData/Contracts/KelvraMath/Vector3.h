#pragma once

#include <cmath>

namespace AMath {

/// A point or direction in space: three doubles, x, y, z. Transformed by a Matrix4 as a row vector.
class Vector3
{
public:
    constexpr Vector3() noexcept = default;
    constexpr Vector3(double ax, double ay, double az) noexcept : x(ax), y(ay), z(az) {}

    constexpr Vector3 operator+(const Vector3& v) const noexcept { return {x + v.x, y + v.y, z + v.z}; }
    constexpr Vector3 operator-(const Vector3& v) const noexcept { return {x - v.x, y - v.y, z - v.z}; }
    constexpr Vector3 operator-() const noexcept { return {-x, -y, -z}; }
    constexpr Vector3 operator*(double s) const noexcept { return {x * s, y * s, z * s}; }
    constexpr bool operator==(const Vector3& v) const noexcept { return x == v.x && y == v.y && z == v.z; }
    constexpr bool operator!=(const Vector3& v) const noexcept { return !(*this == v); }

    [[nodiscard]] constexpr double dotProduct(const Vector3& v) const noexcept { return x * v.x + y * v.y + z * v.z; }
    /// This × `v`: (y·v.z − z·v.y, z·v.x − x·v.z, x·v.y − y·v.x).
    [[nodiscard]] constexpr Vector3 crossProduct(const Vector3& v) const noexcept
    {
        return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
    }
    [[nodiscard]] double length() const noexcept { return std::sqrt(dotProduct(*this)); }
    /// Scales this vector to length 1; a zero vector stays as it is.
    /// \returns the former length.
    double normalise() noexcept
    {
        const double former = length();
        if (former != 0) {
            x /= former;
            y /= former;
            z /= former;
        }
        return former;
    }

    double x = 0;
    double y = 0;
    double z = 0;

    static const Vector3 ZERO;
    static const Vector3 UNIT_X;
    static const Vector3 UNIT_Y;
    static const Vector3 UNIT_Z;
};

inline constexpr Vector3 Vector3::ZERO{0, 0, 0};
inline constexpr Vector3 Vector3::UNIT_X{1, 0, 0};
inline constexpr Vector3 Vector3::UNIT_Y{0, 1, 0};
inline constexpr Vector3 Vector3::UNIT_Z{0, 0, 1};
} // namespace AMath
