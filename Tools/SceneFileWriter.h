#pragma once

#include <Tools/SceneGraph.h>

#include <cstdint>
#include <filesystem>

namespace Lumvo {

/// Writes a scene file next to its place and moves it there when it is complete, so that a file which stood
/// there is replaced as a whole or not at all.
///
/// Something that is no regular file, such as a device or a pipe, is written straight into.
///
/// - Ownership: removes what it wrote unless Commit was called.
/// - Errors: FileError with ExitCannotWrite.
class SceneFileWriter
{
public:
    explicit SceneFileWriter(std::filesystem::path file);
    ~SceneFileWriter();
    SceneFileWriter(const SceneFileWriter&) = delete;
    SceneFileWriter& operator=(const SceneFileWriter&) = delete;

    /// Writes the roots as references, back to back.
    /// \returns the size of the file.
    std::uint64_t Write(const Roots& roots);
    /// Moves the written file to its place.
    void Commit();

    /// Where the scene stands before Commit.
    [[nodiscard]] const std::filesystem::path& GetWrittenFile() const noexcept { return m_Written; }
    /// True where there is nothing to commit, nor to read back.
    [[nodiscard]] bool IsStraight() const noexcept { return m_Straight; }

private:
    void CreateNextTo();

    std::filesystem::path m_File;   // as the user named it, for messages
    std::filesystem::path m_Target; // what that name leads to
    std::filesystem::path m_Written;
    bool m_Straight = false;
    bool m_Committed = false;
};
} // namespace Lumvo
