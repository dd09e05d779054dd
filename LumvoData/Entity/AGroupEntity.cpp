#include <LumvoData/Entity/AGroupEntity.h>

#include <LumvoData/Contracts/KelvraService/KvAssert.h>
#include <LumvoData/Entity/ReleaseNested.h>
#include <LumvoData/Serialize/ASceneRecord.h>

#include <typeinfo>
#include <utility>
#include <vector>

namespace Kelvra {
namespace {

constexpr const char* s_Source = "..\\Entity\\AGroupEntity";
constexpr int s_NullEntity = 31;
} // namespace

KELVRA_DEFINE_CLASS_ID(AGroupEntity, L"AGroupEntity")

AGroupEntity::~AGroupEntity()
{
    ReleaseNested(m_Entities);
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
    record.List("members", m_Entities);
}

bool AGroupEntity::Visit(AEntityVisitor& visitor)
{
    /// The place of the walk in one group: the member that it is in.
    struct Place
    {
        const Members* members;
        Members::const_iterator at;
        std::shared_ptr<AEntity> group; // alive while the walk is in it
    };
    std::vector<Place> outer; // groups nest deeper than the stack could
    for (Place place{&m_Entities, m_Entities.begin(), nullptr};;) {
        if (place.at == place.members->end()) {
            if (outer.empty())
                return true;
            place = std::move(outer.back());
            outer.pop_back();
            ++place.at;
            continue;
        }
        std::shared_ptr<AEntity> member = *place.at; // alive while the visitor works on it
        const AEntity& entity = *member;
        if (typeid(entity) == typeid(AGroupEntity)) { // a class of its own may have a walk of its own
            const Members& members = static_cast<const AGroupEntity&>(entity).m_Entities;
            outer.push_back(std::exchange(place, {&members, members.begin(), std::move(member)}));
        } else if (member->Visit(visitor))
            ++place.at;
        else
            return false;
    }
}
} // namespace Kelvra
