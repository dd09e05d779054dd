#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <map>
#include <memory>
#include <utility>

namespace Kelvra {

/// A registry of creators `C`, a TObjectCreatorBase, by key `K`; names are ordered by code units.
///
/// - Ownership: shares its creators; the objects they make belong to the caller.
/// - Threads: nothing is locked.
template <class K, class C> class KELVRA_TEMPLATE_API TObjectFactory
{
public:
    using ObjectType = typename C::ObjectType;
    using ConstIterator = typename std::map<K, std::shared_ptr<C>>::const_iterator;

    virtual ~TObjectFactory() = default;

    /// Registers a creator.
    /// \returns false, with nothing changed, when the name is taken or the creator empty.
    bool RegisterObject(const K& name, std::shared_ptr<C> creator)
    {
        return creator && m_Creators.try_emplace(name, std::move(creator)).second;
    }
    /// Removes the creator under `name`.
    /// \returns false when there is none.
    bool UnRegisterObject(const K& name) { return m_Creators.erase(name) > 0; }
    /// A new object of the class registered under `name`, which the caller owns; null when there is none.
    [[nodiscard]] ObjectType* CreateObject(const K& name) const
    {
        const std::shared_ptr<C> creator = FindCreator(name);
        return creator ? creator->Create() : nullptr;
    }
    /// The creator registered under `name`, for callers that make many objects of one class; empty when there is none.
    [[nodiscard]] std::shared_ptr<C> FindCreator(const K& name) const
    {
        const auto found = m_Creators.find(name);
        return found == m_Creators.end() ? nullptr : found->second;
    }
    void Clear() { m_Creators.clear(); }

    /// The entries in the order of their names, each a pair of name and shared creator.
    [[nodiscard]] ConstIterator begin() const noexcept { return m_Creators.begin(); }
    [[nodiscard]] ConstIterator end() const noexcept { return m_Creators.end(); }

private:
    std::map<K, std::shared_ptr<C>> m_Creators;
};
} // namespace Kelvra
