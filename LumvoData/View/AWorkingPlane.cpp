#include <LumvoData/View/AWorkingPlane.h>

namespace Kelvra {
namespace {

constexpr double s_Margin = 100;

AMath::Vector3 Divide(const AMath::Vector3& a, const AMath::Vector3& b) noexcept
{
    return {a.x / b.x, a.y / b.y, a.z / b.z};
}

void GrowEdges(double& start, double& end, double minimum, double maximum) noexcept
{
    if (end < maximum)
        end = maximum + s_Margin;
    if (start > minimum)
        start = minimum - s_Margin;
}
} // namespace

const AMath::Vector3 AWorkingPlane::GetCellCount() const noexcept // NOLINT(readability-const-return-type)
{
    return Divide(m_EndPos - m_StartPos, m_CellSize);
}

AMath::Vector3 AWorkingPlane::GetInnerCellSize() const noexcept
{
    return Divide(m_CellSize, m_InnerCellCount);
}

void AWorkingPlane::AdjustPlane(const AMath::AxisAlignedBox& box) noexcept
{
    if (!box.isFinite())
        return;
    GrowEdges(m_StartPos.x, m_EndPos.x, box.getMinimum().x, box.getMaximum().x);
    GrowEdges(m_StartPos.y, m_EndPos.y, box.getMinimum().y, box.getMaximum().y);
}
} // namespace Kelvra
