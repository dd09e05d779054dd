#include <LumvoData/Contracts/Host/HostMemory.h>

#if defined(__linux__)
#    include <sys/mman.h>

#    include <cerrno>
#    include <cstdint>
#endif

namespace Kelvra {

void PrefaultMemory([[maybe_unused]] void* block, [[maybe_unused]] std::size_t size) noexcept
{
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
    constexpr std::size_t pageSize = 4096; // a system whose pages are larger refuses, which does no harm
    constexpr std::size_t smallest = 32 * pageSize;
    if (size < smallest)
        return;
    const std::size_t inPage = reinterpret_cast<std::uintptr_t>(block) % pageSize;
    const int kept = errno;
    madvise(static_cast<char*>(block) - inPage, size + inPage, MADV_POPULATE_WRITE);
    errno = kept;
#endif
}
} // namespace Kelvra
