#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Plane.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/View/ACamera.h>
#include <LumvoData/View/AFrustum.h>
#include <LumvoData/View/AViewport.h>

/// \file
/// Frustum planes and the culling of boxes against them.
namespace GrphUtil {

/// The planes of the clip volume −w ≤ x, y, z ≤ w of a combined matrix, such as view times projection. The six
/// normals have unit length and point out of the volume. The near plane is z = −w also for projections that
/// map near to 0.
///
/// Source: each plane is the fourth column of the matrix plus or minus one of the others, divided by the length
/// of its normal; a length of 0 makes the plane NaN.
KELVRA_API void ExtractPlanes(Kelvra::AFrustum& frustum, const AMath::Matrix4& worldToClip);

/// The planes of the box that an orthographic viewport shows through a camera: half its clip width along the
/// camera's right axis, half its clip height along its up axis, near and far along its direction. The six
/// normals have unit length and point into the box. A perspective viewport gives the same box.
KELVRA_API void ExtractPlanes(Kelvra::AFrustum& frustum, const Kelvra::ACamera& camera,
                              const Kelvra::AViewport& viewport);

/// True when the whole box, taken as finite, lies on the plane or where its distances are positive: outside,
/// for planes whose normals point out of a volume.
[[nodiscard]] inline bool isPlaneOutside(const AMath::Plane& plane, const AMath::AxisAlignedBox& box) noexcept
{
    const auto lowest = [](double normal, double minimum, double maximum) { return normal >= 0 ? minimum : maximum; };
    const AMath::Vector3& low = box.getMinimum();
    const AMath::Vector3& high = box.getMaximum();
    const AMath::Vector3 corner{lowest(plane.normal.x, low.x, high.x), lowest(plane.normal.y, low.y, high.y),
                                lowest(plane.normal.z, low.z, high.z)};
    return plane.getDistance(corner) >= 0;
}
} // namespace GrphUtil
