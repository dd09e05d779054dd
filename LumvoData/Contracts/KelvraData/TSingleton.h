#pragma once

namespace Kelvra {

/// Base of a class that exists once per process.
///
/// A class that several libraries of a process use declares, in its header, a specialisation of Instance()
/// exported by the library that owns it, and defines it in one source: an instance made here would exist
/// once per library.
template <class T> class TSingleton
{
public:
    /// The one instance, made on the first call, on whichever thread, and destroyed when its library is unloaded.
    static T& Instance()
    {
        static T s_Instance;
        return s_Instance;
    }

protected:
    TSingleton() = default;
};
} // namespace Kelvra
