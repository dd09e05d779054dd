#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/Math.h>
#include <LumvoData/Contracts/KelvraMath/Plane.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>

#include <cstdint>

namespace Kelvra {

/// The planes of a frustum in their order.
enum AFrustumPlane : std::int32_t
{
    FrustumLeft = 0,
    FrustumRight = 1,
    FrustumTop = 2,
    FrustumBottom = 3,
    FrustumNear = 4,
    FrustumFar = 5,
};

/// Six planes for visibility tests, filled by the two forms of `GrphUtil::ExtractPlanes`.
///
/// The tests take the normals to point into the frustum, as the form from camera and viewport makes them. The
/// form from a matrix makes normals that point out of it; test its planes with `GrphUtil::isPlaneOutside`.
/// Indices, 0 to 5, are not checked.
class AFrustum
{
public:
    static constexpr int PlaneCount = 6;

    void SetPlane(int i, const AMath::Plane& plane) noexcept { m_Planes[i] = plane; }
    [[nodiscard]] const AMath::Plane& GetPlane(int i) const noexcept { return m_Planes[i]; }
    /// The six planes, to be modified.
    [[nodiscard]] AMath::Plane* GetPlanes() noexcept { return m_Planes; }
    /// The six planes, to be read. (A getter in spite of its name, which is fixed.)
    [[nodiscard]] const AMath::Plane* SetPlanes() const noexcept { return m_Planes; }

    /// False for a null box, true for an infinite one; otherwise false when the whole box lies outside one of
    /// the four side planes. Near and far are not looked at.
    [[nodiscard]] bool IsVisible(const AMath::AxisAlignedBox& box) const noexcept
    {
        if (!box.isFinite())
            return box.isInfinite();
        const AMath::Vector3 centre = box.getCenter();
        const AMath::Vector3 halfSize = box.getHalfSize();
        // All four planes are always tested: an early exit is unpredictable, and a mispredicted branch costs more than the tests it saves.
        bool outside = false;
        for (int i = FrustumLeft; i <= FrustumBottom; ++i)
            outside |= m_Planes[i].getSide(centre, halfSize) == AMath::Plane::NEGATIVE_SIDE;
        return !outside;
    }
    /// False when the point lies outside one of the four side planes.
    [[nodiscard]] bool IsVisible(const AMath::Vector3& point) const noexcept
    {
        for (int i = FrustumLeft; i <= FrustumBottom; ++i)
            if (m_Planes[i].getSide(point) == AMath::Plane::NEGATIVE_SIDE)
                return false;
        return true;
    }
    /// True when the box meets one of the six planes, each taken without bounds: a box wholly inside the
    /// frustum meets none, one far outside may meet some.
    /// (The spelling of the name is fixed.)
    [[nodiscard]] bool IsInterset(const AMath::AxisAlignedBox& box) const noexcept
    {
        for (const AMath::Plane& plane : m_Planes)
            if (AMath::Math::intersects(plane, box))
                return true;
        return false;
    }

private:
    AMath::Plane m_Planes[PlaneCount];
};
} // namespace Kelvra
