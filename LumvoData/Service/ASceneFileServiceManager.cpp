#include <LumvoData/Service/ASceneFileServiceManager.h>

namespace Kelvra {

ASceneFileServiceManager::ASceneFileServiceManager() = default;

ASceneFileServiceManager::~ASceneFileServiceManager() = default;

template <> ASceneFileServiceManager& TSingleton<ASceneFileServiceManager>::Instance()
{
    static ASceneFileServiceManager s_Instance;
    return s_Instance;
}
} // namespace Kelvra
