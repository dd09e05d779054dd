#pragma once

#include <LumvoData/Contracts/KelvraData/TRegistry.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <memory>
#include <utility>

namespace Kelvra {

/// A registry of creators `C`, a TObjectCreatorBase, by key `K`; names are ordered by code units.
///
/// - Ownership: shares its creators; the objects they make belong to the caller.
/// - Threads: may be used from several threads at once, except that no other thread may change it between begin and
///   the last use of an iterator; GetCreators has no such limit.
template <class K, class C> class KELVRA_TEMPLATE_API TObjectFactory
{
public:
    using ObjectType = typename C::ObjectType;
    using ConstIterator = typename TRegistry<K, C>::ConstIterator;

    virtual ~TObjectFactory() = default;

    /// Registers a creator.
    /// \returns false, with nothing changed, if the name is taken or the creator null.
    bool RegisterObject(const K& name, std::shared_ptr<C> creator)
    {
        return creator && m_Creators.Add(name, std::move(creator));
    }
    /// Removes the creator under `name`.
    /// \returns false if there is none.
    bool UnRegisterObject(const K& name) { return m_Creators.Remove(name); }
    /// A new object of the class registered under `name`, which the caller owns; null if there is none.
    [[nodiscard]] ObjectType* CreateObject(const K& name) const
    {
        const std::shared_ptr<C> creator = FindCreator(name);
        return creator ? creator->Create() : nullptr;
    }
    /// The creator registered under `name`, for callers that make many objects of one class; null if there is none.
    [[nodiscard]] std::shared_ptr<C> FindCreator(const K& name) const { return m_Creators.Find(name); }
    void Clear() { m_Creators.Clear(); }

    /// The entries in the order of their names, each a pair of name and shared creator.
    [[nodiscard]] ConstIterator begin() const noexcept { return m_Creators.begin(); }
    [[nodiscard]] ConstIterator end() const noexcept { return m_Creators.end(); }
    /// A copy of the entries, which stays as it is while other threads change the factory.
    [[nodiscard]] typename TRegistry<K, C>::Entries GetCreators() const { return m_Creators.GetEntries(); }

private:
    TRegistry<K, C> m_Creators;
};
} // namespace Kelvra
