#include <Formats/Support/Import.h>

#include <Formats/Support/FormatListener.h>

#include <algorithm>
#include <utility>

namespace Formats {

namespace {

constexpr std::uint64_t s_FreeSpending = std::uint64_t{64} << 20U;
constexpr std::uint64_t s_SpendingPerByte = 32;
} // namespace

Import::Import(std::filesystem::path file) : m_File(std::move(file)), m_Size(m_File.GetSize()) {}

void Import::Progress(std::uint64_t done, std::uint64_t total)
{
    m_Done = std::clamp(done, m_Done, std::max(m_Done, total));
    FormatListener::Current().OnProgress(GetPath(), m_Done, total);
}

void Import::Spend(std::uint64_t bytes)
{
    if (bytes > GetBudget())
        throw FormatError({}, "the scene would take more than " + std::to_string((m_Spent + bytes) >> 20U) +
                                  " MB in memory, out of proportion to the file");
    m_Spent += bytes;
}

std::uint64_t Import::GetBudget() const noexcept
{
    return s_FreeSpending + s_SpendingPerByte * m_Size - m_Spent;
}

std::wstring Import::KeepImage(const std::wstring& name, std::string_view bytes)
{
    std::wstring fileName = FormatListener::Current().OnImage(GetPath(), name, bytes);
    if (fileName.empty())
        Lose("images inside the file");
    return fileName;
}
} // namespace Formats
