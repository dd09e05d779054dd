#include <LumvoData/Scene/ASceneManager.h>

namespace Kelvra {

ASceneManager::ASceneManager() : m_Camera(std::make_shared<ACamera>()), m_Environment(std::make_shared<AEnvironment>())
{}

ASceneManager::~ASceneManager() = default;

void ASceneManager::AddNode(const std::shared_ptr<ASceneNode>& node, NodeLayer layer)
{
    m_Nodes[static_cast<std::size_t>(layer)].push_back(node);
    if (layer == SceneLayer)
        MergeBox(*node);
}

void ASceneManager::RemoveNode(const std::shared_ptr<ASceneNode>& node, NodeLayer layer)
{
    // A copy is compared: the argument may be an entry of the list.
    m_Nodes[static_cast<std::size_t>(layer)].remove_if(
        [kept = node](const std::shared_ptr<ASceneNode>& entry) { return entry == kept; });
}

void ASceneManager::RemoveNode(long id, NodeLayer layer)
{
    m_Nodes[static_cast<std::size_t>(layer)].remove_if(
        [id](const std::shared_ptr<ASceneNode>& node) { return node->GetId() == id; });
}

void ASceneManager::ClearNodes(NodeLayer layer) noexcept
{
    m_Nodes[static_cast<std::size_t>(layer)].clear();
    if (layer == SceneLayer)
        m_BBox.setNull();
}

void ASceneManager::ComputeBBox() noexcept
{
    m_BBox.setNull();
    for (const std::shared_ptr<ASceneNode>& node : m_Nodes[SceneLayer])
        MergeBox(*node);
}

void ASceneManager::AddSelectedNode(const std::shared_ptr<ASelectedNode>& record, SelectedLayer layer)
{
    m_SelectedNodes[static_cast<std::size_t>(layer)].push_back(record);
}

void ASceneManager::SetSelectedNodes(const std::list<std::shared_ptr<ASelectedNode>>& records, SelectedLayer layer)
{
    m_SelectedNodes[static_cast<std::size_t>(layer)] = records; // a list assigned to itself stays as it is
}

void ASceneManager::MergeBox(const ASceneNode& node) noexcept
{
    AMath::AxisAlignedBox box = node.GetBBox();
    box.transform(node.GetTransform());
    m_BBox.merge(box);
}
} // namespace Kelvra
