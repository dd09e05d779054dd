#pragma once

#include <LumvoData/Scene/ASceneNode.h>

#include <list>
#include <memory>

namespace Kelvra {

/// A scene node that holds child nodes.
///
/// - Units: the box is the union of the children's boxes, each mapped by its child's transform, at the time
///   it was added; it is not computed again when a child changes.
/// - Ownership: shares its children; a copy shares the same ones. A group must not hold itself, directly or
///   through other groups.
/// - Record: scene-node record, then the list of the children through the collector of ASceneNode. The box
///   is stored, not computed again.
/// - Errors: a child that reads as empty is reported with "Can't find Node" and left out.
class KELVRA_API AGroupSceneNode : public ASceneNode
{
    KELVRA_DECLARE_CLASS_ID();

public:
    AGroupSceneNode() = default;
    AGroupSceneNode(const AGroupSceneNode&) = default;
    AGroupSceneNode& operator=(const AGroupSceneNode&) = default;
    ~AGroupSceneNode() override;

    [[nodiscard]] int GetChildCount() const noexcept { return static_cast<int>(m_Children.size()); }
    /// The children in the order they were added.
    [[nodiscard]] const std::list<std::shared_ptr<ASceneNode>>& GetChildNodes() const noexcept { return m_Children; }
    /// Appends a child and merges its box, mapped by its transform, into the group's. An empty pointer is
    /// reported with "SceneNode is NULL!" and changes nothing.
    void AddChildNode(std::shared_ptr<ASceneNode> child);
    /// Removes all children and makes the box null.
    void ClearChildren() noexcept;

    using ASceneNode::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;
    void Visit(ASceneNodeVisitor* visitor) override;

private:
    std::list<std::shared_ptr<ASceneNode>> m_Children;
};
} // namespace Kelvra
