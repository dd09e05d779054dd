#include <LumvoData/View/GrphProjection.h>

#include <cmath>

using AMath::Matrix4;
using AMath::Vector3;

namespace GrphUtil {
namespace {

constexpr float s_SmallestDepth = 1e-6F;

/// 1 over the depth of the view volume, 0 where it is too thin or reversed.
float InverseDepth(float zNear, float zFar) noexcept
{
    const float depth = zFar - zNear;
    return depth < s_SmallestDepth ? 0.0F : 1.0F / depth;
}

Matrix4 ViewOf(const Vector3& x, const Vector3& y, const Vector3& z, const Vector3& eye) noexcept
{
    return {x.x,
            y.x,
            z.x,
            0, //
            x.y,
            y.y,
            z.y,
            0, //
            x.z,
            y.z,
            z.z,
            0, //
            -x.dotProduct(eye),
            -y.dotProduct(eye),
            -z.dotProduct(eye),
            1};
}

struct ViewAxes
{
    ViewAxes(const Vector3& direction, const Vector3& up) noexcept : z(direction)
    {
        z.normalise();
        x = z.crossProduct(up);
        x.normalise();
    }

    Vector3 x;
    Vector3 z;
};
} // namespace

Matrix4 ComputeOrthoProjection(double left, double right, double bottom, double top, double zNear, double zFar)
{
    Matrix4 viewToClip;
    viewToClip[0] = 2 / (right - left);
    viewToClip[5] = 2 / (top - bottom);
    viewToClip[10] = -2 / (zFar - zNear);
    viewToClip[12] = -(right + left) / (right - left);
    viewToClip[13] = -(top + bottom) / (top - bottom);
    viewToClip[14] = -(zFar + zNear) / (zFar - zNear);
    return viewToClip;
}

Matrix4 ComputeOrthoProjection(float width, float height, float zNear, float zFar)
{
    const float q = InverseDepth(zNear, zFar);
    Matrix4 viewToClip;
    viewToClip[0] = 2.0F / width;
    viewToClip[5] = 2.0F / height;
    viewToClip[10] = q;
    viewToClip[14] = q == 0.0F ? -1.0F : -zNear * q;
    return viewToClip;
}

Matrix4 ComputeFOVProjection(float fieldOfView, float aspect, float zNear, float zFar)
{
    const float q = InverseDepth(zNear, zFar);
    const float halfAngle = fieldOfView * 0.5F;
    const float tangent = static_cast<float>(std::tan(static_cast<double>(halfAngle)));
    const float g = 1.0F / tangent;
    Matrix4 viewToClip;
    viewToClip[0] = g * aspect;
    viewToClip[5] = g;
    viewToClip[10] = q * zFar;
    viewToClip[11] = 1;
    viewToClip[14] = q == 0.0F ? -1.0F : -zNear * zFar * q;
    viewToClip[15] = 0;
    return viewToClip;
}

Matrix4 ComputeViewMatrix(const Vector3& eye, const Vector3& direction, const Vector3& up)
{
    const ViewAxes axes(direction, up);
    return ViewOf(axes.x, axes.x.crossProduct(axes.z), axes.z, eye);
}

Matrix4 ComputeViewMatrixLH(const Vector3& eye, const Vector3& direction, const Vector3& up)
{
    const ViewAxes axes(direction, up);
    return ViewOf(axes.x, axes.z.crossProduct(axes.x), axes.z, eye);
}

Matrix4 LookAtMatrix(const Vector3& a, const Vector3& b, const Vector3& up)
{
    return ComputeViewMatrix(a, a - b, up);
}
} // namespace GrphUtil
