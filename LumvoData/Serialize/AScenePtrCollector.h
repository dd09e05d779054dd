#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

namespace Kelvra {

/// Base of all pointer collectors, so that a collector set can hold every kind and find the right one by a
/// checked cast.
class KELVRA_API AScenePtrCollector
{
public:
    AScenePtrCollector() = default;
    AScenePtrCollector(const AScenePtrCollector&) = default;
    AScenePtrCollector& operator=(const AScenePtrCollector&) = default;
    virtual ~AScenePtrCollector() = 0;
};

/// The shared pointers of one type in one run; the one form there is, over `std::shared_ptr<T>`, is in
/// TScenePtrCollector.h.
template <class Pointer> class TScenePtrCollector;
} // namespace Kelvra
