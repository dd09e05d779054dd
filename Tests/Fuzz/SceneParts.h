#pragma once

#include <Tests/Support/Bytes.h>
#include <Tools/RecordTable.h>

#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <vector>

/// \file
/// Scene files as byte strings whose framing is known: where their keys, class names, counts and numbers are.
namespace Fuzz {

using Random = std::minstd_rand;

enum class PartKind
{
    Header, ///< Identifier or version.
    Key,
    ClassName, ///< With the count before it.
    Count,     ///< Of a list, a vector, a text or a buffer.
    Elements,  ///< Of a text or a buffer.
    Number,    ///< Any other field.
};

struct Part
{
    PartKind kind;
    std::size_t offset;
    std::size_t size;
};

/// One reference: its key and, where the object follows, that.
struct Reference
{
    Lumvo::Family family;
    std::size_t begin;
    std::size_t end;
    std::size_t count; ///< Where the count of the list is that it stands in; 0 where it stands in none.
};

/// What a loader takes to stand where in a scene file: it goes on behind the name of an object that it cannot make.
/// Where the file ends inside a text or a buffer, the count of that is the last part.
struct SceneParts
{
    explicit SceneParts(std::string_view file);

    std::vector<Part> parts;
    std::vector<Reference> references;
};

/// A reference to a new object of a class, which holds others at random, none deeper than `depth`.
[[nodiscard]] Bytes MakeReference(const Lumvo::RecordDescription& record, int depth, Random& random);
/// The same for any class of a family.
[[nodiscard]] Bytes MakeReference(Lumvo::Family family, int depth, Random& random);
/// `inner`, a reference to an entity, in so many groups.
[[nodiscard]] Bytes WrapInGroups(const Bytes& inner, int levels, Random& random);
} // namespace Fuzz
