#include <LumvoData/Contracts/Host/HostMemory.h>

#include <cerrno>
#include <cstdint>
#include <functional>

#if defined(__linux__)
#    include <sys/mman.h>
#    include <unistd.h>
#endif

namespace Kelvra {
namespace {

constexpr std::size_t s_PageSize = 4096; // a system whose pages are larger refuses, which does no harm

#if defined(__linux__)
void Advise(const void* block, std::size_t size, int advice) noexcept
{
    const std::size_t inPage = reinterpret_cast<std::uintptr_t>(block) % s_PageSize;
    const int kept = errno;
    madvise(const_cast<char*>(static_cast<const char*>(block)) - inPage, size + inPage, advice);
    errno = kept;
}
#endif

void Populate([[maybe_unused]] const void* block, [[maybe_unused]] std::size_t size) noexcept
{
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
    Advise(block, size, MADV_POPULATE_WRITE);
#endif
}
} // namespace

void PrefaultMemory(void* block, std::size_t size) noexcept
{
    constexpr std::size_t smallest = 32 * s_PageSize;
    if (size < smallest)
        return;
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    constexpr std::size_t worthLargePages = 1024 * s_PageSize; // of 2 MiB each on most systems
    if (size >= worthLargePages)
        Advise(block, size, MADV_HUGEPAGE);
#endif
    Populate(block, size);
}

void AHeapPrefault::FollowTo([[maybe_unused]] const void* block) noexcept
{
#if defined(__GLIBC__)
    // The heap of the main thread ends where the program's data does, and grows by a few dozen pages at a time. That of
    // another thread lies beyond, and so do large blocks.
    constexpr std::ptrdiff_t fewest = 4 * s_PageSize, most = 128 * s_PageSize;
    const char* const end = static_cast<const char*>(sbrk(0));
    if (std::less<const void*>()(block, end)) {
        const std::ptrdiff_t size = end - static_cast<const char*>(block);
        if (m_End != nullptr && size >= fewest && size <= most) // the first block shows no growth
            Populate(block, static_cast<std::size_t>(size));
        m_End = end;
    }
#endif
}
} // namespace Kelvra
