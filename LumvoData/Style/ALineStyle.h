#pragma once

#include <LumvoData/Style/ANodeStyle.h>

namespace Kelvra {

/// How lines are drawn: colour, opaque blue by default, width and a model-line flag that is kept only.
///
/// - Units: width as the viewer takes it.
/// - Record: colour block (32 bytes), width (float), model-line flag (1 byte).
class KELVRA_API ALineStyle : public ANodeStyle
{
    KELVRA_DECLARE_CLASS_ID();

public:
    ALineStyle() : ALineStyle(1.0F, AMath::ColourValue(0.0F, 0.0F, 1.0F, 1.0F)) {}
    ALineStyle(float lineWidth, const AMath::ColourValue& colour) : ANodeStyle(colour), m_LineWidth(lineWidth) {}

    [[nodiscard]] float GetLineWidth() const noexcept { return m_LineWidth; }
    void SetLineWidth(float width) noexcept { m_LineWidth = width; }
    [[nodiscard]] bool IsModelLine() const noexcept { return m_bModelLine; }
    void SetModelLine(bool modelLine) noexcept { m_bModelLine = modelLine; }

    using ANodeStyle::Serialize; // overriding one overload would hide the XML pair
    void Serialize(ASceneSerializeContext& context) override;

private:
    float m_LineWidth;
    bool m_bModelLine = false;
};
} // namespace Kelvra
