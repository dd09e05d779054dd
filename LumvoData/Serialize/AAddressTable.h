#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Kelvra {

/// A hash table from the address of an object to its reference key; open addressing, at most half full.
class AAddressTable
{
public:
    /// The key of the object at `address`, 0 where it has none yet; valid until the next call.
    std::uint32_t& KeyOf(const void* address)
    {
        if (2 * m_Count >= m_Slots.size())
            Grow();
        Slot& slot = SlotOf(address);
        if (slot.address == nullptr) {
            slot.address = address;
            ++m_Count;
        }
        return slot.key;
    }

private:
    struct Slot
    {
        const void* address = nullptr;
        std::uint32_t key = 0;
    };

    /// The slot that holds the address, or the free one where it belongs.
    Slot& SlotOf(const void* address)
    {
        // Fibonacci hashing: the highest bits of the product depend on all bits of the address.
        const std::uint64_t hash = reinterpret_cast<std::uintptr_t>(address) * std::uint64_t{0x9E3779B97F4A7C15};
        const std::size_t mask = m_Slots.size() - 1;
        std::size_t i = static_cast<std::size_t>(hash >> (64 - m_Bits));
        while (m_Slots[i].address != nullptr && m_Slots[i].address != address)
            i = (i + 1) & mask;
        return m_Slots[i];
    }

    void Grow()
    {
        std::vector<Slot> former(std::size_t{1} << ++m_Bits);
        former.swap(m_Slots);
        for (const Slot& slot : former)
            if (slot.address != nullptr)
                SlotOf(slot.address) = slot;
    }

    std::vector<Slot> m_Slots; // 2 to the power of m_Bits of them, none at first
    unsigned m_Bits = 5;
    std::size_t m_Count = 0;
};
} // namespace Kelvra
