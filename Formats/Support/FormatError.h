#pragma once

#include <Formats/Support/FormatExport.h>

#include <cstdint>
#include <exception>
#include <string>

namespace Formats {

/// Why a file of another format cannot be read, or a scene not be written as one.
class FORMATS_API FormatError : public std::exception
{
public:
    /// \param place where in the file, such as "byte 84", "line 12" or "meshes[2].primitives[0]"; empty where it is
    ///              no place inside the file. See AtByte and AtLine.
    /// \param problem what is wrong there, without a full stop: "3 numbers should follow, 2 do".
    FormatError(std::string place, std::string problem);
    ~FormatError() override;

    [[nodiscard]] const std::string& GetPlace() const noexcept { return m_Place; }
    [[nodiscard]] const std::string& GetProblem() const noexcept { return m_Problem; }
    /// "PLACE: PROBLEM" in UTF-8, without the file's name.
    [[nodiscard]] const char* what() const noexcept override { return m_What.c_str(); }

private:
    std::string m_Place;
    std::string m_Problem;
    std::string m_What;
};

[[nodiscard]] FORMATS_API std::string AtByte(std::uint64_t offset); ///< "byte 84"
[[nodiscard]] FORMATS_API std::string AtLine(std::uint64_t line);   ///< "line 12", counted from 1
/// A text of whatever bytes, such as a message of another library: in UTF-8, shortened, safe for a terminal.
[[nodiscard]] FORMATS_API std::string Printable(const std::string& text);
/// A text from a file in quotes, shortened, safe for a terminal, for messages that repeat it.
[[nodiscard]] FORMATS_API std::string Quote(const std::string& utf8);
} // namespace Formats
