#pragma once

namespace AMath {

/// A colour: red, green, blue and alpha as four floats, 1 being full intensity and opaque. Never clamped.
class ColourValue
{
public:
    constexpr ColourValue() noexcept = default;
    constexpr ColourValue(float red, float green, float blue, float alpha = 1.0F) noexcept
        : r(red), g(green), b(blue), a(alpha)
    {}

    constexpr bool operator==(const ColourValue& c) const noexcept
    {
        return r == c.r && g == c.g && b == c.b && a == c.a;
    }
    constexpr bool operator!=(const ColourValue& c) const noexcept { return !(*this == c); }

    float r = 1;
    float g = 1;
    float b = 1;
    float a = 1;

    static const ColourValue Red;
};

inline constexpr ColourValue ColourValue::Red{1, 0, 0, 1};
} // namespace AMath
