#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <system_error>

namespace Kelvra {

/// The host framework's file: a regular file that is either read or written, from front to back.
///
/// Small transfers go through a buffer, so that each costs nanoseconds; large ones go straight between the
/// caller's memory and the system.
///
/// - Units: bytes. Offsets count from the start of the file.
/// - Ownership: owns its buffer and the open file; can be neither copied nor moved.
/// - Errors: Open returns false and keeps the reason. A failed or short write, a failed read, flush or close
///   throws `std::system_error` with the file's name and the system's reason. Once a write has failed, every
///   later Write and the Close throw the same reason again, so that no gap stays unnoticed. Calls that a signal
///   interrupts are repeated. The destructor ignores errors.
class KELVRAHOST_API CFile
{
public:
    enum OpenFlags : unsigned
    {
        modeRead = 0x0000,   ///< An existing file, read only.
        modeWrite = 0x0001,  ///< Writing; goes with modeCreate.
        modeCreate = 0x1000, ///< Make the file, or empty the one that is there.
    };

    CFile();
    ~CFile();
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    /// Opens `fileName` with modeRead, or with modeCreate | modeWrite; a file that is still open is closed
    /// first. Directories, pipes and other things without a size cannot be read. Meanwhile nobody else on Windows can
    /// open a file that is being written, and everybody can read but nobody can write one that is being read; POSIX
    /// systems have no such request.
    /// \returns true when the file is open; otherwise GetError() says why it is not.
    bool Open(const std::wstring& fileName, unsigned flags);
    [[nodiscard]] bool IsOpen() const noexcept { return m_File != nullptr; }
    /// Why the last Open failed, or why reading or writing failed since; empty while all is well.
    [[nodiscard]] const std::error_code& GetError() const noexcept { return m_Error; }

    /// Reads up to `count` bytes into `data`, fewer only at the end of the file.
    /// \returns the number of bytes read.
    std::size_t Read(void* data, std::size_t count)
    {
        if (count > m_Filled - m_Used)
            return ReadBeyondBuffer(data, count);
        if (count == 0) // a file that was never opened has no buffer
            return 0;
        Copy(data, m_Buffer.get() + m_Used, count);
        m_Used += count;
        return count;
    }

    /// Writes `count` bytes.
    void Write(const void* data, std::size_t count)
    {
        if (count >= s_DirectSize || m_Used + count > m_Room)
            return WriteBeyondBuffer(data, count);
        if (count == 0) // a file that was never opened has no buffer
            return;
        Copy(m_Buffer.get() + m_Used, data, count);
        m_Used += count;
    }

    /// Offset of the next byte to be read or written.
    [[nodiscard]] std::uint64_t GetPosition() const noexcept { return m_BufferStart + m_Used; }
    /// Bytes between the position and the end of a file that is being read, as long as it was when opened or
    /// as it turned out to be; 0 for a file that is being written or not open.
    [[nodiscard]] std::uint64_t GetBytesLeft() const noexcept
    {
        return m_Writing || m_Size < GetPosition() ? 0 : m_Size - GetPosition();
    }

    /// Writes what is still in the buffer and closes the file. The file is closed whether or not this throws;
    /// on a file that is not open it does nothing.
    void Close();

private:
    // The system copies fastest where the buffer and what is written to the file begin at a page.
    static constexpr std::size_t s_PageSize = 4096;
    static constexpr std::size_t s_BufferSize = 16 * s_PageSize;
    static constexpr std::size_t s_DirectSize = s_BufferSize; // blocks from here on go past the buffer
    // A large buffer has more pages for the system to provide, which pays once this much has been written.
    static constexpr std::size_t s_LargeFile = 256 * s_PageSize;
    static constexpr std::size_t s_LargeBufferSize = 64 * s_PageSize;

    struct AlignedDelete
    {
        void operator()(char* memory) const noexcept { ::operator delete (memory, std::align_val_t{s_PageSize}); }
    };

    /// Most transfers are single numbers, which need no call.
    static void Copy(void* to, const void* from, std::size_t count) noexcept
    {
        if (count == 4)
            std::memcpy(to, from, 4);
        else
            std::memcpy(to, from, count);
    }

    std::size_t ReadBeyondBuffer(void* data, std::size_t count);
    void WriteBeyondBuffer(const void* data, std::size_t count);
    /// Replaces the buffer, which is empty, by a large one, unless there is no memory for that.
    void EnlargeBuffer() noexcept;
    std::size_t ReadFromSystem(void* data, std::size_t count);
    bool WriteToSystem(const char* data, std::size_t count) noexcept;
    [[noreturn]] void Fail(const char* action) const;

    std::unique_ptr<char[], AlignedDelete> m_Buffer;
    std::size_t m_Capacity = 0;      // bytes that the buffer has room for
    std::size_t m_Room = 0;          // m_Capacity while writing, 0 once a write has failed
    std::size_t m_NextFill = 0;      // bytes that the buffer takes from the file next
    std::size_t m_Used = 0;          // bytes of the buffer that were read, or that wait to be written
    std::size_t m_Filled = 0;        // bytes of the buffer that came from the file; 0 when writing
    std::uint64_t m_BufferStart = 0; // offset in the file of the buffer's first byte
    std::uint64_t m_Size = 0;
    std::FILE* m_File = nullptr;
    bool m_Writing = false;
    std::wstring m_FileName;
    std::error_code m_Error;
};
} // namespace Kelvra
