#include <LumvoData/Entity/AGroupEntity.h>

#include <LumvoData/Contracts/KelvraService/KvAssert.h>
#include <LumvoData/Entity/ReleaseNested.h>
#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {
namespace {

constexpr const char* s_Source = "..\\Entity\\AGroupEntity";
constexpr int s_NullEntity = 31;
} // namespace

KELVRA_DEFINE_CLASS_ID(AGroupEntity, L"AGroupEntity")

AGroupEntity::~AGroupEntity()
{
    ReleaseNested(m_Entities, [](AEntity& entity) {
        auto* const group = dynamic_cast<AGroupEntity*>(&entity);
        return group != nullptr ? &group->m_Entities : nullptr;
    });
}

void AGroupEntity::AddEntity(const std::shared_ptr<AEntity>& entity)
{
    if (!KvAssert::Assert(entity != nullptr, "Entity is NULL!", s_Source, s_NullEntity))
        return;
    AMath::AxisAlignedBox box = GetBBox();
    box.merge(entity->GetBBox());
    SetBBox(box);
    m_Entities.push_back(entity);
}

void AGroupEntity::Serialize(ASceneSerializeContext& context)
{
    AEntity::Serialize(context);
    ASceneRecord record(context);
    record.List(m_Entities);
}

bool AGroupEntity::Visit(AEntityVisitor& visitor)
{
    for (const std::shared_ptr<AEntity>& entity : m_Entities) {
        const std::shared_ptr<AEntity> kept = entity; // alive while the visitor works on it
        if (!kept->Visit(visitor))
            return false;
    }
    return true;
}
} // namespace Kelvra
