#include <LumvoData/Serialize/AAddressTable.h>

#include <gtest/gtest.h>

#include <cstdint>

using namespace Kelvra;

namespace {

constexpr std::uint32_t s_Count = 5000;

const void* Address(std::uintptr_t number)
{
    return reinterpret_cast<const void*>(number); // never looked behind
}

// However values are spread, each keeps its place, also where many of them want the same slots, as addresses one byte
// apart and keys that a file chooses can.
TEST(PlaceTableTest, EveryValueKeepsItsPlace)
{
    for (const std::uint32_t stride : {1U, 24U, 48U, 4096U, 65536U, 0x9E3779B1U}) {
        AAddressTable addresses;
        AKeyTable keys;
        for (std::uint32_t i = 1; i <= s_Count; ++i) {
            ASSERT_EQ(addresses.Find(Address(std::uintptr_t{i} * stride)), 0U) << stride;
            ASSERT_EQ(addresses.Add(Address(std::uintptr_t{i} * stride)), i);
            ASSERT_EQ(keys.Find(i * stride), 0U) << stride;
            ASSERT_EQ(keys.Add(i * stride), i);
        }
        for (std::uint32_t i = 1; i <= s_Count; ++i) {
            ASSERT_EQ(addresses.Find(Address(std::uintptr_t{i} * stride)), i) << stride;
            ASSERT_EQ(keys.Find(i * stride), i) << stride;
        }
    }
}

// Addresses whose lower halves are equal are not taken for each other.
TEST(PlaceTableTest, AddressesThatDifferInTheirUpperHalfOnlyAreTwo)
{
    if constexpr (sizeof(void*) == 8) {
        AAddressTable addresses;
        for (std::uint32_t i = 0; i < 64; ++i)
            ASSERT_EQ(addresses.Add(Address(64 + static_cast<std::uintptr_t>(std::uint64_t{i} << 40))), i + 1);
        for (std::uint32_t i = 0; i < 64; ++i)
            ASSERT_EQ(addresses.Find(Address(64 + static_cast<std::uintptr_t>(std::uint64_t{i} << 40))), i + 1);
    }
}
} // namespace
