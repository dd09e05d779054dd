#include <Formats/Obj/Statements.h>

#include <Formats/Support/FormatError.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace Formats::Obj {
namespace {

using Kelvra::KvText::FromUtf16;
using Kelvra::KvText::FromUtf8;
using Kelvra::KvText::ToUtf8;

constexpr std::string_view s_Blanks = " \t";
constexpr std::size_t s_MostQuoted = 8;

bool StartsWith(std::string_view text, std::string_view start) noexcept
{
    return text.substr(0, start.size()) == start;
}

std::string_view Trimmed(std::string_view text) noexcept
{
    const std::size_t first = text.find_first_not_of(s_Blanks);
    return first == std::string_view::npos ? std::string_view{}
                                           : text.substr(first, text.find_last_not_of(s_Blanks) - first + 1);
}

/// The text of a file without its byte order mark, in UTF-8 if it was UTF-16 and as it is otherwise.
std::string TextOf(InputFile& file)
{
    std::string bytes = file.ReadFrom();
    const bool bigEndian = StartsWith(bytes, "\xFE\xFF");
    if (bigEndian || StartsWith(bytes, "\xFF\xFE")) {
        if (bytes.size() % 2 != 0)
            throw FormatError(AtByte(bytes.size() - 1), "UTF-16 takes two bytes for a character, one is left");
        std::u16string units;
        units.reserve(bytes.size() / 2 - 1);
        for (std::size_t i = 2; i < bytes.size(); i += 2) {
            const auto first = static_cast<unsigned char>(bytes[i]);
            const auto second = static_cast<unsigned char>(bytes[i + 1]);
            units += static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
        }
        bytes = {};
        std::wstring text;
        FromUtf16(units, text);
        return ToUtf8(text);
    }
    if (StartsWith(bytes, "\xEF\xBB\xBF"))
        bytes.erase(0, 3);
    return bytes;
}

bool IsKeyword(std::string_view word) noexcept
{
    return std::all_of(word.begin(), word.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    });
}
} // namespace

Statements::Statements(InputFile& file, std::string inFile) : m_InFile(std::move(inFile)), m_Text(TextOf(file))
{
    if (m_Text.find('\n') == std::string::npos)
        m_LineEnd = '\r';
}

bool Statements::Next()
{
    while (NextLine())
        if (NextWord(m_Keyword)) {
            if (!IsKeyword(m_Keyword)) // a file of another kind, whose contents are not for messages
                Fail(Quote(std::string(m_Keyword.substr(0, s_MostQuoted))) + " is no statement");
            return true;
        }
    return false;
}

bool Statements::NextLine()
{
    if (m_Position == m_Text.size())
        return false;
    m_Line = m_NextLine;
    const auto goesOn = [](std::string_view line) { return !line.empty() && line.back() == '\\'; };
    std::string_view line = TakeLine();
    m_Rest = Trimmed(line);
    if (!goesOn(line) || StartsWith(m_Rest, "#"))
        return true;
    m_Joined.clear();
    for (; goesOn(line); line = TakeLine()) {
        line.remove_suffix(1);
        m_Joined.append(line) += ' ';
    }
    m_Rest = Trimmed(m_Joined.append(line));
    return true;
}

std::string_view Statements::TakeLine()
{
    const std::size_t end = std::min(m_Text.find(m_LineEnd, m_Position), m_Text.size());
    std::string_view line = std::string_view(m_Text).substr(m_Position, end - m_Position);
    m_Position = std::min(end + 1, m_Text.size());
    ++m_NextLine;
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return line;
}

bool Statements::NextWord(std::string_view& word) noexcept
{
    if (m_Rest.empty() || m_Rest.front() == '#')
        return false;
    word = m_Rest.substr(0, m_Rest.find_first_of(s_Blanks));
    m_Rest.remove_prefix(word.size());
    m_Rest.remove_prefix(std::min(m_Rest.find_first_not_of(s_Blanks), m_Rest.size()));
    return true;
}

std::size_t Statements::TakeNumbers(std::size_t fewest, std::size_t most)
{
    std::size_t count = 0;
    for (std::string_view word; NextWord(word); ++count) {
        float number = 0;
        if (!ParseNumber(word, number))
            Fail(Quote(std::string(word)) + " is no number that a coordinate or a colour can have");
        if (count < most)
            m_Numbers[count] = number;
    }
    if (count < fewest || count > most)
        Fail(std::to_string(fewest) + (most > fewest ? " to " + std::to_string(most) : "") +
             (most > 1 ? " numbers" : " number") + " should follow, " + std::to_string(count) +
             (count == 1 ? " does" : " do"));
    return count;
}

void Statements::Fail(const std::string& problem) const
{
    throw FormatError(AtLine(m_Line) + m_InFile, problem);
}

bool ParseNumber(std::string_view text, float& number) noexcept
{
    if (StartsWith(text, "+") && !StartsWith(text, "+-"))
        text.remove_prefix(1);
    const char* const end = text.data() + text.size();
    std::from_chars_result result = std::from_chars(text.data(), end, number);
    if (result.ec == std::errc::result_out_of_range) {
        double wide = 0;
        result = std::from_chars(text.data(), end, wide);
        if (std::abs(wide) > 1)
            return false;
        number = static_cast<float>(wide);
    }
    return result.ec == std::errc() && result.ptr == end && std::isfinite(number);
}

std::wstring WideName(std::string_view name)
{
    std::wstring wide = FromUtf8(name);
    if (ToUtf8(wide) != name) {
        wide.clear();
        for (const char c : name)
            wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
    }
    return wide;
}
} // namespace Formats::Obj
