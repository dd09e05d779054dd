#pragma once

namespace AMath {

/// A point or direction in the plane: two doubles, x then y.
class Vector2
{
public:
    constexpr Vector2() noexcept = default;
    constexpr Vector2(double ax, double ay) noexcept : x(ax), y(ay) {}

    constexpr bool operator==(const Vector2& v) const noexcept { return x == v.x && y == v.y; }
    constexpr bool operator!=(const Vector2& v) const noexcept { return !(*this == v); }

    double x = 0;
    double y = 0;

    static const Vector2 ZERO;
};

inline constexpr Vector2 Vector2::ZERO{0, 0};
} // namespace AMath
