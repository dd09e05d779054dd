#include <LumvoData/Entity/ASubVertex.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ASubVertex, L"ASubVertex")

void ASubVertex::Serialize(ASceneSerializeContext& context)
{
    ASubEntity::Serialize(context);
    ASceneRecord record(context);
    record.Point("vertex", m_Vertex);
}
} // namespace Kelvra
