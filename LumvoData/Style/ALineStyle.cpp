#include <LumvoData/Style/ALineStyle.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ALineStyle, L"ALineStyle")

void ALineStyle::Serialize(ASceneSerializeContext& context)
{
    ASceneRecord record(context);
    record.Colour(m_Color);
    record.Number(m_LineWidth);
    record.Flag(m_bModelLine);
}
} // namespace Kelvra
