#pragma once

#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Entity/ASubEntity.h>

#include <vector>

namespace Kelvra {

/// A flat polygon: its corners in order, their texture coordinates and one normal.
///
/// By the callers' convention a corner takes three floats and a texture coordinate two.
///
/// - Units: corners and normal in the owning entity's coordinates; the normal is initially (1, 0, 0).
/// - Ownership: the buffers are its own; a copy shares nothing with its source.
/// - Record: sub-entity header, then vertex and texture-coordinate buffer, each a count of floats and the
///   floats, then the normal (24 bytes).
/// - Errors: as ASceneRecord::Buffer.
class KELVRA_API ASubPolygon : public ASubEntity
{
    KELVRA_DECLARE_CLASS_ID();

public:
    [[nodiscard]] std::vector<float>& VertexBuffer() noexcept { return m_VertexBuffer; }
    [[nodiscard]] const std::vector<float>& VertexBuffer() const noexcept { return m_VertexBuffer; }
    [[nodiscard]] std::vector<float>& TexCoordBuffer() noexcept { return m_TexCoordBuffer; }
    [[nodiscard]] const std::vector<float>& TexCoordBuffer() const noexcept { return m_TexCoordBuffer; }
    [[nodiscard]] const AMath::Vector3& GetNormal() const noexcept { return m_Normal; }
    void SetNormal(const AMath::Vector3& normal) noexcept { m_Normal = normal; }

    using ASubEntity::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;

private:
    std::vector<float> m_VertexBuffer;
    std::vector<float> m_TexCoordBuffer;
    AMath::Vector3 m_Normal = AMath::Vector3::UNIT_X;
};
} // namespace Kelvra
