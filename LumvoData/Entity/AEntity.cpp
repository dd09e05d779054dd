#include <LumvoData/Entity/AEntity.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(AEntity, L"AEntity")

template class TScenePtrCollector<std::shared_ptr<AEntity>>;

void AEntity::Serialize(ASceneSerializeContext& context)
{
    ASceneRecord record(context);
    record.Number("tag", m_nTag);
    record.Box("box", m_BBox);
}
} // namespace Kelvra
