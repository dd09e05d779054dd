#include <Formats/Support/Losses.h>

namespace Formats {

void Losses::Add(const std::string& what, std::uint64_t count)
{
    if (count == 0)
        return;
    const auto known = m_Counts.find(what);
    if (known != m_Counts.end())
        known->second += count;
    else if (m_Counts.size() < s_MostKinds)
        m_Counts.emplace(what, count);
    else
        m_Others += count;
}

void Losses::Tell(const std::filesystem::path& file) const
{
    FormatListener& listener = FormatListener::Current();
    for (const auto& [what, count] : m_Counts)
        listener.OnLoss(file, what, count);
    if (m_Others > 0)
        listener.OnLoss(file, "other things", m_Others);
}
} // namespace Formats
