#pragma once

#include <LumvoData/Entity/AEntity.h>

#include <list>
#include <memory>

namespace Kelvra {

/// Any number of entities as one, so that a scene node can show a whole assembly.
///
/// - Units: the box is in the group's coordinates, which are its members'; it grows as members are added.
/// - Ownership: shares its members, which other holders may share too; a copy shares the same members. A
///   group must not hold itself, directly or through other groups.
/// - Record: entity header, then the list of the members through the collector of AEntity. The box is stored,
///   not computed again.
/// - Errors: a member that reads as null is reported with "Failed to read item!" and left out.
class KELVRA_API AGroupEntity : public AEntity
{
    KELVRA_DECLARE_CLASS_ID();

public:
    AGroupEntity() = default;
    AGroupEntity(const AGroupEntity&) = default;
    AGroupEntity& operator=(const AGroupEntity&) = default;
    ~AGroupEntity() override;

    /// The members in the order of insertion.
    [[nodiscard]] const std::list<std::shared_ptr<AEntity>>& GetAll() const noexcept { return m_Entities; }
    /// Appends an entity and merges its box into the group's. A null pointer is reported with "Entity is
    /// NULL!" and changes nothing.
    void AddEntity(const std::shared_ptr<AEntity>& entity);

    using AEntity::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;
    /// Visits each member in turn, until one returns false. A member that sits in several groups is visited in each.
    /// Meanwhile the visitor may add members, which are visited too; it must not assign to a group that is being visited.
    /// The walk takes no stack for groups in groups, but for members of classes that derive from this one.
    bool Visit(AEntityVisitor& visitor) override;

private:
    using Members = std::list<std::shared_ptr<AEntity>>;

    Members m_Entities;
};
} // namespace Kelvra
