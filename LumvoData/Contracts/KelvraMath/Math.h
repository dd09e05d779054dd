#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/Plane.h>

namespace AMath {

/// Geometric tests between the value types.
class Math
{
public:
    /// True when the box meets the plane: it has parts on both sides, or touches it. A null box meets no
    /// plane, an infinite one every plane.
    [[nodiscard]] static bool intersects(const Plane& plane, const AxisAlignedBox& box) noexcept
    {
        if (!box.isFinite())
            return box.isInfinite();
        return plane.getSide(box.getCenter(), box.getHalfSize()) == Plane::BOTH_SIDE;
    }
};
} // namespace AMath
