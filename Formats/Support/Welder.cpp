#include <Formats/Support/Geometry.h>
#include <LumvoData/Contracts/Host/HostMemory.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>

namespace Formats {

namespace {

constexpr std::size_t s_MostFloats = 8;
constexpr std::size_t s_FewestSlots = 16;
constexpr std::size_t s_Batch = 64;
constexpr std::size_t s_MostVertices = std::numeric_limits<std::uint32_t>::max() - 1; // a slot holds index + 1

using Keys = std::array<std::uint64_t, s_MostFloats>;

/// Drawn anew in every process, so that no file can be made whose vertices all meet in one slot.
const Keys& RandomKeys()
{
    static const Keys s_Keys = [] {
        std::random_device random;
        Keys keys;
        for (std::uint64_t& key : keys)
            key = (std::uint64_t{random()} << 32) | random();
        return keys;
    }();
    return s_Keys;
}

/// Calls `work` with the number of floats, as a constant where they are three, which are the most frequent.
template <class Work> auto WithWidth(std::size_t width, Work work) noexcept
{
    return width == 3 ? work(std::integral_constant<std::size_t, 3>()) : work(width);
}

/// A sum of products with random keys, in which any two vertices are as likely to meet as any other two, mixed once
/// more, since the sums of a regular grid stand in regular rows too.
std::size_t HashOf(const float* vertex, std::size_t width) noexcept
{
    return WithWidth(width, [vertex, &keys = RandomKeys()](auto count) {
        std::uint64_t sum = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const float value = vertex[i] + 0.0F; // makes 0 of -0
            std::uint32_t bits;
            std::memcpy(&bits, &value, sizeof(bits));
            sum += keys[i] * bits;
        }
        sum = (sum ^ (sum >> 32)) * 0x9E3779B97F4A7C15U;
        return static_cast<std::size_t>(sum >> 32);
    });
}

bool IsEqual(const float* a, const float* b, std::size_t width) noexcept
{
    return WithWidth(width, [a, b](auto count) { return std::equal(a, a + count, b); });
}

/// At most every second slot is taken: a probe that meets another vertex costs a jump into the vertices.
std::size_t SlotsFor(std::size_t vertices) noexcept
{
    std::size_t slots = s_FewestSlots;
    while (slots / 2 < vertices)
        slots *= 2;
    return slots;
}
} // namespace

Welder::Welder(std::size_t width, std::size_t expected)
    : m_Width(width), m_Slots(SlotsFor(std::min(expected, s_MostVertices)))
{
    m_Vertices.reserve(std::min(expected, s_MostVertices) * width);
}

std::uint32_t Welder::Add(const float* vertex)
{
    return Add(vertex, HashOf(vertex, m_Width));
}

// Most of the time goes into waiting for slots and vertices in far-off memory: a batch waits for all of them at once.
void Welder::Add(const float* vertices, std::size_t count, std::uint32_t* indices)
{
    const auto at = [&](std::size_t i) { return &vertices[i * m_Width]; };
    std::array<std::size_t, s_Batch> hashes;
    for (std::size_t begin = 0; begin < count; begin += s_Batch) {
        const std::size_t end = std::min(count, begin + s_Batch);
        for (std::size_t i = begin; i < end; ++i) {
            hashes[i - begin] = HashOf(at(i), m_Width);
            Kelvra::PrefetchMemory(&m_Slots[hashes[i - begin] & (m_Slots.size() - 1)]);
        }
        for (std::size_t i = begin; i < end; ++i) {
            indices[i] = m_Slots[hashes[i - begin] & (m_Slots.size() - 1)];
            Kelvra::PrefetchMemory(m_Vertices.data() + (indices[i] == 0 ? 0 : indices[i] - 1) * m_Width);
        }
        for (std::size_t i = begin; i < end; ++i) {
            const std::uint32_t taken = indices[i];
            const bool known = taken != 0 && IsEqual(at(i), &m_Vertices[(taken - 1) * m_Width], m_Width);
            indices[i] = known ? taken - 1 : Add(at(i), hashes[i - begin]);
        }
    }
}

std::uint32_t Welder::Add(const float* vertex, std::size_t hash)
{
    std::size_t slot = SlotOf(vertex, hash);
    if (m_Slots[slot] != 0)
        return m_Slots[slot] - 1;
    const std::size_t index = GetCount();
    if (index == s_MostVertices)
        throw FormatError({}, "a mesh cannot have more than " + std::to_string(s_MostVertices) + " different vertices");
    if (index == m_Slots.size() / 2) {
        Grow();
        slot = SlotOf(vertex, hash);
    }
    m_Vertices.insert(m_Vertices.end(), vertex, vertex + m_Width);
    m_Slots[slot] = static_cast<std::uint32_t>(index + 1);
    return static_cast<std::uint32_t>(index);
}

void Welder::Grow()
{
    const std::size_t slots = SlotsFor(GetCount() + 1);
    m_Slots = {}; // before the new ones are there: the vertices alone tell where each belongs
    m_Slots.resize(slots);
    for (std::size_t i = 0; i < GetCount(); ++i) {
        const float* const vertex = &m_Vertices[i * m_Width];
        m_Slots[SlotOf(vertex, HashOf(vertex, m_Width))] = static_cast<std::uint32_t>(i + 1);
    }
}

/// The slot of an equal vertex, or else the empty one where this is to go.
std::size_t Welder::SlotOf(const float* vertex, std::size_t hash) const noexcept
{
    const std::size_t mask = m_Slots.size() - 1;
    std::size_t slot = hash & mask;
    while (m_Slots[slot] != 0 && !IsEqual(vertex, &m_Vertices[(m_Slots[slot] - 1) * m_Width], m_Width))
        slot = (slot + 1) & mask;
    return slot;
}
} // namespace Formats
