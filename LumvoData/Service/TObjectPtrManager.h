#pragma once

#include <LumvoData/Contracts/KelvraData/TRegistry.h>
#include <LumvoData/Contracts/KelvraService/KvAssert.h>

#include <memory>
#include <string>

namespace Kelvra {

template <class Pointer> class TObjectPtrManager;

/// A registry of shared objects by name; names are ordered by code units.
///
/// - Ownership: shares its objects, so that one that was fetched stays valid after it is removed.
/// - Threads: may be used from several threads at once, except that no other thread may change it between begin and
///   the last use of an iterator; GetObjects has no such limit.
template <class T> class TObjectPtrManager<std::shared_ptr<T>>
{
public:
    using ConstIterator = typename TRegistry<std::wstring, T>::ConstIterator;

    /// Registers an object under the name that it has now. A null pointer is reported with "Object is NULL!".
    /// \returns false, with nothing changed, if the name is taken or the pointer null.
    bool AddObject(const std::shared_ptr<T>& object)
    {
        return KvAssert::Assert(object != nullptr, "Object is NULL!", s_Source, s_NullObject) &&
               m_Objects.Add(object->GetName(), object);
    }
    /// The object registered under that name, or a null pointer.
    [[nodiscard]] std::shared_ptr<T> GetObject(const std::wstring& name) const { return m_Objects.Find(name); }
    void RemoveObject(const std::wstring& name) { m_Objects.Remove(name); }
    void Clear() noexcept { m_Objects.Clear(); }
    [[nodiscard]] int size() const noexcept { return static_cast<int>(m_Objects.Size()); }

    /// The entries in the order of their names, each a pair of name and object.
    [[nodiscard]] ConstIterator begin() const noexcept { return m_Objects.begin(); }
    [[nodiscard]] ConstIterator end() const noexcept { return m_Objects.end(); }
    /// A copy of the entries, which stays as it is while other threads change the registry.
    [[nodiscard]] typename TRegistry<std::wstring, T>::Entries GetObjects() const { return m_Objects.GetEntries(); }

private:
    static constexpr const char* s_Source = "Service/TObjectPtrManager";
    static constexpr int s_NullObject = 24;

    TRegistry<std::wstring, T> m_Objects;
};
} // namespace Kelvra
