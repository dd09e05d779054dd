#pragma once

#include <Tools/Temporaries.h>

#include <filesystem>
#include <system_error>

namespace Lumvo {

/// A file that is written next to its place and moved there when it is complete, so that a file which stood there
/// is replaced as a whole or not at all.
///
/// Something that is no regular file, such as a device or a pipe, is written straight into.
///
/// - Ownership: removes what was written unless Commit was called.
/// - Errors: FileError with ExitCannotWrite.
class OutputFile
{
public:
    /// Makes an empty file next to `file`.
    explicit OutputFile(std::filesystem::path file);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Moves the written file, which is closed, to its place.
    void Commit();

    /// What the user named.
    [[nodiscard]] const std::filesystem::path& GetFile() const noexcept { return m_File; }
    /// Where to write, and where the result stands before Commit.
    [[nodiscard]] const std::filesystem::path& GetWrittenFile() const noexcept { return m_Written; }
    /// True where there is nothing to commit, nor to read back.
    [[nodiscard]] bool IsStraight() const noexcept { return m_Straight; }
    /// True where a file stood when this was made.
    [[nodiscard]] bool IsReplacing() const noexcept { return m_Replacing; }

private:
    void FollowLinks();
    void CreateNextTo();
    void Flush() const; // to the disk, so that a crash leaves the old file or the new one

    std::filesystem::path m_File;   // as the user named it, for messages
    std::filesystem::path m_Target; // what that name leads to
    std::filesystem::path m_Written;
    Temporary m_Temporary; // that very file, until it is committed
    bool m_Straight = false;
    bool m_Replacing = false;
};

/// Throws the FileError for a file that cannot be written.
[[noreturn]] void FailToWrite(const std::filesystem::path& file, const std::error_code& reason);
} // namespace Lumvo
