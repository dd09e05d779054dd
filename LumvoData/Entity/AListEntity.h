#pragma once

#include <LumvoData/Entity/AEntity.h>
#include <LumvoData/Entity/DrawTraits.h>
#include <LumvoData/Serialize/ASceneRecord.h>

#include <list>
#include <memory>

namespace Kelvra {

/// Any number of sub-entities of one kind; the concrete classes add their class identity only.
///
/// - Units: the box is what its builder set; adding an item does not change it.
/// - Ownership: shares its items, which other entities may hold too; a copy shares the same items.
/// - Record: entity header, then the list of the items through the collector of ASubEntity.
/// - Errors: an item that reads as null, or that is of another class, is reported with "Failed to read
///   item!" and left out.
template <class Trait> class KELVRA_TEMPLATE_API AListEntity : public AEntity
{
public:
    using Item = typename Trait::Item;

    /// The items in the order of insertion.
    [[nodiscard]] const std::list<std::shared_ptr<Item>>& GetItems() const noexcept { return m_Items; }
    [[nodiscard]] std::list<std::shared_ptr<Item>>& GetItems() noexcept { return m_Items; }
    void AddItem(const std::shared_ptr<Item>& item) { m_Items.push_back(item); }

    using AEntity::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override
    {
        AEntity::Serialize(context);
        ASceneRecord record(context);
        record.ListAs<ASubEntity>("items", m_Items);
    }
    /// Passes each item to the visitor, a null one too, until it returns false. Meanwhile the visitor may append items
    /// and remove the item that it was given. It must not remove any other item, clear or replace the list, or assign to
    /// the entity.
    bool Visit(AEntityVisitor& visitor) override
    {
        if ((visitor.GetFilter() & Trait::Filter) == 0)
            return true;
        for (auto item = m_Items.begin(); item != m_Items.end();) {
            const std::shared_ptr<Item> kept = *item++; // the visitor may remove it from the list
            if (!Trait::Visit(visitor, kept))
                return false;
        }
        return true;
    }

private:
    std::list<std::shared_ptr<Item>> m_Items;
};
} // namespace Kelvra
