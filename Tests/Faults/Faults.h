#pragma once

#include <cstddef>

/// Something that goes wrong once, or from some moment on, while this lives. There is one at a time.
///
/// Memory fails wherever this process takes it with new; the rest fails below the file layer, in the C library's
/// functions.
class Fault
{
public:
    enum Kind
    {
        Memory,      ///< One allocation fails.
        NoMemory,    ///< So does every later one.
        ReadEnds,    ///< Files end after so many bytes have been read, whatever their size was when they were opened.
        ReadFails,   ///< A read gives half of what it is asked for, for EIO.
        WriteFails,  ///< A write takes some of what it is given, and later ones nothing, for ENOSPC.
        CloseFails,  ///< Closing a file fails, for EIO.
        WritesShort, ///< Writes take some of what they are given, and every fourth is interrupted.
        ReadsShort,  ///< Every second read gives half of what it is asked for, and is interrupted.
        ChangeFails, ///< A call that creates, names, removes or flushes a file, or sets its permissions, fails for EIO.
        ChangeKills, ///< The process is killed before such a call.
        ChangeEnds,  ///< The process gets SIGTERM before such a call.
    };

    /// Lets the call of that kind with this number fail, the first call being number 1; with ReadEnds it is the number
    /// of bytes.
    Fault(Kind kind, std::size_t number) noexcept;
    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    /// True when the call came and failed, or when so many bytes were read. Nothing fails any more.
    [[nodiscard]] bool Stop() noexcept;
};

/// The memory that this process takes with new while this lives.
class MemoryPeak
{
public:
    MemoryPeak() noexcept;
    /// The most bytes that were in use at once, beyond those that were in use before.
    [[nodiscard]] std::size_t Get() const noexcept;

private:
    std::size_t m_Former;
};
