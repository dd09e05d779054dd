#include <LumvoData/Entity/ASubPolygon.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ASubPolygon, L"ASubPolygon")

void ASubPolygon::Serialize(ASceneSerializeContext& context)
{
    ASubEntity::Serialize(context);
    ASceneRecord record(context);
    record.Buffer("vertices", m_VertexBuffer);
    record.Buffer("texCoords", m_TexCoordBuffer);
    record.Point("normal", m_Normal);
}
} // namespace Kelvra
