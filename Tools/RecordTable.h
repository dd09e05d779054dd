#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

/// \file
/// The records of a scene file as data: what Serialize of each class writes, field by field, for those who read a
/// file without making its objects.
namespace Lumvo {

/// The collectors, each with keys of its own.
enum class Family
{
    Node,
    Entity,
    Piece,
    Style,
    Material,
    Texture,
};
inline constexpr int FamilyCount = 6;
/// The class whose pointers the collector keeps, such as "ASceneNode".
[[nodiscard]] std::string_view BaseOf(Family family) noexcept;

enum class FieldKind
{
    Integer, ///< 4 bytes.
    Float,   ///< 4 bytes.
    Flag,    ///< 1 byte.
    Point,   ///< Three doubles.
    Matrix,  ///< Sixteen doubles.
    Box,     ///< Six doubles.
    Colour,  ///< Four floats, then 16 bytes without meaning.
    Text,    ///< A count of UTF-16 code units, then those.
    Floats,  ///< A count of floats, then those.
    Indices, ///< A count of 32-bit integers, then those.
    Pointer, ///< A reference.
    List,    ///< A count of references, then those; none may be empty.
    Vector,  ///< A count of references, the text "vector", then the references; of four any may be empty.
};

struct Field
{
    FieldKind kind;
    std::string_view name;
    Family family = Family::Node; ///< Of references.
    std::string_view item = {};   ///< Of references: the only class that is kept; empty for the whole family.
};

struct RecordDescription
{
    std::string_view className;
    Family family;
    std::vector<Field> fields;
};

/// The record of a class; null for a class that no scene file can hold.
[[nodiscard]] const RecordDescription* FindRecord(std::wstring_view className);
[[nodiscard]] const RecordDescription* FindRecord(std::u16string_view className);
/// All of them.
[[nodiscard]] const std::vector<RecordDescription>& AllRecords();

/// How many bytes a field of fixed size takes; 0 for the others.
[[nodiscard]] std::size_t FixedSizeOf(FieldKind kind) noexcept;
} // namespace Lumvo
