#pragma once

#include <Formats/Gltf/Json.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Formats::Gltf {

/// The nodes of a document, checked to be trees, and those of the scene to be shown: the one that the document names,
/// its first one, or all nodes where there is none.
///
/// - Errors: FormatError, for a node with two parents and one below itself too.
class NodeTree
{
public:
    explicit NodeTree(const JsonValue& document);

    [[nodiscard]] const JsonValue& GetNode(std::uint32_t node) const { return m_Nodes[node]; }
    [[nodiscard]] std::size_t GetNodeCount() const noexcept { return m_Nodes.size(); }
    [[nodiscard]] const std::vector<std::uint32_t>& GetRoots() const noexcept { return m_Roots; }
    [[nodiscard]] std::vector<std::uint32_t> GetChildren(std::uint32_t node) const;
    /// The nodes of the scene, each after its parent.
    [[nodiscard]] const std::vector<std::uint32_t>& GetOrder() const noexcept { return m_Order; }

private:
    void FindParents();
    void CheckForCycles() const;
    [[nodiscard]] std::vector<std::uint32_t> Walk(const std::vector<std::uint32_t>& roots) const;

    std::vector<JsonValue> m_Nodes;
    std::vector<std::uint32_t> m_Parents; // itself for a node without one
    std::vector<std::uint32_t> m_Roots;
    std::vector<std::uint32_t> m_Order;
};
} // namespace Formats::Gltf
