#include <LumvoData/Entity/ASubMesh.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ASubMesh, L"ASubMesh")

void ASubMesh::Serialize(ASceneSerializeContext& context)
{
    ASubEntity::Serialize(context);
    ASceneRecord record(context);
    record.Buffer(m_VertexBuffer);
    record.Buffer(m_IndexBuffer);
    record.Buffer(m_NormalBuffer);
    record.Buffer(m_TexCoordBuffer);
}
} // namespace Kelvra
