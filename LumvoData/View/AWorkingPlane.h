#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <cstdint>

namespace Kelvra {

/// The grid on which a viewer lays out the scene: a rectangle between two corners, divided into cells, each
/// divided into inner cells. A new one measures 1000 × 1000 around the origin, in cells of 100, each of 5 × 5
/// inner cells.
///
/// - Units: world units; counts need not be whole.
/// - Errors: none. A cell size or inner cell count of 0 makes what is divided by it non-finite.
class KELVRA_API AWorkingPlane
{
public:
    [[nodiscard]] const AMath::Vector3& GetStartPos() const noexcept { return m_StartPos; }
    void SetStartPos(const AMath::Vector3& start) noexcept { m_StartPos = start; }
    [[nodiscard]] const AMath::Vector3& GetCellSize() const noexcept { return m_CellSize; }
    /// Sets the size of a cell, in spite of its name; the count follows from it.
    void SetCellCount(const AMath::Vector3& cellSize) noexcept { m_CellSize = cellSize; }
    /// How many cells the rectangle holds along each axis: its extent divided by the cell size.
    [[nodiscard]] const AMath::Vector3 GetCellCount() const noexcept; // NOLINT(readability-const-return-type)
    [[nodiscard]] const AMath::Vector3& GetInnerCellCount() const noexcept { return m_InnerCellCount; }
    void SetInnerCellCount(const AMath::Vector3& count) noexcept { m_InnerCellCount = count; }
    /// Size of an inner cell: the cell size divided by the inner cell count.
    [[nodiscard]] AMath::Vector3 GetInnerCellSize() const noexcept;
    /// The viewer's zoom of the grid; kept only.
    [[nodiscard]] float GetZoomFactor() const noexcept { return m_ZoomFactor; }
    void SetZoomFactor(float factor) noexcept { m_ZoomFactor = factor; }
    /// Whether the viewer is to grow the grid with the scene; kept only, AdjustPlane does not look at it.
    [[nodiscard]] bool IsDynamicAdjust() const noexcept { return m_bDynamicAdjust; }
    void SetDynamicAdjust(bool adjust) noexcept { m_bDynamicAdjust = adjust; }

    /// Moves each edge that does not cover the box in x and y to 100 beyond it; never shrinks, never changes z.
    /// A null box has nothing to cover, an infinite one cannot be covered; neither changes anything.
    void AdjustPlane(const AMath::AxisAlignedBox& box) noexcept;

private:
    AMath::Vector3 m_StartPos{-500, -500, -0.0};
    AMath::Vector3 m_EndPos{500, 500, 0};
    AMath::Vector3 m_CellSize{100, 100, 1};
    AMath::Vector3 m_InnerCellCount{5, 5, 1};
    float m_ZoomFactor = 1.0F;
    bool m_bDynamicAdjust = true;
    // Carried and copied for the binary interface; the library does not read it.
    [[maybe_unused]] std::int32_t m_nReserved = 0;
};
} // namespace Kelvra
