#pragma once

#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Vector2.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <cstdint>

namespace Kelvra {

/// How a viewport projects. Any value but Orthographic counts as Perspective.
enum ProjectionType : std::int32_t
{
    Orthographic = 0,
    Perspective = 1,
};

/// The rectangle that a view is shown in, how it projects, and the projection matrix built from both.
///
/// The matrix is a cache: the constructors, SetType and UpdateProjectionMatrix build it; after Reset, SetZoom,
/// Zoom and SetExtents the caller calls UpdateProjectionMatrix when all is set.
///
/// - Units: the rectangle in pixels; extents, near and far in world units. Near is 1 and far 100000.
/// - Rounding: sizes and the matrix are computed in 4-byte floats.
/// - Errors: none. A width or height of 0 makes the aspect, the clip size and the matrix non-finite.
class KELVRA_API AViewport
{
public:
    /// An orthographic viewport of 100 × 100 pixels at (0, 0).
    AViewport();
    AViewport(double x, double y, double width, double height);

    /// Sets the rectangle; the projection matrix stays as it is.
    void Reset(double x, double y, double width, double height) noexcept;
    [[nodiscard]] double GetX() const noexcept { return m_X; }
    [[nodiscard]] double GetY() const noexcept { return m_Y; }
    [[nodiscard]] double GetWidth() const noexcept { return m_Width; }
    [[nodiscard]] double GetHeight() const noexcept { return m_Height; }
    [[nodiscard]] float GetNear() const noexcept { return m_Near; }
    [[nodiscard]] float GetFar() const noexcept { return m_Far; }

    [[nodiscard]] ProjectionType GetType() const noexcept { return m_Type; }
    /// Sets the type and builds the projection matrix.
    void SetType(ProjectionType type);
    /// Width of the orthographic view volume at zoom 1.
    [[nodiscard]] float Extents() const noexcept { return m_Extents; }
    /// Sets the extents; the projection matrix stays as it is.
    /// \returns `extents`.
    float SetExtents(float extents) noexcept { return m_Extents = extents; }
    /// What the extents are multiplied by: the smaller, the larger everything appears.
    [[nodiscard]] float GetZoom() const noexcept { return m_Zoom; }
    /// Sets the zoom, unless it is below 0.05; the projection matrix stays as it is.
    void SetZoom(float zoom) noexcept;
    /// Multiplies the zoom by 1 − 0.002 · `steps`, but by no less than 0.05, unless it would fall below 0.05.
    void Zoom(int steps) noexcept;

    /// Centre of the rectangle.
    [[nodiscard]] AMath::Vector2 Center() const noexcept;
    /// Height over width, a quotient of floats.
    [[nodiscard]] float Aspect() const noexcept;
    /// Width and height of the orthographic view volume, as floats: (W, W · Aspect()), W being extents · zoom.
    /// (The spelling of the name is fixed.)
    [[nodiscard]] AMath::Vector2 NearClipPlan() const noexcept;

    /// From view space to clip space, as it was built last. Depth runs from 0 at near to 1 at far.
    [[nodiscard]] const AMath::Matrix4& ProjectionMatrix() const noexcept { return m_ProjectionMatrix; }
    /// Builds the projection matrix from the fields: an orthographic one of NearClipPlan(), or a perspective one
    /// of 0.7853975 radians, 45 degrees, from top to bottom.
    const AMath::Matrix4& UpdateProjectionMatrix();

private:
    void Initialize();

    ProjectionType m_Type = Orthographic;
    double m_X = 0;
    double m_Y = 0;
    double m_Width = 100;
    double m_Height = 100;
    float m_Zoom = 20;
    float m_Extents = 50;
    float m_Near = 1;
    float m_Far = 100000;
    AMath::Matrix4 m_ProjectionMatrix;
};
} // namespace Kelvra
