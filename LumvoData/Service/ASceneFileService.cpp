#include <LumvoData/Service/ASceneFileService.h>

namespace Kelvra {

ASceneFileService::~ASceneFileService() = default;

std::shared_ptr<ASceneNode> ASceneFileService::LoadFile(const std::wstring& fileName)
{
    return m_Loaded.Get(fileName, [this](const std::wstring& name) { return OnLoadFile(name); });
}

void ASceneFileService::ForgetFile(const std::wstring& fileName)
{
    m_Loaded.Forget(fileName);
}
} // namespace Kelvra
