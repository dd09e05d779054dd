#include <LumvoData/Style/AMaterial.h>

#include <LumvoData/Contracts/KelvraData/ASerializationImpl.h>
#include <LumvoData/Serialize/ASceneRecord.h>
#include <LumvoData/Style/ASystemMaterialTable.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(AMaterial, L"AMaterial")

template class TScenePtrCollector<std::shared_ptr<AMaterial>>;

AMaterial::AMaterial(const std::wstring& name)
{
    const std::shared_ptr<AMaterial> system = TSingleton<ASystemMaterialTable>::Instance().FindMaterial(name);
    if (!system)
        return;
    m_Ambient = system->m_Ambient;
    m_Diffuse = system->m_Diffuse;
    m_Specular = system->m_Specular;
    m_Emission = system->m_Emission;
    m_Shininess = system->m_Shininess;
}

template <class Stream> void AMaterial::SerializeXml(Stream& stream)
{
    AObject::Serialize(stream);
    if (stream.Push(GetClassId().GetName())) {
        ASerializationImpl::Field(stream, L"m_Ambient", &m_Ambient);
        ASerializationImpl::Field(stream, L"m_Diffuse", &m_Diffuse);
        ASerializationImpl::Field(stream, L"m_Specular", &m_Specular);
        ASerializationImpl::Field(stream, L"m_Emission", &m_Emission);
        ASerializationImpl::Field(stream, L"m_Shininess", &m_Shininess);
    }
    stream.Pop();
}

void AMaterial::Serialize(AIStreamXML& stream)
{
    SerializeXml(stream);
}

void AMaterial::Serialize(AOStreamXML& stream)
{
    SerializeXml(stream);
}

void AMaterial::Serialize(ASceneSerializeContext& context)
{
    ASceneRecord record(context);
    record.Colour("ambient", m_Ambient);
    record.Colour("diffuse", m_Diffuse);
    record.Colour("specular", m_Specular);
    record.Colour("emission", m_Emission);
    record.Number("shininess", m_Shininess);
    record.Pointer("diffuseTexture", m_DiffuseTexture);
    record.Pointer("reflectionTexture", m_ReflectionTexture);
}
} // namespace Kelvra
