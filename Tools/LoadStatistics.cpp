#include <Tools/LoadStatistics.h>

namespace Lumvo {

void LoadStatistics::OnReference(std::int32_t key, std::uint64_t /*offset*/)
{
    ++m_References;
    if (key == 0)
        ++m_Empty;
}

void LoadStatistics::OnObjectBegin(const Kelvra::AObject& /*object*/, std::uint64_t keyOffset,
                                   std::uint64_t /*recordOffset*/)
{
    ++m_Objects;
    m_Open.push_back({keyOffset, 0});
}

void LoadStatistics::OnObjectEnd(const Kelvra::AObject& object, std::uint64_t endOffset)
{
    const Open open = m_Open.back();
    m_Open.pop_back();
    const std::uint64_t span = endOffset - open.start;
    const std::uint64_t own = span - open.nested;
    if (!m_Open.empty())
        m_Open.back().nested += span;
    m_ObjectBytes += own;
    // An object that was dropped at once may have left its address to a later one: the later one counts.
    m_Extents[&object] = {span, own};
}

LoadStatistics::Extent LoadStatistics::ExtentOf(const Kelvra::AObject& object) const
{
    const auto found = m_Extents.find(&object);
    return found == m_Extents.end() ? Extent() : found->second;
}
} // namespace Lumvo
