#include <LumvoData/Style/AFaceStyle.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(AFaceStyle, L"AFaceStyle")

void AFaceStyle::Serialize(ASceneSerializeContext& context)
{
    ASceneRecord record(context);
    record.Colour("colour", m_Color);
    record.Flag("transparent", m_bTransparent);
    record.Flag("useMaterial", m_bUseMaterial);
    record.Pointer("material", m_Material);
}
} // namespace Kelvra
