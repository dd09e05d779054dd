#include <Formats/Gltf/NodeTree.h>

#include <numeric>
#include <optional>
#include <string>

namespace Formats::Gltf {

NodeTree::NodeTree(const JsonValue& document) : m_Nodes(document.List("nodes")), m_Parents(m_Nodes.size())
{
    FindParents();
    CheckForCycles();
    const std::vector<JsonValue> scenes = document.List("scenes");
    const std::optional<JsonValue> chosen = document.Find("scene");
    if (chosen || !scenes.empty()) {
        const JsonValue scene = scenes[chosen ? chosen->AsIndex(scenes.size(), "scenes") : 0];
        std::vector<bool> listed(m_Nodes.size());
        for (const JsonValue& root : scene.List("nodes")) {
            const std::uint32_t node = root.AsIndex(m_Nodes.size(), "nodes");
            if (m_Parents[node] != node)
                root.Fail(m_Nodes[node].GetPath() + " is no root: it is a child of " +
                          m_Nodes[m_Parents[node]].GetPath());
            if (listed[node])
                root.Fail(m_Nodes[node].GetPath() + " is there twice");
            listed[node] = true;
            m_Roots.push_back(node);
        }
    } else {
        for (std::uint32_t node = 0; node < m_Nodes.size(); ++node)
            if (m_Parents[node] == node)
                m_Roots.push_back(node);
    }
    m_Order = Walk(m_Roots);
}

void NodeTree::FindParents()
{
    std::iota(m_Parents.begin(), m_Parents.end(), 0U);
    for (std::uint32_t parent = 0; parent < m_Nodes.size(); ++parent)
        for (const std::uint32_t child : GetChildren(parent)) {
            if (child == parent)
                m_Nodes[child].Fail("is its own child");
            if (m_Parents[child] == parent)
                m_Nodes[child].Fail("is twice a child of " + m_Nodes[parent].GetPath());
            if (m_Parents[child] != child)
                m_Nodes[child].Fail("is a child of both " + m_Nodes[m_Parents[child]].GetPath() + " and " +
                                    m_Nodes[parent].GetPath());
            m_Parents[child] = parent;
        }
}

/// Each node has one parent at most, so what cannot be reached from above is on a cycle or below one.
void NodeTree::CheckForCycles() const
{
    std::vector<std::uint32_t> roots;
    for (std::uint32_t node = 0; node < m_Nodes.size(); ++node)
        if (m_Parents[node] == node)
            roots.push_back(node);
    const std::vector<std::uint32_t> reached = Walk(roots);
    if (reached.size() == m_Nodes.size())
        return;
    std::vector<bool> met(m_Nodes.size());
    for (const std::uint32_t node : reached)
        met[node] = true;
    std::uint32_t node = 0;
    while (met[node])
        ++node;
    for (; !met[node]; node = m_Parents[node])
        met[node] = true;
    m_Nodes[node].Fail("is its own ancestor");
}

std::vector<std::uint32_t> NodeTree::GetChildren(std::uint32_t node) const
{
    std::vector<std::uint32_t> children;
    for (const JsonValue& child : m_Nodes[node].List("children"))
        children.push_back(child.AsIndex(m_Nodes.size(), "nodes"));
    return children;
}

std::vector<std::uint32_t> NodeTree::Walk(const std::vector<std::uint32_t>& roots) const
{
    std::vector<std::uint32_t> order = roots;
    for (std::size_t k = 0; k < order.size(); ++k) {
        const std::vector<std::uint32_t> children = GetChildren(order[k]);
        order.insert(order.end(), children.begin(), children.end());
    }
    return order;
}
} // namespace Formats::Gltf
