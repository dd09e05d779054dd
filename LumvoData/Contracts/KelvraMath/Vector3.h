#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

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
    /// The length, whatever the size of the components: their squares neither underflow nor overflow. Infinity where
    /// it is beyond the range of a double.
    [[nodiscard]] double length() const noexcept
    {
        const double square = dotProduct(*this);
        return HasAccurateRoot(square) ? std::sqrt(square) : ScaledLength();
    }
    /// Scales this vector to length 1; a zero vector stays as it is.
    /// \returns the former length.
    double normalise() noexcept
    {
        const double square = dotProduct(*this);
        if (!HasAccurateRoot(square))
            return ScaledNormalise();
        const double former = std::sqrt(square);
        x /= former;
        y /= former;
        z /= former;
        return former;
    }

    double x = 0;
    double y = 0;
    double z = 0;

    static const Vector3 ZERO;
    static const Vector3 UNIT_X;
    static const Vector3 UNIT_Y;
    static const Vector3 UNIT_Z;

private:
    /// False for 0, infinity and NaN, and where a square that counts may have lost digits.
    static constexpr bool HasAccurateRoot(double square) noexcept { return square >= 0x1p-900 && square <= 0x1p1023; }
    KELVRAMATH_API double ScaledLength() const noexcept;
    KELVRAMATH_API double ScaledNormalise() noexcept;
};

inline constexpr Vector3 Vector3::ZERO{0, 0, 0};
inline constexpr Vector3 Vector3::UNIT_X{1, 0, 0};
inline constexpr Vector3 Vector3::UNIT_Y{0, 1, 0};
inline constexpr Vector3 Vector3::UNIT_Z{0, 0, 1};
} // namespace AMath
