#include <Formats/Support/FormatError.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <utility>

namespace Formats {

FormatError::FormatError(std::string place, std::string problem)
    : m_Place(std::move(place)), m_Problem(std::move(problem))
{
    m_What = m_Place.empty() ? m_Problem : m_Place + ": " + m_Problem;
}

FormatError::~FormatError() = default;

std::string AtByte(std::uint64_t offset)
{
    return "byte " + std::to_string(offset);
}

std::string AtLine(std::uint64_t line)
{
    return "line " + std::to_string(line);
}

std::string Quote(const std::string& utf8)
{
    static constexpr std::size_t s_MostCharacters = 60;
    // A character takes at most four bytes: what lies behind would not be shown.
    const std::wstring text = Kelvra::KvText::FromUtf8(std::string_view(utf8).substr(0, 16 * s_MostCharacters));
    return '"' + Kelvra::KvText::Printable(text, s_MostCharacters) + '"';
}
} // namespace Formats
