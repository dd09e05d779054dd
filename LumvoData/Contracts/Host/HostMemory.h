#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <cstddef>
#include <functional>

namespace Kelvra {

/// Asks the system to provide the pages of a large block of memory, which is about to be filled, all at once: one by
/// one, as each is touched first, they can take as long as filling them. The block's content stays what it is. Where the
/// system has no such request nothing happens.
KELVRAHOST_API void PrefaultMemory(void* block, std::size_t size) noexcept;

/// Asks the system for the pages at the end of the heap whenever a block shows that the heap has grown: all at once, as
/// PrefaultMemory does. Where the end of the heap is not known nothing happens.
class KELVRAHOST_API AHeapPrefault
{
public:
    /// Tells of a block that the heap has just handed out.
    void Follow(const void* block) noexcept
    {
        if (!std::less<const void*>()(block, m_End))
            FollowTo(block);
    }

private:
    void FollowTo(const void* block) noexcept;

    const void* m_End = nullptr; // of the heap, as far as it was met
};

/// Asks the processor to fetch what lies at the address, while the program goes on to what it does before it needs that.
inline void PrefetchMemory(const void* address) noexcept
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#else
    static_cast<void>(address); // everything works without it, only slower
#endif
}
} // namespace Kelvra
