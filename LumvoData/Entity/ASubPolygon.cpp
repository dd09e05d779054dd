#include <LumvoData/Entity/ASubPolygon.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ASubPolygon, L"ASubPolygon")

void ASubPolygon::Serialize(ASceneSerializeContext& context)
{
    ASubEntity::Serialize(context);
    ASceneRecord record(context);
    record.Buffer(m_VertexBuffer);
    record.Buffer(m_TexCoordBuffer);
    record.Point(m_Normal);
}
} // namespace Kelvra
