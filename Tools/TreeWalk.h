#pragma once

#include <Tools/SceneGraph.h>

#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Lumvo {

/// True for the nodes and entities that form the tree. Styles, materials, textures and the two lists of a body are
/// named by their roles.
[[nodiscard]] bool IsPartOfTree(const Reference& reference) noexcept;

/// An object at its place in the tree.
struct TreeRow
{
    Reference reference; ///< To the object, which is never null.
    std::uint64_t depth = 0;
    bool last = false;                  ///< Of all rows that its holder gives.
    bool repeated = false;              ///< It had a row before, and what it holds has its rows there.
    std::vector<Reference> shownBefore; ///< Styles, materials and textures that it holds and that had their rows.
    std::uint64_t inside = 0;           ///< How many rows it would give if they were not too deep.
};

/// Walks a scene row by row, the inside of each object only where the object is met first. Items give no rows.
class TreeWalk
{
public:
    /// \param depth how many levels there are rows for; 0 for all.
    TreeWalk(const Roots& roots, std::uint64_t depth);

    [[nodiscard]] bool AtEnd() const noexcept { return m_Ahead.empty(); }
    TreeRow Next();

    /// Scene nodes that have had no row yet.
    [[nodiscard]] std::uint64_t GetNodesLeft() const noexcept { return m_NodesLeft; }
    /// The number by which a shared object is known, counted from 1 in the order of the asking; 0 for others.
    [[nodiscard]] std::uint64_t LabelOf(const Kelvra::AObject& object);

private:
    void PutAhead(const std::vector<Reference>& references, std::uint64_t depth);

    SceneObjects m_Objects;
    std::uint64_t m_Depth;
    std::vector<TreeRow> m_Ahead; // the next row last
    std::unordered_set<const Kelvra::AObject*> m_Shown;
    std::unordered_map<const Kelvra::AObject*, std::uint64_t> m_Labels;
    std::uint64_t m_NodesLeft = 0;
};
} // namespace Lumvo
