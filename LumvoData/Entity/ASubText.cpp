#include <LumvoData/Entity/ASubText.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ASubText, L"ASubText")

void ASubText::Serialize(ASceneSerializeContext& context)
{
    ASubEntity::Serialize(context);
    ASceneRecord record(context);
    record.Text("text", m_szText);
    record.Point("position", m_Position);
    record.Colour("colour", m_Color);
}
} // namespace Kelvra
