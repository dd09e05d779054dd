#pragma once

#include <map>
#include <memory>
#include <string>

namespace Kelvra {

template <class Pointer> class TObjectPtrManager;

/// A registry of shared objects by name; names are ordered by code units.
///
/// - Ownership: shares its objects, so that one that was fetched stays valid after it is removed.
/// - Threads: nothing is locked.
template <class T> class TObjectPtrManager<std::shared_ptr<T>>
{
public:
    using ConstIterator = typename std::map<std::wstring, std::shared_ptr<T>>::const_iterator;

    /// Registers an object, which must not be empty, under the name that it has now.
    /// \returns false, with nothing changed, when the name is taken.
    bool AddObject(const std::shared_ptr<T>& object) { return m_Objects.try_emplace(object->GetName(), object).second; }
    /// The object registered under that name, or an empty pointer.
    [[nodiscard]] std::shared_ptr<T> GetObject(const std::wstring& name) const
    {
        const auto found = m_Objects.find(name);
        return found == m_Objects.end() ? nullptr : found->second;
    }
    void RemoveObject(const std::wstring& name) { m_Objects.erase(name); }
    void Clear() noexcept { m_Objects.clear(); }
    [[nodiscard]] int size() const noexcept { return static_cast<int>(m_Objects.size()); }

    /// The entries in the order of their names, each a pair of name and object.
    [[nodiscard]] ConstIterator begin() const noexcept { return m_Objects.begin(); }
    [[nodiscard]] ConstIterator end() const noexcept { return m_Objects.end(); }

private:
    std::map<std::wstring, std::shared_ptr<T>> m_Objects;
};
} // namespace Kelvra
