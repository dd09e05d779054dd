#include <LumvoData/Serialize/ASceneSerializeCollector.h>

#include <LumvoData/Serialize/AScenePtrCollectorFactory.h>

namespace Kelvra {

void ASceneSerializeCollector::Begin()
{
    m_Known.clear();
    for (const auto& [name, creator] : TSingleton<AScenePtrCollectorFactory>::Instance().GetCreators())
        m_Collectors.insert_or_assign(name, std::shared_ptr<AScenePtrCollector>(creator->Create()));
}

void ASceneSerializeCollector::End()
{
    m_Known.clear();
    m_Collectors.clear();
}

const std::shared_ptr<AScenePtrCollector>* ASceneSerializeCollector::Find(const std::wstring& className) const
{
    const auto found = m_Collectors.find(className);
    if (!SceneReports::Check(found != m_Collectors.end(), SceneReports::CollectorNotFound))
        return nullptr;
    return &found->second;
}
} // namespace Kelvra
