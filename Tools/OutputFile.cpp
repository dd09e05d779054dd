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
    FollowLinks();
    CreateNextTo();
    m_Replacing = std::filesystem::exists(status);
    if (m_Replacing)
        std::filesystem::permissions(m_Written, status.permissions(), error); // kept as well as may be
}

/// Through a link, the file that it leads to is replaced or made, not the link.
void OutputFile::FollowLinks()
{
    static constexpr int s_MostLinks = 40;
    std::error_code error;
    for (int links = 0; std::filesystem::is_symlink(std::filesystem::symlink_status(m_Target, error)); ++links) {
        if (links == s_MostLinks)
            FailToWrite(m_File, std::make_error_code(std::errc::too_many_symbolic_link_levels));
        const std::filesystem::path next = std::filesystem::read_symlink(m_Target, error);
        if (error)
            FailToWrite(m_File, error);
        m_Target = m_Target.parent_path() / next; // an absolute one stands for itself
    }
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
            m_Temporary.Watch(m_Written);
            return;
        }
        if (errno == EEXIST)
            continue;
        m_Written.clear();
        FailToWrite(m_File, {errno, std::generic_category()});
    }
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
    m_Temporary.Release();
}
} // namespace Lumvo
