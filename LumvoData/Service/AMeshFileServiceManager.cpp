#include <LumvoData/Service/AMeshFileServiceManager.h>

namespace Kelvra {

AMeshFileServiceManager::AMeshFileServiceManager() = default;

AMeshFileServiceManager::~AMeshFileServiceManager() = default;

template <> AMeshFileServiceManager& TSingleton<AMeshFileServiceManager>::Instance()
{
    static AMeshFileServiceManager s_Instance;
    return s_Instance;
}
} // namespace Kelvra
