#include <LumvoData/View/GrphPicking.h>

using AMath::Matrix4;
using AMath::Ray;
using AMath::Vector2;
using AMath::Vector3;
using Kelvra::ACamera;
using Kelvra::AViewport;

namespace GrphUtil {
namespace {

constexpr double s_RayLead = 10000;

/// One column of a · b, element for element as a.concatenate(b) gives it.
void ProductColumn(const Matrix4& a, const Matrix4& b, std::size_t column, double (&elements)[4]) noexcept
{
    for (std::size_t r = 0; r < 4; ++r)
        elements[r] = a[4 * r] * b[column] + a[4 * r + 1] * b[4 + column] + a[4 * r + 2] * b[8 + column] +
                      a[4 * r + 3] * b[12 + column];
}

double RoundToFloat(double value) noexcept
{
    return static_cast<float>(value);
}
} // namespace

ScreenPointMapper::ScreenPointMapper(const ACamera& camera, const AViewport& viewport) noexcept
    : m_Width(viewport.GetWidth()), m_Height(viewport.GetHeight())
{
    ProductColumn(camera.ViewMatrix(), viewport.ProjectionMatrix(), 0, m_X);
    ProductColumn(camera.ViewMatrix(), viewport.ProjectionMatrix(), 1, m_Y);
}

Vector2 ScreenPointMapper::operator()(const Vector3& point) const noexcept
{
    const double x = point.x * m_X[0] + point.y * m_X[1] + point.z * m_X[2] + m_X[3];
    const double y = point.x * m_Y[0] + point.y * m_Y[1] + point.z * m_Y[2] + m_Y[3];
    return {RoundToFloat((0.5 + 0.5 * x) * m_Width), RoundToFloat((0.5 - 0.5 * y) * m_Height)};
}

ScreenRayMapper::ScreenRayMapper(const ACamera& camera, const AViewport& viewport)
    : m_ClipToWorld(camera.ViewMatrix().concatenate(viewport.ProjectionMatrix()).inverse()),
      m_Direction(camera.Direction()), m_Width(static_cast<float>(viewport.GetWidth())),
      m_Height(static_cast<float>(viewport.GetHeight()))
{
    m_Direction.normalise();
}

Ray ScreenRayMapper::operator()(int x, int y) const noexcept
{
    const double clipX = RoundToFloat(2.0 * x / m_Width - 1);
    const double clipY = RoundToFloat(-(2.0 * y / m_Height - 1));
    const auto world = [&](std::size_t column) {
        return clipX * m_ClipToWorld[column] + clipY * m_ClipToWorld[4 + column] + m_ClipToWorld[12 + column];
    };
    return {Vector3(world(0), world(1), world(2)) - m_Direction * s_RayLead, m_Direction};
}

Ray ComputeScreenRay(int x, int y, const ACamera& camera, const AViewport& viewport)
{
    return ScreenRayMapper(camera, viewport)(x, y);
}

Vector2 WorldPoint2ScreenPoint(const Vector3& point, const ACamera& camera, const AViewport& viewport)
{
    return ScreenPointMapper(camera, viewport)(point);
}
} // namespace GrphUtil
