#pragma once

#include <Formats/Support/FormatExport.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace Formats {

/// A file that is read at any place, with its length known from the start.
///
/// - Errors: FormatError for a file that cannot be opened or read, for anything but a regular file, and for a
///   read beyond the end, which is said with its place before anything is read.
class FORMATS_API InputFile
{
public:
    explicit InputFile(std::filesystem::path path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    [[nodiscard]] const std::filesystem::path& GetPath() const noexcept { return m_Path; }
    [[nodiscard]] std::uint64_t GetSize() const noexcept { return m_Size; }
    /// Reads exactly `count` bytes from `offset` on.
    void ReadAt(std::uint64_t offset, void* data, std::size_t count);
    /// The bytes from `offset` to the end of the file; to be used on files, or parts of them, that are kept in
    /// memory as a whole.
    [[nodiscard]] std::string ReadFrom(std::uint64_t offset = 0);

private:
    std::filesystem::path m_Path;
    std::ifstream m_Stream;
    std::uint64_t m_Size = 0;
    std::uint64_t m_Position = 0;
};
} // namespace Formats
