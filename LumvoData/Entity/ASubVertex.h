#pragma once

#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Entity/ASubEntity.h>

namespace Kelvra {

/// A single vertex. No entity of the library holds one, and the class factory makes none.
///
/// - Units: position in the owning entity's coordinates; initially the origin.
/// - Record: sub-entity header, then the vertex (24 bytes).
class KELVRA_API ASubVertex : public ASubEntity
{
    KELVRA_DECLARE_CLASS_ID();

public:
    [[nodiscard]] const AMath::Vector3& GetVertex() const noexcept { return m_Vertex; }
    void SetVertex(const AMath::Vector3& vertex) noexcept { m_Vertex = vertex; }

    using ASubEntity::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;

private:
    AMath::Vector3 m_Vertex = AMath::Vector3::ZERO;
};
} // namespace Kelvra
