#pragma once

#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>

/// \file
/// Projection and view matrices. Points are row vectors, p' = p · M; lengths are in world units, angles in
/// radians. No function reports an error: degenerate arguments give elements that are not finite, except
/// where one says otherwise.
namespace GrphUtil {

/// The orthographic projection that looks along −z and maps the box from (`left`, `bottom`, −`zNear`) to
/// (`right`, `top`, −`zFar`) onto −1 to 1 along each axis, depth from −1 at near to 1 at far:
///
///     | 2/(r−l)       0             0             0 |
///     | 0             2/(t−b)       0             0 |
///     | 0             0            −2/(f−n)       0 |
///     | −(r+l)/(r−l)  −(t+b)/(t−b) −(f+n)/(f−n)   1 |
[[nodiscard]] KELVRA_API AMath::Matrix4 ComputeOrthoProjection(double left, double right, double bottom, double top,
                                                               double zNear, double zFar);

/// The orthographic projection that looks along +z, computed in floats: x from −`width`/2 to `width`/2 and y
/// from −`height`/2 to `height`/2 map onto −1 to 1, depth from 0 at near to 1 at far. With q = 1/(f−n), and
/// q = 0 where f−n is below 0.000001:
///
///     | 2/w  0    0                    0 |
///     | 0    2/h  0                    0 |
///     | 0    0    q                    0 |
///     | 0    0    −n·q (−1 for q = 0)  1 |
[[nodiscard]] KELVRA_API AMath::Matrix4 ComputeOrthoProjection(float width, float height, float zNear, float zFar);

/// The perspective projection that looks along +z, computed in floats: `fieldOfView` is the angle from bottom
/// to top, `aspect` height over width; the fourth coordinate of a clip point is its depth in view space, and
/// depth divided by it runs from 0 at near to 1 at far. With g = 1/tan(fieldOfView/2) and q as above:
///
///     | g·aspect  0  0                      0 |
///     | 0         g  0                      0 |
///     | 0         0  q·f                    1 |
///     | 0         0  −n·f·q (−1 for q = 0)  0 |
[[nodiscard]] KELVRA_API AMath::Matrix4 ComputeFOVProjection(float fieldOfView, float aspect, float zNear, float zFar);

/// The view matrix of an eye that looks along `direction`: view space has its x axis to the right, its y axis
/// towards `up` and its z axis along the direction. With z the direction and x = z × up, both made unit
/// length, and y = x × z:
///
///     | x.x      y.x      z.x      0 |
///     | x.y      y.y      z.y      0 |
///     | x.z      y.z      z.z      0 |
///     | −x·eye   −y·eye   −z·eye   1 |
[[nodiscard]] KELVRA_API AMath::Matrix4 ComputeViewMatrix(const AMath::Vector3& eye, const AMath::Vector3& direction,
                                                          const AMath::Vector3& up);

/// As ComputeViewMatrix with y = z × x, which points away from `up`: the view is upside down.
[[nodiscard]] KELVRA_API AMath::Matrix4 ComputeViewMatrixLH(const AMath::Vector3& eye, const AMath::Vector3& direction,
                                                            const AMath::Vector3& up);

/// ComputeViewMatrix of an eye at `a` that looks along `a` − `b`, away from `b`.
[[nodiscard]] KELVRA_API AMath::Matrix4 LookAtMatrix(const AMath::Vector3& a, const AMath::Vector3& b,
                                                     const AMath::Vector3& up);
} // namespace GrphUtil
