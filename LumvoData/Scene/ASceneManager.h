#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Scene/ASceneNode.h>
#include <LumvoData/Scene/ASelectedNode.h>
#include <LumvoData/Style/AEnvironment.h>
#include <LumvoData/View/ACamera.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>

namespace Kelvra {

/// The root of one scene as the viewer sees it: camera, environment, top-level nodes in two layers, selection
/// records in two layers, and the scene's box.
///
/// The box is kept up to date by AddNode, ComputeBBox and ClearNodes of the scene layer only: after nodes were
/// removed, or changed their boxes or transforms, it is stale until the next ComputeBBox.
///
/// - Units: the box is in scene coordinates; at first it reaches from −100 to 100 along each axis.
/// - Ownership: shares everything it holds. A copy shares the camera, the environment, the nodes and the
///   records, and has lists of its own.
/// - Threads: one scene is changed by one thread at a time; different scenes in different threads at once.
/// - Errors: none. Layers are not checked; nodes must not be empty.
class KELVRA_API ASceneManager
{
public:
    /// What makes up the scene, and what a viewer draws besides without its counting for the scene's box.
    enum NodeLayer : std::int32_t
    {
        SceneLayer = 0,
        OverlayLayer = 1,
    };
    /// What is picked, and what is only highlighted.
    enum SelectedLayer : std::int32_t
    {
        PickedLayer = 0,
        HighlightedLayer = 1,
    };

    ASceneManager();
    ASceneManager(const ASceneManager&) = default;
    ASceneManager& operator=(const ASceneManager&) = default;
    virtual ~ASceneManager();

    /// Never null; lives as long as a manager that shares it.
    [[nodiscard]] ACamera* GetCamera() const noexcept { return m_Camera.get(); }
    /// Never null; lives as long as a manager that shares it. (The spelling of the name is fixed.)
    [[nodiscard]] AEnvironment* GetEnviornment() const noexcept { return m_Environment.get(); }
    [[nodiscard]] const AMath::AxisAlignedBox& GetBBox() const noexcept { return m_BBox; }
    void SetBBox(const AMath::AxisAlignedBox& box) noexcept { m_BBox = box; }

    /// The nodes of a layer in the order they were added.
    [[nodiscard]] const std::list<std::shared_ptr<ASceneNode>>& GetNodes(NodeLayer layer) const noexcept
    {
        return m_Nodes[static_cast<std::size_t>(layer)];
    }
    /// Appends a node; in the scene layer its box, mapped by its transform, is merged into the scene's.
    void AddNode(const std::shared_ptr<ASceneNode>& node, NodeLayer layer);
    /// Removes every entry of that node; the box stays as it is.
    void RemoveNode(const std::shared_ptr<ASceneNode>& node, NodeLayer layer);
    /// Removes every node with that id; the box stays as it is.
    void RemoveNode(long id, NodeLayer layer);
    /// Empties a layer; for the scene layer the box becomes null.
    void ClearNodes(NodeLayer layer) noexcept;
    /// Makes the box the union of the boxes of the scene layer's nodes, each mapped by its node's transform,
    /// whether visible or not; null where the layer is empty.
    void ComputeBBox() noexcept;

    /// The records of a layer in the order they were added.
    [[nodiscard]] const std::list<std::shared_ptr<ASelectedNode>>& GetSelectedNodes(SelectedLayer layer) const noexcept
    {
        return m_SelectedNodes[static_cast<std::size_t>(layer)];
    }
    void AddSelectedNode(const std::shared_ptr<ASelectedNode>& record, SelectedLayer layer);
    /// Replaces the records of a layer; its own list may be given.
    void SetSelectedNodes(const std::list<std::shared_ptr<ASelectedNode>>& records, SelectedLayer layer);
    void ClearSelectedNodes(SelectedLayer layer) noexcept { m_SelectedNodes[static_cast<std::size_t>(layer)].clear(); }

private:
    void MergeBox(const ASceneNode& node) noexcept;

    AMath::AxisAlignedBox m_BBox{{-100, -100, -100}, {100, 100, 100}};
    std::shared_ptr<ACamera> m_Camera;
    std::shared_ptr<AEnvironment> m_Environment;
    std::array<std::list<std::shared_ptr<ASceneNode>>, 2> m_Nodes;
    std::array<std::list<std::shared_ptr<ASelectedNode>>, 2> m_SelectedNodes;
};
} // namespace Kelvra
