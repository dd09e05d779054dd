#pragma once

#include <LumvoData/Entity/AEdgeListEntity.h>
#include <LumvoData/Entity/AMeshListEntity.h>
#include <LumvoData/Scene/ASceneNode.h>

#include <memory>

namespace Kelvra {

/// A scene node that shows the faces and the edges of a body.
///
/// Its class identity is ASceneNode's, which the class factory cannot make: a scene file that holds one
/// cannot be loaded whole. An AEntitySceneNode that shows an ATopoEntity can.
///
/// - Units: the box is what its builder set; setting faces or edges does not change it.
/// - Ownership: shares both; a copy shares the same ones.
/// - Record: scene-node record; faces and edges are not stored.
class KELVRA_API ATopoSceneNode : public ASceneNode
{
public:
    /// Null if there are none.
    [[nodiscard]] const std::shared_ptr<AMeshListEntity>& GetFaces() const noexcept { return m_Faces; }
    void SetFaces(const std::shared_ptr<AMeshListEntity>& faces) noexcept { m_Faces = faces; }
    /// Null if there are none.
    [[nodiscard]] const std::shared_ptr<AEdgeListEntity>& GetEdges() const noexcept { return m_Edges; }
    void SetEdges(const std::shared_ptr<AEdgeListEntity>& edges) noexcept { m_Edges = edges; }

    void Visit(ASceneNodeVisitor* visitor) override;

private:
    std::shared_ptr<AMeshListEntity> m_Faces;
    std::shared_ptr<AEdgeListEntity> m_Edges;
};
} // namespace Kelvra
