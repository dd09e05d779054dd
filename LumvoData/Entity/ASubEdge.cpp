#include <LumvoData/Entity/ASubEdge.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ASubEdge, L"ASubEdge")

void ASubEdge::Serialize(ASceneSerializeContext& context)
{
    ASubEntity::Serialize(context);
    ASceneRecord record(context);
    record.Buffer("vertices", m_VertexBuffer);
}
} // namespace Kelvra
