#pragma once

#include <LumvoData/Entity/AEntity.h>
#include <LumvoData/Entity/DrawTraits.h>
#include <LumvoData/Serialize/ASceneRecord.h>

#include <memory>

namespace Kelvra {

/// Exactly one sub-entity, or none yet; the concrete classes add their class identity only.
///
/// - Units: the box is what its builder set; setting an item does not change it.
/// - Ownership: shares its item; a copy shares the same one.
/// - Record: entity header, then the item's reference through the collector of ASubEntity.
/// - Errors: an item that cannot be read, or that is of another class, leaves the entity without one.
template <class Trait> class KELVRA_TEMPLATE_API ASimpleEntity : public AEntity
{
public:
    using Item = typename Trait::Item;

    /// Null if there is none.
    [[nodiscard]] const std::shared_ptr<Item>& GetItem() const noexcept { return m_Item; }
    void SetItem(const std::shared_ptr<Item>& item) noexcept { m_Item = item; }

    using AEntity::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override
    {
        AEntity::Serialize(context);
        ASceneRecord record(context);
        record.PointerAs<ASubEntity>("item", m_Item);
    }
    /// Passes the item to the visitor, even if it is null.
    bool Visit(AEntityVisitor& visitor) override
    {
        const std::shared_ptr<Item> kept = m_Item; // the visitor may replace it
        return (visitor.GetFilter() & Trait::Filter) == 0 || Trait::Visit(visitor, kept);
    }

private:
    std::shared_ptr<Item> m_Item;
};
} // namespace Kelvra
