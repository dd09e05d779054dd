#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace Kelvra {

/// What a file service has loaded, by file name exactly as it was given; null results are kept too.
///
/// - Threads: may be used from several threads at once. Loaders run without a lock, for one name possibly in several
///   threads at the same time: the first result that is recorded is then returned to all of them.
template <class T> class TLoadCache
{
public:
    TLoadCache() = default;
    TLoadCache(const TLoadCache& other) : m_Loaded(other.GetEntries()) {}
    TLoadCache& operator=(const TLoadCache& other)
    {
        Entries loaded = other.GetEntries(); // and then what was there before, released after the lock
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_Loaded.swap(loaded);
        return *this;
    }

    /// What was loaded under that name before; otherwise what `load` returns now, which is kept. Nothing is
    /// kept if `load` throws.
    template <class Load> std::shared_ptr<T> Get(const std::wstring& fileName, Load load)
    {
        {
            const std::lock_guard<std::mutex> lock(m_Mutex);
            const auto found = m_Loaded.find(fileName);
            if (found != m_Loaded.end())
                return found->second.object;
        }
        const Entry loaded{load(fileName), std::this_thread::get_id()};
        std::shared_ptr<T> replaced; // released after the lock
        const std::lock_guard<std::mutex> lock(m_Mutex);
        Entry& kept = m_Loaded.try_emplace(fileName, loaded).first->second;
        if (kept.loader == loaded.loader) // new, or left by a load of the same name within this one
            replaced = std::exchange(kept.object, loaded.object);
        return kept.object;
    }
    void Forget(const std::wstring& fileName)
    {
        typename Entries::node_type removed; // released after the lock
        const std::lock_guard<std::mutex> lock(m_Mutex);
        removed = m_Loaded.extract(fileName);
    }

private:
    struct Entry
    {
        std::shared_ptr<T> object;
        std::thread::id loader;
    };
    using Entries = std::map<std::wstring, Entry>;

    Entries GetEntries() const
    {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Loaded;
    }

    mutable std::mutex m_Mutex;
    Entries m_Loaded;
};
} // namespace Kelvra
