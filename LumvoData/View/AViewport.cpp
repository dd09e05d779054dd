#include <LumvoData/View/AViewport.h>

#include <LumvoData/View/GrphProjection.h>

namespace Kelvra {
namespace {

constexpr float s_FieldOfView = 0.7853975F;
constexpr float s_SmallestZoom = 0.05F;
constexpr float s_ZoomStep = 0.002F;
} // namespace

AViewport::AViewport()
{
    Initialize();
}

AViewport::AViewport(double x, double y, double width, double height) : m_X(x), m_Y(y), m_Width(width), m_Height(height)
{
    Initialize();
}

void AViewport::Initialize()
{
    m_Type = Orthographic;
    m_Near = 1;
    m_Far = 100000;
    m_Zoom = 20;
    m_Extents = 50;
    UpdateProjectionMatrix();
}

void AViewport::Reset(double x, double y, double width, double height) noexcept
{
    m_X = x;
    m_Y = y;
    m_Width = width;
    m_Height = height;
}

void AViewport::SetType(ProjectionType type)
{
    m_Type = type;
    UpdateProjectionMatrix();
}

void AViewport::SetZoom(float zoom) noexcept
{
    if (zoom < s_SmallestZoom)
        return;
    m_Zoom = zoom;
}

void AViewport::Zoom(int steps) noexcept
{
    float factor = static_cast<float>(1 - steps * static_cast<double>(s_ZoomStep));
    if (factor < s_SmallestZoom)
        factor = s_SmallestZoom;
    SetZoom(m_Zoom * factor);
}

AMath::Vector2 AViewport::Center() const noexcept
{
    return {m_X + 0.5 * m_Width, m_Y + 0.5 * m_Height};
}

float AViewport::Aspect() const noexcept
{
    return static_cast<float>(m_Height) / static_cast<float>(m_Width);
}

AMath::Vector2 AViewport::NearClipPlan() const noexcept
{
    const float width = m_Extents * m_Zoom;
    const float height = width * Aspect();
    return {width, height};
}

const AMath::Matrix4& AViewport::UpdateProjectionMatrix()
{
    if (m_Type == Orthographic) {
        const float width = m_Extents * m_Zoom;
        const float height = width * Aspect();
        m_ProjectionMatrix = GrphUtil::ComputeOrthoProjection(width, height, m_Near, m_Far);
    } else
        m_ProjectionMatrix = GrphUtil::ComputeFOVProjection(s_FieldOfView, Aspect(), m_Near, m_Far);
    return m_ProjectionMatrix;
}
} // namespace Kelvra
