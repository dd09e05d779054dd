#pragma once

#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Ray.h>
#include <LumvoData/Contracts/KelvraMath/Vector2.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/View/ACamera.h>
#include <LumvoData/View/AViewport.h>

/// \file
/// From pixels to rays and from world points to pixels. Pixels count from the viewport's own origin corner, y
/// growing downwards; the viewport's x and y are not used.
namespace GrphUtil {

/// Maps world points to the screen of one camera and viewport, as they were when it was made. For many points
/// it does once what WorldPoint2ScreenPoint does for each, with identical results.
class KELVRA_API ScreenPointMapper
{
public:
    ScreenPointMapper(const Kelvra::ACamera& camera, const Kelvra::AViewport& viewport) noexcept;

    /// The pixel under a point: ((0.5 + 0.5·x) · width, (0.5 − 0.5·y) · height) for the clip coordinates x and y,
    /// which are not divided by the fourth one; each result is rounded to a float.
    [[nodiscard]] AMath::Vector2 operator()(const AMath::Vector3& point) const noexcept;

private:
    // Columns of view times projection.
    double m_X[4];
    double m_Y[4];
    double m_Width;
    double m_Height;
};

/// Gives the picking rays of one camera and viewport, as they were when it was made. For many pixels it does
/// once what ComputeScreenRay does for each, with identical results.
class KELVRA_API ScreenRayMapper
{
public:
    ScreenRayMapper(const Kelvra::ACamera& camera, const Kelvra::AViewport& viewport);

    /// The ray under the corner of pixel (x, y), parallel to the camera's direction for both projections. It
    /// starts 10000 units before the point that the projection maps to depth 0.
    [[nodiscard]] AMath::Ray operator()(int x, int y) const noexcept;

private:
    AMath::Matrix4 m_ClipToWorld;
    AMath::Vector3 m_Direction;
    float m_Width;
    float m_Height;
};

/// The picking ray under pixel (x, y): see ScreenRayMapper. A projection or a view that has no inverse makes
/// the origin NaN.
[[nodiscard]] KELVRA_API AMath::Ray ComputeScreenRay(int x, int y, const Kelvra::ACamera& camera,
                                                     const Kelvra::AViewport& viewport);

/// The pixel under a world point: see ScreenPointMapper. The inverse of ComputeScreenRay for orthographic views.
[[nodiscard]] KELVRA_API AMath::Vector2
WorldPoint2ScreenPoint(const AMath::Vector3& point, const Kelvra::ACamera& camera, const Kelvra::AViewport& viewport);
} // namespace GrphUtil
