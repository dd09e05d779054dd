#pragma once

#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Entity/ASubEntity.h>

#include <string>

namespace Kelvra {

/// A text label placed in space: what it says, its colour, and the point it hangs from.
///
/// - Units: position in the owning entity's coordinates; colour as given, never clamped.
/// - Ownership: everything by value, so a copy shares nothing with its source.
/// - Record: sub-entity header, text, position (24 bytes), colour block (32 bytes).
/// - Errors: as ASceneSerializeContext::Read for the text. If a file ends early, the remaining members
///   keep their values.
class KELVRA_API ASubText : public ASubEntity
{
    KELVRA_DECLARE_CLASS_ID();

public:
    [[nodiscard]] const std::wstring& GetText() const noexcept { return m_szText; }
    void SetText(const std::wstring& text) { m_szText = text; }
    [[nodiscard]] const AMath::ColourValue& GetColor() const noexcept { return m_Color; }
    void SetColor(const AMath::ColourValue& colour) noexcept { m_Color = colour; }
    [[nodiscard]] const AMath::Vector3& GetPosition() const noexcept { return m_Position; }
    void SetPosition(const AMath::Vector3& position) noexcept { m_Position = position; }

    using ASubEntity::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;

private:
    std::wstring m_szText;
    AMath::ColourValue m_Color = AMath::ColourValue::Red;
    AMath::Vector3 m_Position = AMath::Vector3::ZERO;
};
} // namespace Kelvra
