#include <LumvoData/Serialize/TPlaceTable.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <utility>

using namespace Kelvra;

namespace {

constexpr std::uint32_t s_Count = 20'000;

/// An address that is never looked behind.
const void* Address(std::uintptr_t number)
{
    return reinterpret_cast<const void*>(number);
}

std::shared_ptr<const void> PointerTo(const void* address)
{
    return {std::shared_ptr<const void>(), address};
}

using AddressTable = TPlaceTable<std::shared_ptr<const void>>;
using KeyTable = TPlaceTable<std::pair<std::uint32_t, std::uint32_t>>;

// However values are spread, each keeps its place, also where many of them want the same slots, as addresses one byte
// apart and keys that a file chooses can.
TEST(PlaceTableTest, EveryValueKeepsItsPlace)
{
    for (const std::uint32_t stride : {1U, 24U, 48U, 4096U, 65536U, 0x9E3779B1U}) {
        AddressTable addresses;
        KeyTable keys;
        for (std::uint32_t i = 1; i <= s_Count; ++i) {
            ASSERT_EQ(addresses.Find(Address(std::uintptr_t{i} * stride)), 0U) << stride;
            ASSERT_EQ(addresses.Add(PointerTo(Address(std::uintptr_t{i} * stride))), i);
            ASSERT_EQ(addresses.Find(Address(std::uintptr_t{i} * stride)), i) << stride;
            ASSERT_EQ(keys.Find(i * stride), 0U) << stride;
            ASSERT_EQ(keys.Add({i * stride, i}), i);
            ASSERT_EQ(keys.Find(i * stride), i) << stride;
        }
        for (std::uint32_t i = 1; i <= s_Count; ++i) {
            ASSERT_EQ(addresses.Find(Address(std::uintptr_t{i} * stride)), i) << stride;
            ASSERT_EQ(keys.Find(i * stride), i) << stride;
            ASSERT_EQ(keys[i].second, i) << stride;
        }
    }
}

// Addresses whose lower halves are equal are not taken for each other.
TEST(PlaceTableTest, AddressesThatDifferInTheirUpperHalfOnlyAreTwo)
{
    if constexpr (sizeof(void*) == 8) {
        AddressTable addresses;
        for (std::uint32_t i = 0; i < 64; ++i)
            ASSERT_EQ(addresses.Add(PointerTo(Address(64 + static_cast<std::uintptr_t>(std::uint64_t{i} << 40)))),
                      i + 1);
        for (std::uint32_t i = 0; i < 64; ++i)
            ASSERT_EQ(addresses.Find(Address(64 + static_cast<std::uintptr_t>(std::uint64_t{i} << 40))), i + 1);
    }
}
} // namespace
