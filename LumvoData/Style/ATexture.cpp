#include <LumvoData/Style/ATexture.h>

#include <LumvoData/Contracts/KelvraData/ASerializationImpl.h>
#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(ATexture, L"ATexture")

template class TScenePtrCollector<std::shared_ptr<ATexture>>;

template <class Stream> void ATexture::SerializeXml(Stream& stream)
{
    AObject::Serialize(stream);
    if (stream.Push(GetClassId().GetName())) {
        ASerializationImpl::Field(stream, L"m_szName", &m_szName);
        ASerializationImpl::Field(stream, L"m_szFileName", &m_szFileName);
        ASerializationImpl::Field(stream, L"m_bEnableMask", &m_bEnableMask);
    }
    stream.Pop();
}

void ATexture::Serialize(AIStreamXML& stream)
{
    SerializeXml(stream);
}

void ATexture::Serialize(AOStreamXML& stream)
{
    SerializeXml(stream);
}

void ATexture::Serialize(ASceneSerializeContext& context)
{
    ASceneRecord record(context);
    record.Text("name", m_szName);
    record.Text("fileName", m_szFileName);
    record.Flag("enableMask", m_bEnableMask);
}
} // namespace Kelvra
