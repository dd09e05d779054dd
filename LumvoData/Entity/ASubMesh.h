#pragma once

#include <LumvoData/Entity/ASubEntity.h>

#include <vector>

namespace Kelvra {

/// An indexed mesh: four flat buffers, which the library stores but never interprets.
///
/// By the callers' convention positions and normals take three floats per vertex, texture coordinates two,
/// and three indices make a triangle.
///
/// - Units: positions and normals in the owning entity's coordinates.
/// - Ownership: the buffers are its own; a copy shares nothing with its source.
/// - Record: sub-entity header, then vertex, index, normal and texture-coordinate buffer, each a count of
///   elements and the elements (4 bytes each).
/// - Errors: as ASceneRecord::Buffer.
class KELVRA_API ASubMesh : public ASubEntity
{
    KELVRA_DECLARE_CLASS_ID();

public:
    [[nodiscard]] std::vector<float>& VertexBuffer() noexcept { return m_VertexBuffer; }
    [[nodiscard]] const std::vector<float>& VertexBuffer() const noexcept { return m_VertexBuffer; }
    [[nodiscard]] std::vector<unsigned int>& IndexBuffer() noexcept { return m_IndexBuffer; }
    [[nodiscard]] const std::vector<unsigned int>& IndexBuffer() const noexcept { return m_IndexBuffer; }
    [[nodiscard]] std::vector<float>& NormalBuffer() noexcept { return m_NormalBuffer; }
    [[nodiscard]] const std::vector<float>& NormalBuffer() const noexcept { return m_NormalBuffer; }
    [[nodiscard]] std::vector<float>& TexCoordBuffer() noexcept { return m_TexCoordBuffer; }
    [[nodiscard]] const std::vector<float>& TexCoordBuffer() const noexcept { return m_TexCoordBuffer; }

    using ASubEntity::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;

private:
    std::vector<float> m_VertexBuffer;
    std::vector<unsigned int> m_IndexBuffer;
    std::vector<float> m_NormalBuffer;
    std::vector<float> m_TexCoordBuffer;
};
} // namespace Kelvra
