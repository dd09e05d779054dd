#pragma once

#include <LumvoData/Entity/AEdgeListEntity.h>
#include <LumvoData/Entity/AEntity.h>
#include <LumvoData/Entity/AMeshListEntity.h>

#include <memory>

namespace Kelvra {

/// The faces and the edges of a body.
///
/// - Units: the box is in the entity's coordinates; it grows with every faces and edges that are set, and
///   what was replaced stays in it.
/// - Ownership: shares both; a copy shares the same ones.
/// - Record: entity header, then the references of faces and edges through the collector of AEntity.
/// - Errors: faces or edges that cannot be read, or that are of another class, are null.
class KELVRA_API ATopoEntity : public AEntity
{
    KELVRA_DECLARE_CLASS_ID();

public:
    /// Null if there are none.
    [[nodiscard]] const std::shared_ptr<AMeshListEntity>& GetFaces() const noexcept { return m_Faces; }
    /// Replaces the faces and merges their box into the entity's. A null pointer is reported with "Faces are
    /// NULL!" and changes nothing.
    void SetFaces(const std::shared_ptr<AMeshListEntity>& faces);
    /// Null if there are none.
    [[nodiscard]] const std::shared_ptr<AEdgeListEntity>& GetEdges() const noexcept { return m_Edges; }
    /// Replaces the edges and merges their box into the entity's. A null pointer is reported with "Edges are
    /// NULL!" and changes nothing.
    void SetEdges(const std::shared_ptr<AEdgeListEntity>& edges);

    using AEntity::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;
    /// Visits the faces, then the edges, whatever the visitor returns.
    /// \returns true.
    bool Visit(AEntityVisitor& visitor) override;

private:
    void GrowBBox(const AEntity& entity) noexcept;

    std::shared_ptr<AMeshListEntity> m_Faces;
    std::shared_ptr<AEdgeListEntity> m_Edges;
};
} // namespace Kelvra
