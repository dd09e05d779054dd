#pragma once

#include <LumvoData/Contracts/KelvraData/AObject.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/TScenePtrCollector.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Kelvra {

class ASceneSerializeContext;

/// An image that materials and sky boxes refer to, by name: nothing is loaded here.
///
/// - Ownership: shared by its holders.
/// - Record: name, file name, enable-mask flag (1 byte). The tag is not stored.
/// - XML: element "ATexture" holding "m_szName", "m_szFileName" and "m_bEnableMask".
/// - Errors: as ASceneSerializeContext::Read for the strings. An XML element that is missing leaves what the
///   texture had.
class KELVRA_API ATexture : public AObject
{
    KELVRA_DECLARE_CLASS_ID();

public:
    [[nodiscard]] const std::wstring& GetName() const noexcept { return m_szName; }
    void SetName(const std::wstring& name) { m_szName = name; }
    /// Where the image is; resolved by whoever loads it.
    [[nodiscard]] const std::wstring& GetFileName() const noexcept { return m_szFileName; }
    void SetFileName(const std::wstring& fileName) { m_szFileName = fileName; }
    /// A caller's label.
    [[nodiscard]] int GetTag() const noexcept { return m_nTag; }
    void SetTag(int tag) noexcept { m_nTag = tag; }
    [[nodiscard]] bool IsEnableMask() const noexcept { return m_bEnableMask; }
    void SetEnableMask(bool enable) noexcept { m_bEnableMask = enable; }

    void Serialize(AIStreamXML& stream) override;
    void Serialize(AOStreamXML& stream) override;
    virtual void Serialize(ASceneSerializeContext& context);

private:
    template <class Stream> void SerializeXml(Stream& stream);

    std::wstring m_szName;
    std::wstring m_szFileName;
    std::int32_t m_nTag = 0;
    bool m_bEnableMask = false;
};

KELVRA_EXTERN_TEMPLATE(TScenePtrCollector<std::shared_ptr<ATexture>>);
} // namespace Kelvra
