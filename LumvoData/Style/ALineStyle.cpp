#include <LumvoData/Style/ALineStyle.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ALineStyle, L"ALineStyle")

void ALineStyle::Serialize(ASceneSerializeContext& context)
{
    ASceneRecord record(context);
    record.Colour("colour", m_Color);
    record.Number("width", m_LineWidth);
    record.Flag("modelLine", m_bModelLine);
}
} // namespace Kelvra
