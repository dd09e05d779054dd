#pragma once

#include <LumvoData/Contracts/KelvraData/AObject.h>
#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/TScenePtrCollector.h>
#include <LumvoData/Style/ATexture.h>

#include <memory>
#include <string>

namespace Kelvra {

class ASceneSerializeContext;

/// The lighting description of a surface: four colours, shininess and two textures.
///
/// - Units: colours as given, never clamped; shininess is the exponent of the specular term.
/// - Ownership: shares its textures; a copy shares the same ones.
/// - Record: ambient, diffuse, specular and emission colour blocks (32 bytes each), shininess (float), the
///   references of the diffuse and the reflection texture.
/// - XML: element "AMaterial" holding "m_Ambient", "m_Diffuse", "m_Specular", "m_Emission" and
///   "m_Shininess". The textures have no XML form.
/// - Errors: none of its own. Where a texture reads as null or an XML element is missing, the material keeps
///   what it had.
class KELVRA_API AMaterial : public AObject
{
    KELVRA_DECLARE_CLASS_ID();

public:
    AMaterial() = default;
    /// Copies colours and shininess of the system material of that name, not its textures; a name that the
    /// ASystemMaterialTable does not hold gives the default material.
    explicit AMaterial(const std::wstring& name);

    [[nodiscard]] const AMath::ColourValue& GetAmbient() const noexcept { return m_Ambient; }
    void SetAmbient(const AMath::ColourValue& colour) noexcept { m_Ambient = colour; }
    [[nodiscard]] const AMath::ColourValue& GetDiffuse() const noexcept { return m_Diffuse; }
    void SetDiffuse(const AMath::ColourValue& colour) noexcept { m_Diffuse = colour; }
    [[nodiscard]] const AMath::ColourValue& GetSpecular() const noexcept { return m_Specular; }
    void SetSpecular(const AMath::ColourValue& colour) noexcept { m_Specular = colour; }
    [[nodiscard]] const AMath::ColourValue& GetEmission() const noexcept { return m_Emission; }
    void SetEmission(const AMath::ColourValue& colour) noexcept { m_Emission = colour; }
    [[nodiscard]] float GetShininess() const noexcept { return m_Shininess; }
    void SetShininess(float shininess) noexcept { m_Shininess = shininess; }
    /// Null if there is none.
    [[nodiscard]] const std::shared_ptr<ATexture>& GetDiffuseTexture() const noexcept { return m_DiffuseTexture; }
    void SetDiffuseTexture(const std::shared_ptr<ATexture>& texture) noexcept { m_DiffuseTexture = texture; }
    /// Null if there is none.
    [[nodiscard]] const std::shared_ptr<ATexture>& GetReflectionTexture() const noexcept { return m_ReflectionTexture; }
    void SetReflectionTexture(const std::shared_ptr<ATexture>& texture) noexcept { m_ReflectionTexture = texture; }

    void Serialize(AIStreamXML& stream) override;
    void Serialize(AOStreamXML& stream) override;
    virtual void Serialize(ASceneSerializeContext& context);

private:
    template <class Stream> void SerializeXml(Stream& stream);

    AMath::ColourValue m_Ambient{0.23125F, 0.23125F, 0.23125F, 1.0F};
    AMath::ColourValue m_Diffuse{0.2775F, 0.2775F, 0.2775F, 1.0F};
    AMath::ColourValue m_Specular{0.773911F, 0.773911F, 0.773911F, 1.0F};
    AMath::ColourValue m_Emission{0.0F, 0.0F, 0.0F, 1.0F};
    float m_Shininess = 89.6F;
    std::shared_ptr<ATexture> m_DiffuseTexture;
    std::shared_ptr<ATexture> m_ReflectionTexture;
};

KELVRA_EXTERN_TEMPLATE(TScenePtrCollector<std::shared_ptr<AMaterial>>);
} // namespace Kelvra
