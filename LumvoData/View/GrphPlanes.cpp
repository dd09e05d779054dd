#include <LumvoData/View/GrphPlanes.h>

using AMath::Matrix4;
using AMath::Plane;
using AMath::Vector3;
using Kelvra::ACamera;
using Kelvra::AFrustum;
using Kelvra::AViewport;

namespace GrphUtil {
namespace {

Vector3 Normalised(Vector3 v) noexcept
{
    v.normalise();
    return v;
}
} // namespace

void ExtractPlanes(AFrustum& frustum, const Matrix4& worldToClip)
{
    // The sum of the fourth column and `sign` times another, turned to point outwards.
    const auto plane = [&](std::size_t column, double sign) -> Plane {
        const auto element = [&](std::size_t row) { return worldToClip[row + 3] + sign * worldToClip[row + column]; };
        const Vector3 normal{element(0), element(4), element(8)};
        const double length = normal.length();
        return {-Vector3(normal.x / length, normal.y / length, normal.z / length), element(12) / length};
    };
    frustum.SetPlane(Kelvra::FrustumLeft, plane(0, 1));
    frustum.SetPlane(Kelvra::FrustumRight, plane(0, -1));
    frustum.SetPlane(Kelvra::FrustumTop, plane(1, -1));
    frustum.SetPlane(Kelvra::FrustumBottom, plane(1, 1));
    frustum.SetPlane(Kelvra::FrustumNear, plane(2, 1));
    frustum.SetPlane(Kelvra::FrustumFar, plane(2, -1));
}

void ExtractPlanes(AFrustum& frustum, const ACamera& camera, const AViewport& viewport)
{
    const Vector3 position = camera.Position();
    const Vector3 right = Normalised(camera.Right());
    const Vector3 up = Normalised(camera.Up());
    const Vector3 direction = Normalised(camera.Direction());
    const float halfWidth = viewport.Extents() * viewport.GetZoom() * 0.5F;
    const float halfHeight = halfWidth * viewport.Aspect();
    frustum.SetPlane(Kelvra::FrustumLeft, {right, position - right * halfWidth});
    frustum.SetPlane(Kelvra::FrustumRight, {-right, position + right * halfWidth});
    frustum.SetPlane(Kelvra::FrustumTop, {-up, position + up * halfHeight});
    frustum.SetPlane(Kelvra::FrustumBottom, {up, position - up * halfHeight});
    frustum.SetPlane(Kelvra::FrustumNear, {direction, position + direction * viewport.GetNear()});
    frustum.SetPlane(Kelvra::FrustumFar, {-direction, position + direction * viewport.GetFar()});
}
} // namespace GrphUtil
