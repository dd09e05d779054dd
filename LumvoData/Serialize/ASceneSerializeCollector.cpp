#include <LumvoData/Serialize/ASceneSerializeCollector.h>

#include <LumvoData/Contracts/KelvraData/AClassFactory.h>
#include <LumvoData/Contracts/KelvraService/KvAssert.h>
#include <LumvoData/Serialize/ASceneFieldVisitor.h>
#include <LumvoData/Serialize/AScenePtrCollectorFactory.h>

#include <string_view>

namespace Kelvra {

void ASceneSerializeCollector::Begin()
{
    Forget();
    for (const auto& [name, creator] : TSingleton<AScenePtrCollectorFactory>::Instance().GetCreators())
        m_Collectors.insert_or_assign(name, std::shared_ptr<AScenePtrCollector>(creator->Create()));
}

void ASceneSerializeCollector::End()
{
    Forget();
    m_Collectors.clear();
}

void ASceneSerializeCollector::Forget()
{
    m_Known.clear();
    m_Checked.fill(nullptr);
    m_NotCreatable.clear();
}

void ASceneSerializeCollector::Visit(const AClassId& collector, std::shared_ptr<AObject> object)
{
    const ASceneReferenceField field{"", ASceneFieldKind::Reference, &collector, &collector};
    m_Visitor->OnReferences(field, 1);
    m_Visitor->OnReference(field, object);
}

const std::shared_ptr<AScenePtrCollector>* ASceneSerializeCollector::Find(const std::wstring& className)
{
    const auto found = m_Collectors.find(className);
    if (!Check(found != m_Collectors.end(), SceneReports::CollectorNotFound))
        return nullptr;
    return &found->second;
}

bool ASceneSerializeCollector::Report(const ASceneReport& report)
{
    ++m_ReportCount;
    return KvAssert::Assert(false, report.message, report.source, report.line);
}

void ASceneSerializeCollector::Fail(const ASceneReport& report, std::wstring className)
{
    const std::string_view message = report.message;
    className.insert(className.begin(), message.begin(), message.end());
    ++m_ReportCount;
    KvAssert::Assert(false, className, report.source, report.line);
}

void ASceneSerializeCollector::CheckCreatableName(const std::wstring& className)
{
    if (!TSingleton<AClassFactory>::Instance().FindCreator(className) && m_NotCreatable.insert(className).second)
        Fail(SceneReports::NotCreatable, className);
}
} // namespace Kelvra
