#include <Tools/OutputFile.h>

#include <Tools/FileError.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <random>
#include <thread>

namespace Lumvo {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t s_BufferSize = std::size_t{1} << 16;

std::error_code SystemError() noexcept
{
    return {errno, std::generic_category()};
}

/// Whether the last call failed because the file system lacks the operation or does not grant it.
bool IsUnsupported() noexcept
{
    const std::array reasons = {EPERM, EINVAL, ENOTSUP, EOPNOTSUPP, ENOSYS, EMLINK};
    return std::find(reasons.begin(), reasons.end(), errno) != reasons.end();
}

fs::path RandomName(const fs::path& target)
{
    std::random_device random;
    // Short, because the file's own name may be as long as a name can be.
    return target.parent_path() / (".lumvo-" + std::to_string(random()) + ".tmp");
}

/// The temporary name that reserves another. Two names can share one: then the second counts as being in use.
fs::path ReservationOf(const fs::path& file)
{
    static constexpr std::size_t s_MaxBytes = 200;
    std::string name = file.filename().string();
    name.erase(0, name.size() - std::min(name.size(), s_MaxBytes)); // numbers and extensions are at the end
    std::transform(name.begin(), name.end(), name.begin(),          // some file systems ignore the case
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    while (!name.empty() && (name.front() & '\xC0') == '\x80') // the rest of a character that was cut
        name.erase(0, 1);
    return file.parent_path() / (".lumvo-" + name + ".tmp");
}

bool Exists(const fs::path& file)
{
    struct stat status = {};
    return lstat(file.c_str(), &status) == 0;
}
} // namespace

/// A folder in which files take their names. One that may not be opened is neither locked nor flushed.
class OutputFolder
{
public:
    explicit OutputFolder(const fs::path& file)
        : m_Folder(file.has_parent_path() ? file.parent_path() : "."),
          m_Descriptor(open(m_Folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {}

    /// Waits while another run gives names in this folder, though not forever: anybody may hold a lock.
    /// \returns false if another still does.
    [[nodiscard]] bool Lock() const
    {
        static constexpr auto s_Pause = std::chrono::milliseconds(20);
        static constexpr int s_MaxPauses = 500;
        for (int pauses = 0; flock(m_Descriptor.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; ++pauses) {
            if (pauses == s_MaxPauses)
                return false;
            std::this_thread::sleep_for(s_Pause);
        }
        return true;
    }
    /// Makes the names in it safe from a crash of the system.
    void Sync() const
    {
        if (m_Descriptor.IsOpen() && fsync(m_Descriptor.Get()) != 0 && !IsUnsupported())
            FailToWrite(m_Folder, SystemError());
    }

private:
    fs::path m_Folder;
    Descriptor m_Descriptor;
};

void FailToWrite(const fs::path& file, const std::error_code& reason)
{
    throw FileError(ExitCannotWrite, file, std::nullopt, "cannot be written: " + reason.message(),
                    "Check that the folder exists, is writable and has free space.");
}

bool Descriptor::Close() noexcept
{
    return m_Value < 0 || close(std::exchange(m_Value, -1)) == 0 || errno == EINTR;
}

OutputFile::OutputFile(fs::path file) : m_File(std::move(file)), m_Target(m_File)
{
    std::error_code error;
    const fs::file_status status = fs::status(m_File, error);
    if (fs::is_directory(status))
        FailToWrite(m_File, std::make_error_code(std::errc::is_a_directory));
    m_Replacing = fs::is_regular_file(status);
    m_Straight = fs::exists(status) && !m_Replacing;
    if (m_Straight) {
        m_Written = m_File;
        return;
    }
    FollowLinks();
    do
        m_Written = RandomName(m_Target);
    while (!Create(m_Replacing ? m_Target : fs::path()));
}

OutputFile::OutputFile(fs::path file, fs::path written)
    : m_File(std::move(file)), m_Target(m_File), m_Written(std::move(written))
{}

std::unique_ptr<OutputFile> OutputFile::Reserve(const fs::path& file) const
{
    std::unique_ptr<OutputFile> made(new OutputFile(file, ReservationOf(file)));
    // Looked up again after the reservation: another run may have taken the name and ended in between.
    if (Exists(file) || !made->Create(m_Replacing ? m_Target : fs::path()) || Exists(file))
        return nullptr;
    return made;
}

/// Through a link, the file that it leads to is replaced or made, not the link.
void OutputFile::FollowLinks()
{
    static constexpr int s_MaxLinks = 40;
    std::error_code error;
    for (int links = 0; fs::is_symlink(fs::symlink_status(m_Target, error)); ++links) {
        if (links == s_MaxLinks)
            FailToWrite(m_File, std::make_error_code(std::errc::too_many_symbolic_link_levels));
        const fs::path next = fs::read_symlink(m_Target, error);
        if (error)
            FailToWrite(m_File, error);
        m_Target = m_Target.parent_path() / next; // an absolute one stays as it is
    }
}

/// \returns false if there is a file of the temporary name.
bool OutputFile::Create(const fs::path& predecessor)
{
    struct stat old = {}, made = {};
    const bool inherits = !predecessor.empty() && stat(predecessor.c_str(), &old) == 0;
    if (!inherits && !predecessor.empty() && errno != ENOENT)
        FailToWrite(m_File, SystemError());
    const SignalsHeld held; // until the new file is watched
    // Nobody else may read along, unless the file that is replaced allows it.
    constexpr mode_t everybody = 0666, owner = 0600;
    m_Descriptor = Descriptor(
        open(m_Written.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, inherits ? owner : everybody));
    if (!m_Descriptor.IsOpen() && errno == EEXIST)
        return false;
    if (!m_Descriptor.IsOpen())
        FailToWrite(m_File, SystemError());
    m_Temporary.Watch(m_Written);
    if (!inherits)
        return true;
    const int file = m_Descriptor.Get();
    if (fstat(file, &made) != 0)
        FailToWrite(m_File, SystemError());
    if ((made.st_uid != old.st_uid || made.st_gid != old.st_gid) && fchown(file, old.st_uid, old.st_gid) != 0)
        static_cast<void>(fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0); // as far as the user may
    constexpr mode_t permissions = 0777;
    if (fchmod(file, old.st_mode & permissions) != 0)
        FailToWrite(m_File, SystemError());
    return true;
}

void OutputFile::Write(const void* data, std::size_t count)
{
    m_Size += count;
    if (count > s_BufferSize - m_Buffered) {
        Flush();
        if (count > s_BufferSize)
            return WriteToSystem(static_cast<const char*>(data), count);
    }
    if (!m_Buffer)
        m_Buffer = std::make_unique<char[]>(s_BufferSize);
    std::copy_n(static_cast<const char*>(data), count, &m_Buffer[m_Buffered]);
    m_Buffered += count;
}

void OutputFile::Flush()
{
    WriteToSystem(m_Buffer.get(), std::exchange(m_Buffered, 0));
}

void OutputFile::WriteToSystem(const char* data, std::size_t count)
{
    if (m_Straight && !m_Descriptor.IsOpen()) { // no earlier, because a pipe waits for its reader
        m_Descriptor = Descriptor(open(m_File.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
        if (!m_Descriptor.IsOpen())
            m_Error = SystemError();
    }
    while (count > 0 && !m_Error) {
        constexpr std::size_t most = std::size_t{1} << 30; // some systems refuse more than an int can count
        const ssize_t written = write(m_Descriptor.Get(), data, std::min(count, most));
        if (written < 0 && errno != EINTR)
            m_Error = SystemError();
        data += std::max<ssize_t>(written, 0);
        count -= static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    }
    if (m_Error)
        throw std::system_error(m_Error, m_File.string());
}

void OutputFile::Close()
{
#if defined(__linux__)
    Flush(); // Commit flushes all closed files to the disk at once
#else
    Sync();
#endif
    m_Buffer.reset();
    if (!m_Descriptor.Close())
        throw std::system_error(SystemError(), m_File.string());
}

/// In a folder that others can write to, somebody may have put another file or a link under the temporary name.
void OutputFile::RequireInPlace() const
{
    struct stat named = {}, written = {};
    if (m_Descriptor.IsOpen() && (lstat(m_Written.c_str(), &named) != 0 || fstat(m_Descriptor.Get(), &written) != 0 ||
                                  named.st_dev != written.st_dev || named.st_ino != written.st_ino))
        throw FileError(ExitCannotWrite, m_File, std::nullopt,
                        "cannot be written: somebody has moved its temporary file",
                        "Choose a folder that nobody else can write to.");
}

/// To the disk.
void OutputFile::Sync()
{
    try {
        Flush();
    } catch (const std::system_error& error) {
        FailToWrite(m_File, error.code());
    }
    if (!m_Straight && fsync(m_Descriptor.Get()) != 0 && !IsUnsupported())
        FailToWrite(m_File, SystemError());
}

void OutputFile::Commit()
{
    Commit(Companions());
}

void OutputFile::Commit(const Companions& companions)
{
    bool allOpen = true;
    for (const auto& companion : companions.made)
        if (companion->m_Descriptor.IsOpen())
            companion->Sync();
        else
            allOpen = false;
#if defined(__linux__)
    if (!allOpen && syncfs(companions.made.front()->m_Descriptor.Get()) != 0)
        FailToWrite(m_File, SystemError());
#endif
    Sync();

    const OutputFolder folder(m_Target);
    std::vector<fs::path> old;
    // Without the lock another run might give one of these names again.
    if (folder.Lock() && companions.findOld)
        old = companions.findOld();
    const SignalsHeld held;
    try {
        for (const auto& companion : companions.made)
            companion->TakeFreeName();
        for (const fs::path& companion : companions.reused)
            if (!Exists(companion))
                FailToWrite(companion, std::make_error_code(std::errc::no_such_file_or_directory));
        if (!companions.made.empty())
            OutputFolder(companions.made.front()->m_File).Sync(); // a name comes before a reference to it
        if (!m_Straight)
            ReplaceTarget(folder);
    } catch (...) {
        for (const auto& companion : companions.made)
            companion->GiveNameBack();
        throw;
    }
    for (const auto& companion : companions.made)
        companion->m_Temporary.Remove();
    for (const fs::path& file : old)
        unlink(file.c_str()); // where that fails, it stays without harm
}

/// Never replaces a file that has appeared meanwhile.
void OutputFile::TakeFreeName()
{
    RequireInPlace();
    m_Named = link(m_Written.c_str(), m_File.c_str()) == 0;
    if (!m_Named && IsUnsupported() && !Exists(m_File))
        m_Named = rename(m_Written.c_str(), m_File.c_str()) == 0;
    if (!m_Named)
        FailToWrite(m_File, SystemError());
}

void OutputFile::GiveNameBack() noexcept
{
    if (std::exchange(m_Named, false))
        unlink(m_File.c_str());
}

/// Leaves the old file in its place if anything fails.
void OutputFile::ReplaceTarget(const OutputFolder& folder)
{
    RequireInPlace();
    Temporary old; // a second name, under which the old file can come back
    const fs::path oldName = RandomName(m_Target);
    const bool kept = link(m_Target.c_str(), oldName.c_str()) == 0;
    const bool isNew = !kept && errno == ENOENT;
    if (kept)
        old.Watch(oldName);
    else if (!isNew && !IsUnsupported())
        FailToWrite(m_File, SystemError());
    if (rename(m_Written.c_str(), m_Target.c_str()) != 0)
        FailToWrite(m_File, SystemError());
    m_Temporary.Release();
    try {
        folder.Sync();
    } catch (const FileError&) {
        if (!kept && !isNew)
            return; // no way back; the new file is complete
        if (kept)
            rename(oldName.c_str(), m_Target.c_str());
        else
            unlink(m_Target.c_str());
        throw;
    }
    old.Remove();
}
} // namespace Lumvo
