#include <Formats/Support/FormatError.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <string_view>
#include <utility>

namespace Formats {
namespace {

std::string Shortened(std::string_view bytes, std::size_t mostCharacters)
{
    // A character takes at most four bytes: what lies behind would not be shown.
    return Kelvra::KvText::Printable(Kelvra::KvText::FromUtf8(bytes.substr(0, 16 * mostCharacters)), mostCharacters);
}
} // namespace

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

std::string Printable(const std::string& text)
{
    return Shortened(text, 1000);
}

std::string Quote(const std::string& utf8)
{
    return '"' + Shortened(utf8, 60) + '"';
}
} // namespace Formats
