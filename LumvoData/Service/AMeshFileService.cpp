#include <LumvoData/Service/AMeshFileService.h>

namespace Kelvra {

AMeshFileService::~AMeshFileService() = default;

std::shared_ptr<AEntity> AMeshFileService::LoadFile(const std::wstring& fileName)
{
    return m_Loaded.Get(fileName, [this](const std::wstring& name) { return OnLoadFile(name); });
}

void AMeshFileService::ForgetFile(const std::wstring& fileName)
{
    m_Loaded.Forget(fileName);
}
} // namespace Kelvra
