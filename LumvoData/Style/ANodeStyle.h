#pragma once

#include <LumvoData/Contracts/KelvraData/AObject.h>
#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/TScenePtrCollector.h>

#include <memory>

namespace Kelvra {

class ASceneSerializeContext;

/// How a scene node is drawn: a colour, and what the derived line and face styles add.
///
/// A plain ANodeStyle can be stored, but no scene file that holds one can be loaded whole: the class factory
/// makes line and face styles only.
///
/// - Units: colour as given, never clamped.
/// - Ownership: shared by the nodes that use it.
/// - Record: colour block (32 bytes).
class KELVRA_API ANodeStyle : public AObject
{
    KELVRA_DECLARE_CLASS_ID();

public:
    ANodeStyle() = default;
    explicit ANodeStyle(const AMath::ColourValue& colour) : m_Color(colour) {}

    [[nodiscard]] const AMath::ColourValue& GetColor() const noexcept { return m_Color; }
    void SetColor(const AMath::ColourValue& colour) noexcept { m_Color = colour; }

    using AObject::Serialize; // overriding one overload would hide the XML pair
    virtual void Serialize(ASceneSerializeContext& context);

protected:
    AMath::ColourValue m_Color{0.5F, 0.5F, 0.5F, 1.0F};
};

KELVRA_EXTERN_TEMPLATE(TScenePtrCollector<std::shared_ptr<ANodeStyle>>);
} // namespace Kelvra
