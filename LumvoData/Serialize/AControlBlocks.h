#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>

namespace Kelvra {

/// Makes shared pointers one after the other, whose control blocks lie side by side in slabs: that costs less than a
/// block of the heap for each, and counting what many of them share walks through memory.
///
/// - Ownership: of the objects as usual. A slab is freed with the last control block in it, on whichever thread, and
///   may outlive its maker.
class AControlBlocks
{
public:
    AControlBlocks() = default;
    ~AControlBlocks() { Close(); }
    /// A copy makes its own slabs.
    AControlBlocks(const AControlBlocks&) noexcept {}
    AControlBlocks& operator=(const AControlBlocks&) noexcept { return *this; }

    /// A shared pointer that takes the object over.
    template <class T> [[nodiscard]] std::shared_ptr<T> Share(std::unique_ptr<T> object)
    {
        const Allocator<T> allocator(*this);
        return std::shared_ptr<T>(object.release(), std::default_delete<T>(), allocator);
    }

private:
    static constexpr std::size_t s_LargestControlBlock = 64;
    static constexpr std::size_t s_SmallestSlab = 1024;
    static constexpr std::size_t s_LargestSlab = 64 * s_SmallestSlab;
    static constexpr std::size_t s_Open = ~std::size_t{0} / 2;

    struct Slab
    {
        explicit Slab(std::size_t bytes) : memory(new std::byte[bytes]), size(bytes) {}

        std::unique_ptr<std::byte[]> memory;
        std::size_t size;
        std::size_t used = 0;
        std::size_t made = 0;                   // control blocks that were taken from it
        std::atomic<std::size_t> users{s_Open}; // those of them that are left; while it is filled, s_Open less the gone
    };

    /// What shared pointers keep of a slab.
    template <class T> class Allocator
    {
    public:
        using value_type = T;

        explicit Allocator(AControlBlocks& blocks) : m_Slab(blocks.SlabWithRoom()) {}
        template <class U> Allocator(const Allocator<U>& other) noexcept : m_Slab(other.m_Slab) {}

        [[nodiscard]] T* allocate(std::size_t) noexcept
        {
            static_assert(sizeof(T) <= s_LargestControlBlock && alignof(T) <= alignof(std::max_align_t));
            void* const place = m_Slab->memory.get() + m_Slab->used;
            m_Slab->used += Padded(sizeof(T));
            ++m_Slab->made;
            return static_cast<T*>(place);
        }
        void deallocate(T*, std::size_t) noexcept { Release(m_Slab, 1); }

        template <class U> bool operator==(const Allocator<U>& other) const noexcept { return m_Slab == other.m_Slab; }
        template <class U> bool operator!=(const Allocator<U>& other) const noexcept { return m_Slab != other.m_Slab; }

    private:
        template <class U> friend class Allocator;

        Slab* m_Slab;
    };

    static constexpr std::size_t Padded(std::size_t size) noexcept
    {
        constexpr std::size_t alignment = alignof(std::max_align_t);
        return (size + alignment - 1) / alignment * alignment;
    }

    static void Release(Slab* slab, std::size_t users) noexcept
    {
        if (slab->users.fetch_sub(users, std::memory_order_acq_rel) == users)
            delete slab;
    }

    Slab* SlabWithRoom()
    {
        if (m_Slab == nullptr || m_Slab->size - m_Slab->used < s_LargestControlBlock) {
            const std::size_t size = m_Slab == nullptr ? s_SmallestSlab : std::min(2 * m_Slab->size, s_LargestSlab);
            auto next = std::make_unique<Slab>(size);
            Close();
            m_Slab = next.release();
        }
        return m_Slab;
    }

    void Close() noexcept
    {
        if (m_Slab != nullptr)
            Release(m_Slab, s_Open - m_Slab->made);
    }

    Slab* m_Slab = nullptr;
};
} // namespace Kelvra
