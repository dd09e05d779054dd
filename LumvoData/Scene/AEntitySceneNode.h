#pragma once

#include <LumvoData/Entity/AEntity.h>
#include <LumvoData/Scene/ASceneNode.h>

#include <memory>

namespace Kelvra {

/// A scene node that shows one entity.
///
/// - Units: the box is the entity's at the time it was set; the two share coordinates.
/// - Ownership: shares its entity; a copy shares the same one.
/// - Record: scene-node record, then the entity's reference through the collector of AEntity. The box is
///   stored, not taken from the entity again.
/// - Errors: an entity that cannot be read leaves the node with the one it had.
class KELVRA_API AEntitySceneNode : public ASceneNode
{
    KELVRA_DECLARE_CLASS_ID();

public:
    /// Null if there is none.
    [[nodiscard]] const std::shared_ptr<AEntity>& GetEntity() const noexcept { return m_Entity; }
    /// Replaces the entity and takes over its box; an empty pointer leaves the box as it was.
    void SetEntity(const std::shared_ptr<AEntity>& entity);

    using ASceneNode::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;
    void Visit(ASceneNodeVisitor* visitor) override;

private:
    std::shared_ptr<AEntity> m_Entity;
};
} // namespace Kelvra
