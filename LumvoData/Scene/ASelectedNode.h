#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Entity/AEntity.h>
#include <LumvoData/Scene/ASceneNode.h>

#include <cstdint>
#include <list>
#include <memory>

namespace Kelvra {

class ASceneNodeVisitor;

/// One thing that the user picked: the scene node that was hit, the entity within it if any, an id, where it
/// was hit, and records for the nodes below it on the path that was picked.
///
/// - Units: the hit position as the viewer takes it, 0 at first.
/// - Ownership: shares node, entity and child records; a copy shares the same ones.
/// - Errors: none. What is read through the scene node needs one that is not empty.
class KELVRA_API ASelectedNode
{
public:
    explicit ASelectedNode(std::shared_ptr<ASceneNode> node);
    ASelectedNode(const ASelectedNode&) = default;
    ASelectedNode& operator=(const ASelectedNode&) = default;
    virtual ~ASelectedNode();

    /// The caller's identifier of the record, 0 at first.
    [[nodiscard]] int GetId() const noexcept { return m_nId; }
    void SetId(int id) noexcept { m_nId = id; }
    [[nodiscard]] bool IsVisible() const noexcept { return m_bVisible; }
    void SetVisible(bool visible) noexcept { m_bVisible = visible; }
    [[nodiscard]] double GetHitPos() const noexcept { return m_HitPos; }
    void SetHitPos(double position) noexcept { m_HitPos = position; }
    /// Empty where no entity was picked.
    [[nodiscard]] const std::shared_ptr<AEntity>& GetEntity() const noexcept { return m_Entity; }
    void SetEntity(const std::shared_ptr<AEntity>& entity) noexcept { m_Entity = entity; }
    [[nodiscard]] const std::shared_ptr<ASceneNode>& GetSceneNode() const noexcept { return m_SceneNode; }

    /// The child records in the order they were added.
    [[nodiscard]] const std::list<std::shared_ptr<ASelectedNode>>& GetChildNodes() const noexcept { return m_Children; }
    /// Appends a record. It is not checked; the searches below skip a null one.
    void AddChildNode(std::shared_ptr<ASelectedNode> child);
    void ClearChildNodes() noexcept { m_Children.clear(); }

    /// Those of the scene node.
    [[nodiscard]] const AMath::Matrix4& GetTransform() const noexcept { return m_SceneNode->GetTransform(); }
    [[nodiscard]] const AMath::AxisAlignedBox& GetBBox() const noexcept { return m_SceneNode->GetBBox(); }
    [[nodiscard]] const std::shared_ptr<ANodeStyle>& GetStyle(AStyleIndex index) const noexcept
    {
        return m_SceneNode->GetStyle(index);
    }

    /// The scene node at the end of the path that follows the first child of each record.
    [[nodiscard]] const std::shared_ptr<ASceneNode>& GetLeafSceneNode() const noexcept;
    /// The record with that id among `root`, which must not be empty, and its own children, the root first;
    /// empty where there is none.
    [[nodiscard]] static std::shared_ptr<ASelectedNode> FindNode(const std::shared_ptr<ASelectedNode>& root, int id);
    /// Calls the visitor's VisitSelectedNode with this record; child records are not visited.
    void Visit(ASceneNodeVisitor* visitor);

private:
    std::int32_t m_nId = 0;
    bool m_bVisible = true;
    std::shared_ptr<AEntity> m_Entity;
    double m_HitPos = 0;
    std::shared_ptr<ASceneNode> m_SceneNode;
    std::list<std::shared_ptr<ASelectedNode>> m_Children;
};
} // namespace Kelvra
