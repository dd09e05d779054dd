#pragma once

#include <Tools/Temporaries.h>

#include <Formats/Support/ExportService.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

namespace Lumvo {

/// Owns a file descriptor, or none.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int value) noexcept : m_Value(value) {}
    Descriptor(Descriptor&& other) noexcept : m_Value(std::exchange(other.m_Value, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_Value, other.m_Value);
        return *this;
    }
    ~Descriptor() { Close(); }

    [[nodiscard]] bool IsOpen() const noexcept { return m_Value >= 0; }
    [[nodiscard]] int Get() const noexcept { return m_Value; }
    /// \returns false if the system reports a failure; the descriptor is closed all the same.
    bool Close() noexcept;

private:
    int m_Value = -1;
};

struct Companions;
class OutputFolder;

/// A file that is written under a temporary name in its folder and takes its own name when it is complete, so that an
/// older file is replaced as a whole or not at all.
///
/// Everything goes through the descriptor that created the temporary file: a link that somebody else puts in its place
/// is never followed. Something other than a regular file, such as a device or a pipe, is written directly.
///
/// - Ownership: removes what was written unless Commit was called.
/// - Errors: FileError with ExitCannotWrite; Write, Flush and Close throw `std::system_error`.
class OutputFile final : public Formats::OutputStream
{
public:
    /// Creates the temporary file. One that replaces a file gets its permissions, and its owner and group if the user
    /// may give them.
    explicit OutputFile(std::filesystem::path file);
    /// Creates a companion, whose name must be free and stays reserved among all runs of the program while it lives.
    /// Permissions, owner and group are as for this file.
    /// \returns null if the name is in use.
    [[nodiscard]] std::unique_ptr<OutputFile> Reserve(const std::filesystem::path& file) const;

    using OutputStream::Write;
    void Write(const void* data, std::size_t count) override;
    /// Hands over to the system what is still in the buffer, so that the written file can be read.
    void Flush();
    /// Flushes and gives the descriptor back, which is scarce where files are many. Commit may follow.
    void Close();

    /// Gives the written files their names, this one last, as one change: a failure leaves everything as it was, and
    /// whenever the program is killed the old file or the new one is there, with its companions.
    void Commit(const Companions& companions);
    void Commit();

    /// The name that the user gave.
    [[nodiscard]] const std::filesystem::path& GetFile() const noexcept { return m_File; }
    /// Where the contents are before Commit.
    [[nodiscard]] const std::filesystem::path& GetWrittenFile() const noexcept { return m_Written; }
    /// Bytes written so far.
    [[nodiscard]] std::uint64_t GetSize() const noexcept { return m_Size; }
    /// True for a device or a pipe: there is nothing to commit or to read back.
    [[nodiscard]] bool IsStraight() const noexcept { return m_Straight; }

private:
    OutputFile(std::filesystem::path file, std::filesystem::path written);

    void FollowLinks();
    [[nodiscard]] bool Create(const std::filesystem::path& predecessor);
    void WriteToSystem(const char* data, std::size_t count);
    void RequireInPlace() const;
    void Sync();
    void TakeFreeName();
    void GiveNameBack() noexcept;
    void ReplaceTarget(const OutputFolder& folder);

    std::filesystem::path m_File;   // as the user named it, for messages
    std::filesystem::path m_Target; // what that name leads to
    std::filesystem::path m_Written;
    Temporary m_Temporary; // that very file, until it is committed
    Descriptor m_Descriptor;
    std::unique_ptr<char[]> m_Buffer;
    std::size_t m_Buffered = 0;
    std::uint64_t m_Size = 0;
    std::error_code m_Error; // of the first write that failed
    bool m_Straight = false;
    bool m_Replacing = false; // when this was made
    bool m_Named = false;     // a reserved file has its own name
};

/// The files that go with another.
struct Companions
{
    std::vector<std::unique_ptr<OutputFile>> made;
    std::vector<std::filesystem::path> reused; ///< Existing files that must still be there.
    /// Finds the companions of the old file, to be removed when it is replaced.
    std::function<std::vector<std::filesystem::path>()> findOld;
};

/// Throws the FileError for a file that cannot be written.
[[noreturn]] void FailToWrite(const std::filesystem::path& file, const std::error_code& reason);
} // namespace Lumvo
