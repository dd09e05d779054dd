#pragma once

#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <cstddef>

namespace Kelvra {

/// Where the eye is and how it is turned: the view matrix, its inverse, and the distance to a target.
///
/// View space has x to the right, y up and z along the viewing direction; points are row vectors. The inverse
/// view matrix places the camera in the world:
///
///     | Right      0 |
///     | Up         0 |
///     | Direction  0 |
///     | Position   1 |
///
/// - Units: world units. The axes have the length that the matrix gives them.
/// - Errors: none. A view matrix that has no inverse makes the camera's axes and position NaN.
class KELVRA_API ACamera
{
public:
    /// Both matrices are the identity: an eye at the origin that looks along +z, y up.
    ACamera() = default;
    /// The camera of the view matrix that `viewMatrix` points to; of the identity where it is null. The second
    /// pointer is ignored.
    ACamera(AMath::Matrix4* viewMatrix, AMath::Matrix4* ignored);
    ACamera(ACamera& other) = default;
    ACamera& operator=(const ACamera&) = default;
    virtual ~ACamera();
    /// A new copy of the camera as an `ACamera*`, which the caller owns and deletes as such.
    [[nodiscard]] virtual void* Clone();

    /// From world to view.
    [[nodiscard]] const AMath::Matrix4& ViewMatrix() const noexcept { return m_ViewMatrix; }
    /// Sets the view matrix and, with it, its inverse.
    void ViewMatrix(const AMath::Matrix4& worldToView);
    [[nodiscard]] AMath::Vector3 Position() const noexcept { return Row(12); }
    [[nodiscard]] AMath::Vector3 Direction() const noexcept { return Row(8); }
    [[nodiscard]] AMath::Vector3 Up() const noexcept { return Row(4); }
    [[nodiscard]] AMath::Vector3 Right() const noexcept { return Row(0); }
    /// Distance to the target, in world units; kept for callers; initially 0.
    [[nodiscard]] float TargetDistance() const noexcept { return m_TargetDistance; }
    void TargetDistance(float distance) noexcept { m_TargetDistance = distance; }

private:
    AMath::Vector3 Row(std::size_t first) const noexcept
    {
        return {m_InverseViewMatrix[first], m_InverseViewMatrix[first + 1], m_InverseViewMatrix[first + 2]};
    }

    AMath::Matrix4 m_InverseViewMatrix = AMath::Matrix4::IDENTITY;
    AMath::Matrix4 m_ViewMatrix = AMath::Matrix4::IDENTITY;
    float m_TargetDistance = 0.0F;
};
} // namespace Kelvra
