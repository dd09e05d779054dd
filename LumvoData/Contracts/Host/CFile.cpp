#include <LumvoData/Contracts/Host/CFile.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <utility>

#if defined(_WIN32)
#    include <share.h>
#else
#    include <sys/uio.h>
#endif

namespace Kelvra {
namespace {

std::FILE* OpenStream(const std::filesystem::path& path, bool writing)
{
#if defined(_WIN32)
    return _wfsopen(path.c_str(), writing ? L"wb" : L"rb", writing ? _SH_DENYRW : _SH_DENYWR);
#else
    return std::fopen(path.c_str(), writing ? "wb" : "rb");
#endif
}

/// Size of a regular file, without changing what `error` says where there is none.
std::uint64_t RegularFileSize(const std::filesystem::path& path, std::error_code& error)
{
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (error)
        return 0;
    if (!std::filesystem::exists(status))
        error = std::make_error_code(std::errc::no_such_file_or_directory);
    else if (std::filesystem::is_directory(status))
        error = std::make_error_code(std::errc::is_a_directory);
    else if (!std::filesystem::is_regular_file(status))
        error = std::make_error_code(std::errc::invalid_seek);
    return error ? 0 : std::filesystem::file_size(path, error);
}

struct Block
{
    const char* data;
    std::size_t size;
};

/// Writes two blocks, either of which may be empty, one behind the other: in one call where the system has one.
/// \returns how many bytes were written; where that is not all, errno may say why.
std::size_t WriteBlocks(std::FILE* file, Block first, Block second) noexcept
{
    errno = 0;
#if defined(_WIN32)
    const std::size_t done = std::fwrite(first.data, 1, first.size, file);
    return done < first.size ? done : done + std::fwrite(second.data, 1, second.size, file);
#else
    const auto skip = [](Block& block, std::size_t size) {
        block.data += size;
        block.size -= size;
    };
    const auto vector = [](const Block& block) { return iovec{const_cast<char*>(block.data), block.size}; };
    std::size_t done = 0;
    while (first.size + second.size > 0) {
        constexpr std::size_t most = std::size_t{1} << 30; // some systems refuse more than an int can count
        const iovec blocks[] = {vector(first), vector({second.data, std::min(second.size, most)})};
        const ssize_t written = writev(fileno(file), blocks, 2);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            break;
        const auto size = static_cast<std::size_t>(written);
        const std::size_t ofFirst = std::min(size, first.size);
        skip(first, ofFirst);
        skip(second, size - ofFirst);
        done += size;
    }
    return done;
#endif
}

std::error_code SystemError() noexcept
{
    return {errno != 0 ? errno : EIO, std::generic_category()};
}
} // namespace

CFile::CFile() = default;

CFile::~CFile()
{
    try {
        Close();
    } catch (...) { // a caller that must know calls Close itself
    }
}

bool CFile::Open(const std::wstring& fileName, unsigned flags)
{
    Close();
    m_FileName = fileName;
    m_Error.clear();
    if (fileName.find(L'\0') != std::wstring::npos) { // the system would open what stands before it
        m_Error = std::make_error_code(std::errc::invalid_argument);
        return false;
    }
    const std::filesystem::path path = KvText::ToPath(fileName);
    const bool writing = (flags & modeWrite) != 0;
    const std::uint64_t size = writing ? 0 : RegularFileSize(path, m_Error);
    if (m_Error)
        return false;
    errno = 0;
    m_File = OpenStream(path, writing);
    if (m_File == nullptr) {
        m_Error = SystemError();
        return false;
    }
    std::setvbuf(m_File, nullptr, _IONBF, 0); // one buffer is enough, and ours knows its position
    if (!m_Buffer) {
        m_Buffer.reset(static_cast<char*>(::operator new (s_BufferSize, std::align_val_t{s_PageSize})));
        m_Capacity = s_BufferSize;
    }
    m_NextFill = s_PageSize;
    m_Writing = writing;
    m_Room = writing ? m_Capacity : 0;
    m_Size = size;
    m_Used = m_Filled = 0;
    m_BufferStart = 0;
    return true;
}

std::size_t CFile::ReadBeyondBuffer(void* data, std::size_t count)
{
    char* const bytes = static_cast<char*>(data);
    const std::size_t buffered = m_Filled - m_Used;
    if (buffered > 0)
        std::memcpy(bytes, m_Buffer.get() + m_Used, buffered);
    m_BufferStart += m_Filled;
    m_Used = m_Filled = 0;
    if (m_File == nullptr || m_Writing)
        return buffered;

    std::size_t done = buffered;
    if (count - done >= s_DirectSize) {
        const std::size_t direct = ReadFromSystem(bytes + done, count - done);
        m_BufferStart += direct;
        m_NextFill = s_PageSize;
        done += direct;
    } else {
        // Small at first, because what follows a large block may be the next one, which is better read directly.
        m_Filled = ReadFromSystem(m_Buffer.get(), std::max(m_NextFill, count - done));
        m_NextFill = std::min(2 * m_NextFill, s_BufferSize);
        m_Used = std::min(count - done, m_Filled);
        std::memcpy(bytes + done, m_Buffer.get(), m_Used);
        done += m_Used;
    }
    if (done < count)
        m_Size = GetPosition();
    return done;
}

void CFile::WriteBeyondBuffer(const void* data, std::size_t count)
{
    if (m_Room == 0) {
        if (!m_Error)
            m_Error = std::make_error_code(std::errc::bad_file_descriptor);
        Fail("cannot write");
    }
    const char* bytes = static_cast<const char*>(data);
    const auto fill = [&](std::size_t size) {
        std::memcpy(m_Buffer.get() + m_Used, bytes, size);
        m_Used += size;
        bytes += size;
        count -= size;
    };
    // What goes past the buffer ends at a page of the file, so that the next write begins at one.
    std::size_t direct = 0;
    if (count < s_DirectSize)
        fill(m_Room - m_Used);
    else
        direct = count - (m_Used + count) % s_PageSize;
    if (!WriteToSystem(bytes, direct))
        Fail("cannot write");
    bytes += direct;
    count -= direct;
    if (m_BufferStart >= s_LargeFile)
        EnlargeBuffer();
    fill(count);
}

void CFile::EnlargeBuffer() noexcept
{
    if (m_Capacity == s_LargeBufferSize)
        return;
    void* const memory = ::operator new (s_LargeBufferSize, std::align_val_t{s_PageSize}, std::nothrow);
    if (memory == nullptr) // the small one does too
        return;
    m_Buffer.reset(static_cast<char*>(memory));
    m_Capacity = m_Room = s_LargeBufferSize;
}

std::size_t CFile::ReadFromSystem(void* data, std::size_t count)
{
    std::size_t done = 0;
    for (;;) {
        errno = 0;
        done += std::fread(static_cast<char*>(data) + done, 1, count - done, m_File);
        if (done == count || std::ferror(m_File) == 0)
            return done;
        if (errno != EINTR) {
            m_Error = SystemError();
            Fail("cannot read");
        }
        std::clearerr(m_File);
    }
}

bool CFile::WriteToSystem(const char* data, std::size_t count) noexcept
{
    const std::size_t all = m_Used + count;
    const std::size_t done = WriteBlocks(m_File, {m_Buffer.get(), std::exchange(m_Used, 0)}, {data, count});
    m_BufferStart += done;
    if (done == all)
        return true;
    m_Error = SystemError();
    m_Room = 0;
    return false;
}

void CFile::Close()
{
    if (m_File == nullptr)
        return;
    if (m_Room != 0)
        WriteToSystem(nullptr, 0);
    errno = 0;
    if (std::fclose(std::exchange(m_File, nullptr)) != 0 && m_Writing && !m_Error)
        m_Error = SystemError();
    const bool lost = m_Writing && m_Error;
    m_Writing = false;
    m_Used = m_Filled = m_Room = 0;
    m_BufferStart = m_Size = 0;
    if (lost)
        Fail("cannot write");
}

void CFile::Fail(const char* action) const
{
    throw std::system_error(m_Error, KvText::ToUtf8(m_FileName) + ": " + action);
}
} // namespace Kelvra
