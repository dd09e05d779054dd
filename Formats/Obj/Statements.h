#pragma once

#include <Formats/Support/InputFile.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Formats::Obj {

/// The statements of an OBJ or MTL file, one after the other: a keyword and its arguments.
///
/// Lines end with LF, CR LF or CR; one that ends with a backslash goes on in the next. Empty lines and comments are
/// skipped. Text is UTF-8, or UTF-16 with a byte order mark.
///
/// - Units: the whole text is held in memory.
/// - Errors: FormatError with the number of the line on which the statement begins.
class Statements
{
public:
    /// \param inFile what the place of an error adds to the line's number, such as " of \"box.mtl\"".
    explicit Statements(InputFile& file, std::string inFile = {});

    /// Goes to the next statement.
    /// \returns false when there is none.
    bool Next();
    [[nodiscard]] std::string_view GetKeyword() const noexcept { return m_Keyword; }
    [[nodiscard]] std::uint64_t GetLine() const noexcept { return m_Line; }
    /// How much of the text is read, in bytes.
    [[nodiscard]] std::uint64_t GetPosition() const noexcept { return m_Position; }

    /// Takes the next argument.
    /// \returns false when none is left before the end of the line or a comment.
    bool NextWord(std::string_view& word) noexcept;
    /// What is left of the line, blanks inside included; for names, which may hold blanks and '#'.
    [[nodiscard]] std::string_view GetRest() const noexcept { return m_Rest; }
    /// Takes all arguments, which have to be numbers.
    /// \returns how many they are.
    std::size_t TakeNumbers(std::size_t fewest, std::size_t most);
    /// Of those that were taken last.
    [[nodiscard]] float GetNumber(std::size_t index) const noexcept { return m_Numbers[index]; }

    [[noreturn]] void Fail(const std::string& problem) const;

private:
    [[nodiscard]] std::string_view TakeLine();
    bool NextLine();

    std::string m_InFile;
    std::string m_Text;
    char m_LineEnd = '\n';
    std::size_t m_Position = 0;
    std::uint64_t m_NextLine = 1;
    std::uint64_t m_Line = 0;
    std::string m_Joined; // a line that goes over several
    std::string_view m_Keyword;
    std::string_view m_Rest;
    std::array<float, 8> m_Numbers{};
};

/// Whether the text is a finite number within the range of floats; one too small for them is 0.
bool ParseNumber(std::string_view text, float& number) noexcept;

/// A name in a file; one that is not UTF-8 is taken for ISO 8859-1, in which older programs write.
[[nodiscard]] std::wstring WideName(std::string_view name);
} // namespace Formats::Obj
