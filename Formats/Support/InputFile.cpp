#include <Formats/Support/InputFile.h>

#include <Formats/Support/FormatError.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace Formats {

InputFile::InputFile(std::filesystem::path path) : m_Path(std::move(path))
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(m_Path, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw FormatError({}, std::filesystem::is_directory(status)
                                  ? "is a folder, not a file"
                                  : "is a pipe or a device: copy its contents into a file first");
    errno = 0;
    m_Stream.open(m_Path, std::ios::binary);
    if (!m_Stream)
        throw FormatError({}, "cannot be opened: " + std::error_code(errno, std::generic_category()).message());
    m_Size = std::filesystem::file_size(m_Path, error);
    if (error)
        throw FormatError({}, "cannot be read: " + error.message());
}

InputFile::~InputFile() = default;

void InputFile::ReadAt(std::uint64_t offset, void* data, std::size_t count)
{
    if (offset > m_Size || count > m_Size - offset)
        throw FormatError(AtByte(offset), "the file ends early: " + std::to_string(count) + " bytes should follow, " +
                                              std::to_string(offset > m_Size ? 0 : m_Size - offset) + " do");
    if (offset != m_Position)
        m_Stream.seekg(static_cast<std::streamoff>(offset));
    errno = 0;
    m_Stream.read(static_cast<char*>(data), static_cast<std::streamsize>(count));
    if (!m_Stream) {
        const int reason = errno;
        throw FormatError(AtByte(offset),
                          reason != 0 ? "cannot be read: " + std::error_code(reason, std::generic_category()).message()
                                      : "the file became shorter while it was read");
    }
    m_Position = offset + count;
}

std::string InputFile::ReadFrom(std::uint64_t offset)
{
    const std::uint64_t left = offset < m_Size ? m_Size - offset : 0;
    if (left > std::string().max_size())
        throw FormatError({}, "is too large to be held in memory");
    std::string bytes(static_cast<std::size_t>(left), '\0');
    ReadAt(offset, bytes.data(), bytes.size());
    return bytes;
}
} // namespace Formats
