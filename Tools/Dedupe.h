#pragma once

#include <Tools/Json.h>
#include <Tools/SceneGraph.h>

#include <cstdint>
#include <string>

namespace Lumvo {

/// How many objects of each kind were replaced by an equal one that stays.
struct Duplicates
{
    std::uint64_t textures = 0;
    std::uint64_t materials = 0;
    std::uint64_t styles = 0;
    std::uint64_t pieces = 0; ///< Meshes, edges, polygons and texts.
    std::uint64_t entities = 0;

    [[nodiscard]] std::uint64_t Together() const noexcept { return textures + materials + styles + pieces + entities; }
};

/// "12 replaced by equal ones: 4 meshes and other pieces, ...".
[[nodiscard]] std::string Show(const Duplicates& duplicates);
/// {textures, materials, styles, pieces, entities}.
[[nodiscard]] Json ToJson(const Duplicates& duplicates);

/// Makes equal textures, materials, styles, pieces of geometry and entities one shared object each: equal in class,
/// in every value that a scene file keeps, and in what they hold. Groups of entities and nodes stay as they are,
/// but hold what stays. Of equal objects the one that comes first in the scene stays.
Duplicates ShareEqualObjects(const Roots& roots);
} // namespace Lumvo
