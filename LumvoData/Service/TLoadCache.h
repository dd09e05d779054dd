#pragma once

#include <map>
#include <memory>
#include <string>

namespace Kelvra {

/// What a file service has loaded, by file name exactly as it was given; empty results are kept too.
template <class T> class TLoadCache
{
public:
    /// What was loaded under that name before; otherwise what `load` returns now, which is kept. Nothing is
    /// kept when `load` throws.
    template <class Load> std::shared_ptr<T> Get(const std::wstring& fileName, Load load)
    {
        const auto found = m_Loaded.find(fileName);
        if (found != m_Loaded.end())
            return found->second;
        std::shared_ptr<T> loaded = load(fileName);
        m_Loaded[fileName] = loaded; // the loader may have loaded the same name meanwhile: the last one is kept
        return loaded;
    }
    void Forget(const std::wstring& fileName) { m_Loaded.erase(fileName); }

private:
    std::map<std::wstring, std::shared_ptr<T>> m_Loaded;
};
} // namespace Kelvra
