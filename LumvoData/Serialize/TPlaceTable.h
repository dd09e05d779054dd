#pragma once

#include <LumvoData/Contracts/Host/HostMemory.h>
#include <LumvoData/Serialize/TBlockList.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <type_traits>
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
///
/// Beside a large table stands a filter of a few bits for each slot, which answers for most values that were not added.
/// It fits into caches that the table does not fit into; the slot of a new entry is fetched meanwhile, and taken some
/// entries later.
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
        const std::uint32_t tag = Tag(value);
        if (m_Slots.empty() || IsNew(tag))
            return 0;
        const std::size_t home = Home(tag);
        for (std::size_t i = home; i < home + s_Neighbours; ++i) {
            const Slot& slot = m_Slots[i];
            if (slot.place == 0)
                return FindUnsettled(value);
            if (slot.tag == tag && ValueAt(slot.place) == value)
                return slot.place;
        }
        const auto found = m_Crowded.find(value);
        return found == m_Crowded.end() ? FindUnsettled(value) : found->second;
    }

    /// Adds an entry whose value was not added before.
    /// \returns its place.
    std::uint32_t Add(Entry entry)
    {
        if (2 * m_Entries.size() >= m_Slots.size())
            Grow();
        m_Entries.push_back(std::move(entry));
        const auto place = static_cast<std::uint32_t>(m_Entries.size());
        if (m_Filter.empty()) {
            SettleNext();
        } else {
            const std::uint32_t tag = Tag(ValueAt(place));
            Mark(tag);
            PrefetchMemory(&m_Slots[Home(tag)]);
            if (place - m_Settled > s_Unsettled)
                SettleNext();
        }
        return place;
    }

private:
    static constexpr std::size_t s_Neighbours = 16;
    static constexpr std::uint32_t s_Unsettled = 16;
    static constexpr bool s_Filters = std::is_same_v<Value, std::uint32_t>;
    static constexpr unsigned s_FewestBitsWithFilter = 14;
    static constexpr std::uint32_t s_BitsOfWord = 64, s_BitsOfSlot = 4;

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

    [[nodiscard]] Value ValueAt(std::uint32_t place) const { return PlaceValue(m_Entries[place - 1]); }

    /// The first slot in which a value may stand.
    [[nodiscard]] std::size_t Home(std::uint32_t tag) const noexcept
    {
        if constexpr (std::is_pointer_v<Value>) {
            // Objects that were made one after the other lie, and are met, one after the other: what lies together keeps
            // its order in the table, for the sake of the processor's caches.
            constexpr std::uint32_t region = 65536 / alignof(std::max_align_t),
                                    smallest = 32 / alignof(std::max_align_t);
            return (Scatter(tag / region) + tag % region / smallest) & ((std::size_t{1} << m_Bits) - 1);
        } else {
            return Scatter(tag);
        }
    }
    [[nodiscard]] std::size_t Scatter(std::uint64_t bits) const noexcept
    {
        // The upper bits of each product depend on all bits below them.
        bits *= 0x9E3779B97F4A7C15;
        return static_cast<std::size_t>((bits ^ (bits >> 32)) * 0xD6E8FEB86659FD93 >> (64 - m_Bits));
    }

    /// The word of the filter that a value has a bit in. Numbers that count, in whatever order, share few words.
    [[nodiscard]] std::size_t WordOf(std::uint32_t tag) const noexcept
    {
        return tag / s_BitsOfWord & (m_Filter.size() - 1);
    }
    static std::uint64_t BitOf(std::uint32_t tag) noexcept { return std::uint64_t{1} << tag % s_BitsOfWord; }
    void Mark(std::uint32_t tag) { m_Filter[WordOf(tag)] |= BitOf(tag); }
    /// True where the filter knows that no value with the tag was added.
    [[nodiscard]] bool IsNew(std::uint32_t tag) const
    {
        return !m_Filter.empty() && (m_Filter[WordOf(tag)] & BitOf(tag)) == 0;
    }

    /// Find among those that have no slot yet.
    [[nodiscard]] std::uint32_t FindUnsettled(Value value) const
    {
        for (auto place = static_cast<std::uint32_t>(m_Entries.size()); place > m_Settled; --place)
            if (ValueAt(place) == value)
                return place;
        return 0;
    }

    /// Gives an entry its slot.
    void Settle(Slot entry)
    {
        const std::size_t home = Home(entry.tag);
        for (std::size_t i = home; i < home + s_Neighbours; ++i)
            if (m_Slots[i].place == 0) {
                m_Slots[i] = entry;
                return;
            }
        m_Crowded.emplace(ValueAt(entry.place), entry.place);
    }
    void SettleNext()
    {
        Settle({m_Settled + 1, Tag(ValueAt(m_Settled + 1))});
        ++m_Settled;
    }

    void Grow()
    {
        // Where there is no memory for more slots, those that are there stay in use.
        const std::size_t size = (std::size_t{2} << m_Bits) + s_Neighbours;
        std::vector<Slot> slots;
        slots.reserve(size);
        PrefaultMemory(slots.data(), size * sizeof(Slot));
        slots.resize(size);
        std::vector<std::uint64_t> filter(s_Filters && m_Bits + 1 >= s_FewestBitsWithFilter
                                              ? (std::size_t{2} << m_Bits) * s_BitsOfSlot / s_BitsOfWord
                                              : 0);
        m_Slots.swap(slots);
        m_Filter.swap(filter);
        ++m_Bits;
        const auto crowded = std::exchange(m_Crowded, {});
        const auto add = [this](Slot entry) {
            Settle(entry);
            if (!m_Filter.empty())
                Mark(entry.tag);
        };
        // The homes of more bits follow each other as those of fewer did: this walks through the memory of both.
        for (const Slot& entry : slots)
            if (entry.place != 0)
                add(entry);
        for (const auto& [value, place] : crowded)
            add({place, Tag(value)});
        for (; m_Settled < m_Entries.size(); ++m_Settled)
            add({m_Settled + 1, Tag(ValueAt(m_Settled + 1))});
    }

    TBlockList<Entry> m_Entries;         // by place - 1
    std::vector<Slot> m_Slots;           // 2 to the power of m_Bits are homes
    std::vector<std::uint64_t> m_Filter; // s_BitsOfSlot for each home; empty beside a small table
    std::map<Value, std::uint32_t, std::less<Value>> m_Crowded;
    std::uint32_t m_Settled = 0; // entries that have a slot or are in the map
    unsigned m_Bits = 5;
};
} // namespace Kelvra
