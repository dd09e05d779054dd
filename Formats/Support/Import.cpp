#include <Formats/Support/Import.h>

#include <Formats/Support/FormatListener.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace Formats {

namespace {

constexpr std::uint64_t s_FreeSpending = std::uint64_t{64} << 20U;
constexpr std::uint64_t s_SpendingPerByte = 32;
constexpr std::size_t s_LongestName = 4096; // no system opens a longer one
} // namespace

Import::Import(std::filesystem::path file) : m_File(std::move(file)), m_Size(m_File.GetSize()) {}

void Import::Progress(std::uint64_t done, std::uint64_t total)
{
    m_Done = std::clamp(done, m_Done, std::max(m_Done, total));
    FormatListener::Current().OnProgress(GetPath(), m_Done, total);
}

std::filesystem::path Import::FindCompanion(const std::filesystem::path& name) const
{
    const auto check = [](bool good) {
        if (!good)
            throw FormatError({}, "is not in the folder of the model or below it");
    };
    check(name.native().size() <= s_LongestName &&
          name.native().find(std::filesystem::path::value_type()) == name.native().npos);
    const std::filesystem::path relative = name.lexically_normal();
    check(!relative.empty() && !relative.has_root_path() && *relative.begin() != "..");

    const std::filesystem::path folder = GetPath().has_parent_path() ? GetPath().parent_path() : ".";
    std::error_code error;
    std::filesystem::path file;
    if (std::filesystem::exists(folder / relative, error))
        file = std::filesystem::canonical(folder / relative, error);
    else if (!error)
        error = std::make_error_code(std::errc::no_such_file_or_directory);
    const std::filesystem::path root = error ? folder : std::filesystem::canonical(folder, error);
    if (error)
        throw FormatError({}, "cannot be opened: " + error.message());
    check(std::mismatch(root.begin(), root.end(), file.begin(), file.end()).first == root.end());
    return file;
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
