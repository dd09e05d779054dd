#include <LumvoData/Entity/ASubEntity.h>

#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ASubEntity, L"ASubEntity")

template class TScenePtrCollector<std::shared_ptr<ASubEntity>>;

void ASubEntity::Serialize(ASceneSerializeContext& context)
{
    ASceneRecord record(context);
    record.Number("tag", m_nTag);
    record.Box("box", m_BBox);
}
} // namespace Kelvra
