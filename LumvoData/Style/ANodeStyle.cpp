#include <LumvoData/Style/ANodeStyle.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ANodeStyle, L"ANodeStyle")

template class TScenePtrCollector<std::shared_ptr<ANodeStyle>>;

void ANodeStyle::Serialize(ASceneSerializeContext& context)
{
    ASceneRecord record(context);
    record.Colour("colour", m_Color);
}
} // namespace Kelvra
