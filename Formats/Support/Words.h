#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <system_error>

namespace Formats {

/// The words of a text, which stand between white space, one after another, with the line of each. Lines end with
/// LF, CR LF or CR.
class Words
{
public:
    explicit Words(std::string_view text) noexcept : m_Text(text) {}

    /// The next word, on whatever line; empty at the end of the text.
    std::string_view Next() noexcept
    {
        std::string_view word = NextInLine();
        while (word.empty() && SkipLine())
            word = NextInLine();
        return word;
    }
    /// The next word of the line; empty at the end of the line.
    std::string_view NextInLine() noexcept
    {
        while (m_Position < m_Text.size() && IsBlank(m_Text[m_Position]))
            ++m_Position;
        const std::size_t begin = m_Position;
        while (m_Position < m_Text.size() && !IsBlank(m_Text[m_Position]) && !IsLineEnd(m_Text[m_Position]))
            ++m_Position;
        return m_Text.substr(begin, m_Position - begin);
    }
    /// Goes to the beginning of the next line.
    /// \returns false when there is none.
    bool SkipLine() noexcept
    {
        while (m_Position < m_Text.size() && !IsLineEnd(m_Text[m_Position]))
            ++m_Position;
        if (m_Position == m_Text.size())
            return false;
        const bool pair = m_Text.substr(m_Position, 2) == "\r\n";
        m_Position += pair ? 2 : 1;
        ++m_Line;
        return true;
    }

    /// The line of the next character, counted from 1.
    [[nodiscard]] std::uint64_t GetLine() const noexcept { return m_Line; }
    /// How many characters are behind.
    [[nodiscard]] std::size_t GetPosition() const noexcept { return m_Position; }

private:
    static bool IsBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }
    static bool IsLineEnd(char c) noexcept { return c == '\n' || c == '\r'; }

    std::string_view m_Text;
    std::size_t m_Position = 0;
    std::uint64_t m_Line = 1;
};

/// The number that a word is, whatever the locale; infinite where it is beyond the range of a double,
/// and no number (NaN) where it is written as older runtimes do, "-1.#IND".
/// \returns false where the word is anything else.
inline bool ToNumber(std::string_view word, double& number) noexcept
{
    if (!word.empty() && word.front() == '+' && word.substr(0, 2) != "+-")
        word.remove_prefix(1);
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (end != word.data() + word.size()) {
        number = std::numeric_limits<double>::quiet_NaN();
        return error == std::errc() && *end == '#';
    }
    if (error == std::errc::result_out_of_range) {
        const bool tiny = word.find("e-") != word.npos || word.find("E-") != word.npos;
        number = tiny ? 0 : std::numeric_limits<double>::infinity();
        return true;
    }
    return error == std::errc();
}

/// The nearest float; infinite beyond the range of floats.
inline float ToFloat(double number) noexcept
{
    constexpr double s_Most = std::numeric_limits<float>::max();
    if (number > s_Most || number < -s_Most)
        return number > 0 ? std::numeric_limits<float>::infinity() : -std::numeric_limits<float>::infinity();
    return static_cast<float>(number);
}
} // namespace Formats
