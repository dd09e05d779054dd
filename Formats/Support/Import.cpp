#include <Formats/Support/Import.h>

#include <Formats/Support/FormatListener.h>

#include <algorithm>
#include <utility>

namespace Formats {

Import::Import(std::filesystem::path file) : m_File(std::move(file)) {}

void Import::Progress(std::uint64_t done)
{
    m_Done = std::clamp(done, m_Done, std::max(m_Done, m_File.GetSize()));
    FormatListener::Current().OnProgress(GetPath(), m_Done, m_File.GetSize());
}

std::wstring Import::KeepImage(const std::wstring& name, std::string_view bytes)
{
    std::wstring fileName = FormatListener::Current().OnImage(GetPath(), name, bytes);
    if (fileName.empty())
        Lose("images inside the file");
    return fileName;
}
} // namespace Formats
