#include <Tests/Faults/Faults.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

struct State
{
    bool on = false;
    Fault::Kind kind = Fault::Memory;
    std::size_t left = 0;        // calls until the one that fails, 0 when it came; bytes that can be read
    std::FILE* failed = nullptr; // whose read failed
};
State s_State;

std::size_t s_InUse = 0; // bytes
std::size_t s_MostInUse = 0;

bool IsOn(Fault::Kind kind) noexcept
{
    return s_State.on && s_State.kind == kind;
}

/// Counts a call of that kind.
/// \returns true when it is to fail.
bool Fails(Fault::Kind kind) noexcept
{
    return IsOn(kind) && s_State.left > 0 && --s_State.left == 0;
}

void* Allocate(std::size_t size, std::size_t alignment)
{
    if (Fails(Fault::Memory) || Fails(Fault::NoMemory) || (IsOn(Fault::NoMemory) && s_State.left == 0))
        throw std::bad_alloc();
    const std::size_t rounded = (size + alignment) / alignment * alignment; // never 0
    void* const memory = std::aligned_alloc(alignment, rounded);
    if (memory == nullptr)
        throw std::bad_alloc();
    s_InUse += malloc_usable_size(memory);
    s_MostInUse = std::max(s_MostInUse, s_InUse);
    return memory;
}

void Free(void* memory) noexcept
{
    s_InUse -= malloc_usable_size(memory);
    std::free(memory);
}

template <class Function> Function* Original(const char* name) noexcept
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// Calls a function that changes a folder, unless it is to fail.
template <class... Arguments> int Change(const char* name, Arguments... arguments)
{
    if (Fails(Fault::ChangeKills))
        std::raise(SIGKILL);
    if (Fails(Fault::ChangeEnds))
        std::raise(SIGTERM);
    if (!Fails(Fault::ChangeFails))
        return Original<int(Arguments...)>(name)(arguments...);
    errno = EIO;
    return -1;
}
} // namespace

Fault::Fault(Kind kind, std::size_t number) noexcept
{
    s_State = State{};
    s_State.kind = kind;
    s_State.left = number;
    s_State.on = true;
}

Fault::~Fault()
{
    s_State.on = false;
}

bool Fault::Stop() noexcept
{
    s_State.on = false;
    return s_State.left == 0;
}

MemoryPeak::MemoryPeak() noexcept : m_Former(s_InUse)
{
    s_MostInUse = s_InUse;
}

std::size_t MemoryPeak::Get() const noexcept
{
    return s_MostInUse - m_Former;
}

// Other forms of new and delete come down to these; sanitizers bring forms of their own.
void* operator new(std::size_t size)
{
    return Allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    return Allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    try {
        return operator new(size, alignment);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* memory) noexcept
{
    Free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    Free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept
{
    Free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept
{
    Free(memory);
}

// The program's own functions stand before those of the C library, for the libraries that it uses as well.
extern "C" std::size_t fread(void* data, std::size_t size, std::size_t count, std::FILE* file)
{
    static const auto s_Original = Original<std::size_t(void*, std::size_t, std::size_t, std::FILE*)>("fread");
    if (IsOn(Fault::ReadEnds)) {
        const std::size_t done = s_Original(data, size, std::min(count, s_State.left / size), file);
        s_State.left -= done * size;
        return done;
    }
    const bool isInterrupted = IsOn(Fault::ReadsShort) && s_State.left++ % 2 == 0;
    const bool fails = Fails(Fault::ReadFails) || isInterrupted;
    const std::size_t done = s_Original(data, size, fails ? count / 2 : count, file);
    if (fails) {
        s_State.failed = file;
        errno = isInterrupted ? EINTR : EIO;
    }
    return done;
}

extern "C" void clearerr(std::FILE* file) noexcept
{
    static const auto s_Original = Original<void(std::FILE*)>("clearerr");
    s_State.failed = nullptr;
    s_Original(file);
}

extern "C" int ferror(std::FILE* file) noexcept
{
    static const auto s_Original = Original<int(std::FILE*)>("ferror");
    return s_State.on && s_State.failed == file ? 1 : s_Original(file);
}

extern "C" ssize_t writev(int file, const iovec* blocks, int count) noexcept
{
    static const auto s_Original = Original<ssize_t(int, const iovec*, int)>("writev");
    if (IsOn(Fault::WritesShort) && count == 2) {
        const std::size_t sizes[] = {1, blocks[0].iov_len + 1, (blocks[0].iov_len + blocks[1].iov_len) / 2, 0};
        const std::size_t size = sizes[s_State.left++ % 4];
        const std::size_t ofFirst = std::min(size, blocks[0].iov_len);
        const iovec some[] = {{blocks[0].iov_base, ofFirst},
                              {blocks[1].iov_base, std::min(size - ofFirst, blocks[1].iov_len)}};
        errno = EINTR;
        return size == 0 ? -1 : s_Original(file, some, 2);
    }
    const bool isFull = IsOn(Fault::WriteFails) && s_State.left == 0;
    if (!isFull && !Fails(Fault::WriteFails))
        return s_Original(file, blocks, count);
    if (!isFull && blocks[0].iov_len > 1)
        return write(file, blocks[0].iov_base, blocks[0].iov_len / 2);
    errno = ENOSPC;
    return -1;
}

extern "C" int fclose(std::FILE* file)
{
    static const auto s_Original = Original<int(std::FILE*)>("fclose");
    const bool fails = Fails(Fault::CloseFails);
    const int answer = s_Original(file);
    if (!fails)
        return answer;
    errno = EIO;
    return EOF;
}

extern "C" int open(const char* file, int flags, ...)
{
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    static const auto s_Original = Original<int(const char*, int, mode_t)>("open");
    return (flags & O_CREAT) != 0 ? Change("open", file, flags, mode) : s_Original(file, flags, mode);
}
extern "C" int link(const char* from, const char* to) noexcept
{
    return Change("link", from, to);
}
extern "C" int rename(const char* from, const char* to) noexcept
{
    return Change("rename", from, to);
}
extern "C" int unlink(const char* file) noexcept
{
    return Change("unlink", file);
}
extern "C" int fchmod(int file, mode_t mode) noexcept
{
    return Change("fchmod", file, mode);
}
extern "C" int fsync(int file)
{
    return Change("fsync", file);
}
extern "C" int syncfs(int file) noexcept
{
    return Change("syncfs", file);
}
