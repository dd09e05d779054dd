#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>
#include <vector>

namespace Kelvra {

/// Shared objects by key, in the order of their keys; what the registries of the process are made of.
///
/// - Ownership: shares its objects, so that one that was found stays valid after it is removed.
/// - Threads: every function but begin and end may be called from several threads at once.
template <class K, class T> class TRegistry
{
public:
    using ConstIterator = typename std::map<K, std::shared_ptr<T>>::const_iterator;
    using Entries = std::vector<std::pair<K, std::shared_ptr<T>>>;

    /// \returns false, with nothing changed, if the key is taken.
    bool Add(const K& key, std::shared_ptr<T> object)
    {
        const std::unique_lock<std::shared_mutex> lock(m_Mutex);
        return m_Entries.try_emplace(key, std::move(object)).second;
    }
    /// The object under that key, or a null pointer.
    [[nodiscard]] std::shared_ptr<T> Find(const K& key) const
    {
        const std::shared_lock<std::shared_mutex> lock(m_Mutex);
        const auto found = m_Entries.find(key);
        return found == m_Entries.end() ? nullptr : found->second;
    }
    /// \returns false if there is no such key.
    bool Remove(const K& key)
    {
        // Released after the lock: its destructor may use the registry.
        typename std::map<K, std::shared_ptr<T>>::node_type removed;
        const std::unique_lock<std::shared_mutex> lock(m_Mutex);
        removed = m_Entries.extract(key);
        return !removed.empty();
    }
    void Clear()
    {
        std::map<K, std::shared_ptr<T>> removed; // as in Remove
        const std::unique_lock<std::shared_mutex> lock(m_Mutex);
        removed.swap(m_Entries);
    }
    [[nodiscard]] std::size_t Size() const
    {
        const std::shared_lock<std::shared_mutex> lock(m_Mutex);
        return m_Entries.size();
    }
    /// A copy of the entries, which stays as it is while other threads change the registry.
    [[nodiscard]] Entries GetEntries() const
    {
        const std::shared_lock<std::shared_mutex> lock(m_Mutex);
        return Entries(m_Entries.begin(), m_Entries.end());
    }
    /// The entries themselves, while no other thread changes the registry.
    [[nodiscard]] ConstIterator begin() const noexcept { return m_Entries.begin(); }
    [[nodiscard]] ConstIterator end() const noexcept { return m_Entries.end(); }

private:
    mutable std::shared_mutex m_Mutex;
    std::map<K, std::shared_ptr<T>> m_Entries;
};
} // namespace Kelvra
