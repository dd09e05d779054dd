#pragma once

#include <LumvoData/Contracts/Host/HostMemory.h>
#include <LumvoData/Serialize/TBlockList.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace Kelvra {

/// What an entry of a TPlaceTable is sought by: the address of an object that it shares, or the number before it.
template <class T> const void* PlaceValue(const std::shared_ptr<T>& entry) noexcept
{
    return entry.get();
}
template <class T> std::uint32_t PlaceValue(const std::pair<std::uint32_t, T>& entry) noexcept
{
    return entry.first;
}

/// The entries that were added to it, each with its place: 1 for the first, 2 for the second.
///
/// A hash table of places, at most half full. A value is sought in a few neighbouring slots; where those are taken it is
/// kept in an ordered map, so that no choice of values, as a hostile file may make it, costs more than the map does.
template <class Entry> class TPlaceTable
{
public:
    using Value = decltype(PlaceValue(std::declval<const Entry&>()));

    /// The entry at a place.
    [[nodiscard]] Entry& operator[](std::uint32_t place) { return m_Entries[place - 1]; }
    [[nodiscard]] const Entry& operator[](std::uint32_t place) const { return m_Entries[place - 1]; }

    /// The place of the entry with a value, 0 where none was added.
    [[nodiscard]] std::uint32_t Find(Value value) const
    {
        if (m_Slots.empty())
            return 0;
        const std::size_t home = Home(value);
        for (std::size_t i = home; i < home + s_Neighbours; ++i) {
            const Slot& slot = m_Slots[i];
            if (slot.place == 0)
                return 0;
            if (slot.tag == Tag(value) && PlaceValue(m_Entries[slot.place - 1]) == value)
                return slot.place;
        }
        const auto found = m_Crowded.find(value);
        return found == m_Crowded.end() ? 0 : found->second;
    }

    /// Adds an entry whose value was not added before.
    /// \returns its place.
    std::uint32_t Add(Entry entry)
    {
        m_Entries.push_back(std::move(entry));
        const auto place = static_cast<std::uint32_t>(m_Entries.size());
        if (2 * m_Entries.size() > m_Slots.size())
            Grow();
        else
            Settle(place);
        return place;
    }

private:
    static constexpr std::size_t s_Neighbours = 16;

    struct Slot
    {
        std::uint32_t place = 0; // 0 where the slot is free
        std::uint32_t tag = 0;   // saves looking at most of the values that are not sought
    };

    static std::uint32_t Tag(const void* address) noexcept
    {
        return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address) / alignof(std::max_align_t));
    }
    static std::uint32_t Tag(std::uint32_t number) noexcept { return number; }

    /// The first slot in which the value may stand.
    [[nodiscard]] std::size_t Home(std::uint32_t number) const noexcept { return Scatter(number); }
    /// Objects that were made one after the other lie, and are met, one after the other: what lies together keeps
    /// its order in the table, for the sake of the processor's caches.
    [[nodiscard]] std::size_t Home(const void* address) const noexcept
    {
        constexpr std::size_t region = 65536, smallest = 32;
        const auto bits = reinterpret_cast<std::uintptr_t>(address);
        return (Scatter(bits / region) + bits % region / smallest) & ((std::size_t{1} << m_Bits) - 1);
    }
    [[nodiscard]] std::size_t Scatter(std::uint64_t bits) const noexcept
    {
        // The upper bits of each product depend on all bits below them.
        bits *= 0x9E3779B97F4A7C15;
        return static_cast<std::size_t>((bits ^ (bits >> 32)) * 0xD6E8FEB86659FD93 >> (64 - m_Bits));
    }

    void Settle(std::uint32_t place)
    {
        const Value value = PlaceValue(m_Entries[place - 1]);
        const std::size_t home = Home(value);
        for (std::size_t i = home; i < home + s_Neighbours; ++i)
            if (m_Slots[i].place == 0) {
                m_Slots[i] = {place, Tag(value)};
                return;
            }
        m_Crowded.emplace(value, place);
    }

    void Grow()
    {
        // Where there is no memory for more slots, those that are there stay in use.
        const std::size_t size = (std::size_t{2} << m_Bits) + s_Neighbours;
        std::vector<Slot> slots;
        slots.reserve(size);
        PrefaultMemory(slots.data(), size * sizeof(Slot));
        slots.resize(size);
        m_Slots = std::move(slots);
        ++m_Bits;
        m_Crowded.clear();
        for (std::uint32_t place = 1; place <= m_Entries.size(); ++place)
            Settle(place);
    }

    TBlockList<Entry> m_Entries; // by place - 1
    std::vector<Slot> m_Slots;   // 2 to the power of m_Bits are homes
    std::map<Value, std::uint32_t, std::less<Value>> m_Crowded;
    unsigned m_Bits = 5;
};
} // namespace Kelvra
