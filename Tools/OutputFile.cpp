#include <Tools/OutputFile.h>

#include <Tools/FileError.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>
#include <string>
#include <system_error>
#include <utility>

namespace Lumvo {

void FailToWrite(const std::filesystem::path& file, const std::error_code& reason)
{
    throw FileError(ExitCannotWrite, file, std::nullopt, "cannot be written: " + reason.message(),
                    "Choose a place that exists, that you may write to and that has room.");
}

OutputFile::OutputFile(std::filesystem::path file) : m_File(std::move(file)), m_Target(m_File)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(m_File, error);
    if (std::filesystem::is_directory(status))
        FailToWrite(m_File, std::make_error_code(std::errc::is_a_directory));
    m_Straight = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
    if (m_Straight) {
        m_Written = m_File;
        return;
    }
    // Through a link, the file that it leads to is replaced, not the link.
    if (std::filesystem::exists(status))
        m_Target = std::filesystem::canonical(m_File, error);
    if (error && error != std::errc::no_such_file_or_directory)
        FailToWrite(m_File, error);
    CreateNextTo();
    if (std::filesystem::exists(status))
        std::filesystem::permissions(m_Written, status.permissions(), error); // kept as well as may be
}

void OutputFile::CreateNextTo()
{
    std::random_device random;
    for (;;) {
        // Short, because the file's own name may be as long as a name can be.
        m_Written = m_Target.parent_path() / (".lumvo-" + std::to_string(random()) + ".tmp");
        // Made here and only here, so that nobody's file, nor a link that somebody left, is written into.
        errno = 0;
        if (std::FILE* const made = std::fopen(m_Written.c_str(), "wbx")) {
            std::fclose(made);
            return;
        }
        if (errno == EEXIST)
            continue;
        m_Written.clear();
        FailToWrite(m_File, {errno, std::generic_category()});
    }
}

OutputFile::~OutputFile()
{
    std::error_code ignored;
    if (!m_Straight && !m_Committed)
        std::filesystem::remove(m_Written, ignored);
}

void OutputFile::Flush() const
{
    const int file = open(m_Written.c_str(), O_RDONLY | O_CLOEXEC);
    const bool flushed = file >= 0 && fsync(file) == 0;
    const std::error_code reason(errno, std::generic_category());
    if (file >= 0)
        close(file);
    if (!flushed)
        FailToWrite(m_File, reason);
}

void OutputFile::Commit()
{
    if (m_Straight)
        return;
    Flush();
    std::error_code error;
    std::filesystem::rename(m_Written, m_Target, error);
    if (error)
        FailToWrite(m_File, error);
    m_Committed = true;
}
} // namespace Lumvo
