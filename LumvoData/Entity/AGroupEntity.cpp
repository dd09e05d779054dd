#include <LumvoData/Entity/AGroupEntity.h>

#include <LumvoData/Contracts/KelvraService/KvAssert.h>
#include <LumvoData/Serialize/ASceneRecord.h>

#include <utility>

namespace Kelvra {
namespace {

constexpr const char* s_Source = "..\\Entity\\AGroupEntity";
constexpr int s_NullEntity = 31;
} // namespace

KELVRA_DEFINE_CLASS_ID(AGroupEntity, L"AGroupEntity")

AGroupEntity::~AGroupEntity()
{
    // Groups that only this one holds are emptied here and not by their own destructors, which would nest as deep
    // as the groups do.
    while (!m_Entities.empty()) {
        const std::shared_ptr<AEntity> entity = std::move(m_Entities.front());
        m_Entities.pop_front();
        auto* const group = entity.use_count() == 1 ? dynamic_cast<AGroupEntity*>(entity.get()) : nullptr;
        if (group != nullptr)
            m_Entities.splice(m_Entities.end(), group->m_Entities);
    }
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
