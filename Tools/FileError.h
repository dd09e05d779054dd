#pragma once

#include <Tools/Verbs.h>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Lumvo {

/// A file that cannot be read or written: which, what is wrong, where, and what its user can do about it.
///
/// The texts may come from anywhere, such as a module or a library: they are made fit for a terminal here.
class FileError : public std::exception
{
public:
    /// \param offset the byte at which it went wrong, where there is one.
    FileError(ExitCode code, std::filesystem::path file, std::optional<std::uint64_t> offset, std::string_view problem,
              std::string_view advice);
    /// \param place where in the file, such as "line 12"; empty where it is no place in it.
    FileError(ExitCode code, std::filesystem::path file, std::string_view place, std::string_view problem,
              std::string_view advice);

    [[nodiscard]] ExitCode GetExitCode() const noexcept { return m_Code; }
    [[nodiscard]] const std::filesystem::path& GetFile() const noexcept { return m_File; }
    [[nodiscard]] const std::optional<std::uint64_t>& GetOffset() const noexcept { return m_Offset; }
    /// "at byte N" where there is an offset.
    [[nodiscard]] const std::string& GetPlace() const noexcept { return m_Place; }
    [[nodiscard]] const std::string& GetProblem() const noexcept { return m_Problem; }
    [[nodiscard]] const std::string& GetAdvice() const noexcept { return m_Advice; }
    /// One line: file, offset and problem, fit for a terminal.
    [[nodiscard]] const char* what() const noexcept override { return m_What.c_str(); }

private:
    static constexpr std::size_t s_MostCharacters = 5000; ///< Of a problem, which may name files.

    ExitCode m_Code;
    std::filesystem::path m_File;
    std::optional<std::uint64_t> m_Offset;
    std::string m_Place;
    std::string m_Problem;
    std::string m_Advice;
    std::string m_What;
};

/// Prints an error and its advice to standard error.
void PrintError(const FileError& error);
} // namespace Lumvo
