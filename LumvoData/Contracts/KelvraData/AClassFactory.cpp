#include <LumvoData/Contracts/KelvraData/AClassFactory.h>

namespace Kelvra {

AClassFactory::AClassFactory() = default;

AClassFactory::~AClassFactory() = default;

template <> AClassFactory& TSingleton<AClassFactory>::Instance()
{
    static AClassFactory s_Instance;
    return s_Instance;
}
} // namespace Kelvra
