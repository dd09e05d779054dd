#pragma once

#include <LumvoData/Serialize/ASceneFieldVisitor.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// \file
/// The records of a scene file as data, for those who read a file without making its objects. Derived from the class
/// factory: each class lists its own fields.
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

using FieldKind = Kelvra::ASceneFieldKind;

struct Field
{
    FieldKind kind;
    std::string_view name;
    Family family = Family::Node; ///< Of references.
    std::string item = {};        ///< Of references: the only class that is kept; empty for the whole family.
};

struct RecordDescription
{
    std::string className;
    Family family;
    std::vector<Field> fields;
};

/// The record of a class; null for a class that the class factory cannot make, or whose fields have no names.
[[nodiscard]] const RecordDescription* FindRecord(std::u16string_view className);
/// The records of all classes in the class factory, those of modules included, in the order of their names.
[[nodiscard]] const std::vector<RecordDescription>& AllRecords();

/// How many bytes a field of fixed size takes; 0 for the others.
[[nodiscard]] std::size_t FixedSizeOf(FieldKind kind) noexcept;
} // namespace Lumvo
