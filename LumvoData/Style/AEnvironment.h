#pragma once

#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Style/ASkyBox.h>
#include <LumvoData/View/AWorkingPlane.h>

#include <memory>

namespace Kelvra {

/// What surrounds a scene: the working-plane grid and the sky box.
///
/// - Ownership: shares both; a copy shares the same ones.
class KELVRA_API AEnvironment
{
public:
    AEnvironment();
    AEnvironment(const AEnvironment&) = default;
    AEnvironment& operator=(const AEnvironment&) = default;
    virtual ~AEnvironment();

    /// The grid, never null; it lives as long as an environment that shares it.
    [[nodiscard]] AWorkingPlane* GetWorkingPlane() const noexcept { return m_WorkingPlane.get(); }
    /// Null if there is none.
    [[nodiscard]] const std::shared_ptr<ASkyBox>& GetSkyBox() const noexcept { return m_SkyBox; }
    void SetSkyBox(const std::shared_ptr<ASkyBox>& skyBox) noexcept { m_SkyBox = skyBox; }

private:
    // Carried and copied for the binary interface; the library reads neither the vectors nor the colour.
    AMath::Vector3 m_FirstVector;
    AMath::Vector3 m_SecondVector;
    AMath::ColourValue m_Color{1.0F, 1.0F, 1.0F, 0.0F};
    std::shared_ptr<AWorkingPlane> m_WorkingPlane;
    std::shared_ptr<ASkyBox> m_SkyBox;
};
} // namespace Kelvra
