#include <LumvoData/Serialize/AScenePtrCollectorFactory.h>

namespace Kelvra {

AScenePtrCollectorFactory::AScenePtrCollectorFactory() = default;

AScenePtrCollectorFactory::~AScenePtrCollectorFactory() = default;

template <> AScenePtrCollectorFactory& TSingleton<AScenePtrCollectorFactory>::Instance()
{
    static AScenePtrCollectorFactory s_Instance;
    return s_Instance;
}
} // namespace Kelvra
