#include <LumvoData/Style/AFaceStyle.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(AFaceStyle, L"AFaceStyle")

void AFaceStyle::Serialize(ASceneSerializeContext& context)
{
    ASceneRecord record(context);
    record.Colour(m_Color);
    record.Flag(m_bTransparent);
    record.Flag(m_bUseMaterial);
    record.Pointer(m_Material);
}
} // namespace Kelvra
