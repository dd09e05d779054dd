#pragma once

#include <Formats/Support/Import.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Formats {

/// How a file stores a value.
enum class PlyType
{
    Int8,
    UInt8,
    Int16,
    UInt16,
    Int32,
    UInt32,
    Float32,
    Float64
};
[[nodiscard]] std::size_t SizeOf(PlyType type) noexcept;
[[nodiscard]] inline bool IsInteger(PlyType type) noexcept
{
    return type < PlyType::Float32;
}

/// A value that every row of an element has, or a list of them.
struct PlyProperty
{
    std::string name;
    PlyType type;
    bool isList = false;
    PlyType countType = PlyType::UInt8; ///< Of the number of values in front of a list.
    std::uint64_t line = 0;
    bool isWanted = false; ///< Set by who reads the rows; the values of others are passed over.
};

/// A table of the file.
struct PlyElement
{
    std::string name;
    std::uint64_t count = 0; ///< Of rows.
    std::vector<PlyProperty> properties;
    std::uint64_t line = 0;

    /// The bytes of a row whose lists are empty.
    [[nodiscard]] std::uint64_t GetRowSize() const noexcept;
    [[nodiscard]] bool HasLists() const noexcept;
    /// The position of a property; that of none where there is no such.
    [[nodiscard]] std::size_t Find(std::string_view property) const noexcept;
    static constexpr std::size_t None = static_cast<std::size_t>(-1);
};

enum class PlyEncoding
{
    Ascii,
    LittleEndian,
    BigEndian
};

/// What a file says about its tables, which follow it in the same order.
struct PlyHeader
{
    PlyEncoding encoding = PlyEncoding::Ascii;
    std::vector<PlyElement> elements;
    std::uint64_t size = 0;  ///< The place of the first row.
    std::uint64_t lines = 0; ///< In front of the first row.

    [[nodiscard]] PlyElement* Find(std::string_view element) noexcept;
};

/// Reads the header; what it promises can be in the rest of the file.
[[nodiscard]] PlyHeader ReadPlyHeader(Import& import);
} // namespace Formats
