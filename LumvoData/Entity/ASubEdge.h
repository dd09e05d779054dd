#pragma once

#include <LumvoData/Entity/ASubEntity.h>

#include <vector>

namespace Kelvra {

/// An edge, given by its points: three floats each, by the callers' convention.
///
/// - Units: positions in the owning entity's coordinates.
/// - Ownership: the buffer is its own; a copy shares nothing with its source.
/// - Record: sub-entity header, then the vertex buffer: a count of floats and the floats.
/// - Errors: as ASceneRecord::Buffer.
class KELVRA_API ASubEdge : public ASubEntity
{
    KELVRA_DECLARE_CLASS_ID();

public:
    [[nodiscard]] std::vector<float>& VertexBuffer() noexcept { return m_VertexBuffer; }
    [[nodiscard]] const std::vector<float>& VertexBuffer() const noexcept { return m_VertexBuffer; }

    using ASubEntity::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;

private:
    std::vector<float> m_VertexBuffer;
};
} // namespace Kelvra
