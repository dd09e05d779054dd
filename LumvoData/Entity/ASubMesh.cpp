#include <LumvoData/Entity/ASubMesh.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ASubMesh, L"ASubMesh")

void ASubMesh::Serialize(ASceneSerializeContext& context)
{
    ASubEntity::Serialize(context);
    ASceneRecord record(context);
    record.Buffer("vertices", m_VertexBuffer);
    record.Buffer("indices", m_IndexBuffer);
    record.Buffer("normals", m_NormalBuffer);
    record.Buffer("texCoords", m_TexCoordBuffer);
}
} // namespace Kelvra
