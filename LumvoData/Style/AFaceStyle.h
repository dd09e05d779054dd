#pragma once

#include <LumvoData/Style/AMaterial.h>
#include <LumvoData/Style/ANodeStyle.h>

#include <memory>

namespace Kelvra {

/// How faces are drawn: colour, a shared material, and flags that are kept only.
///
/// - Ownership: shares its material; a copy shares the same one.
/// - Record: colour block (32 bytes), transparent flag (1 byte), use-material flag (1 byte), the material's
///   reference.
/// - Errors: none of its own. If the material reads as null, the style keeps the one it had.
class KELVRA_API AFaceStyle : public ANodeStyle
{
    KELVRA_DECLARE_CLASS_ID();

public:
    /// Null if there is none.
    [[nodiscard]] const std::shared_ptr<AMaterial>& GetMaterial() const noexcept { return m_Material; }
    void SetMaterial(const std::shared_ptr<AMaterial>& material) noexcept { m_Material = material; }
    [[nodiscard]] bool IsTransparent() const noexcept { return m_bTransparent; }
    void SetTransparent(bool transparent) noexcept { m_bTransparent = transparent; }
    [[nodiscard]] bool IsUseMaterial() const noexcept { return m_bUseMaterial; }
    void SetUseMaterial(bool useMaterial) noexcept { m_bUseMaterial = useMaterial; }

    using ANodeStyle::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;

private:
    std::shared_ptr<AMaterial> m_Material;
    bool m_bTransparent = false;
    bool m_bUseMaterial = true;
};
} // namespace Kelvra
