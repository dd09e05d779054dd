#include <LumvoData/Style/ASkyBox.h>

namespace Kelvra {

ASkyBox::ASkyBox()
{
    SetTexture(SkyBoxFront, L"#skybox\\cloudy_noon_FR.jpg");
    SetTexture(SkyBoxBack, L"#skybox\\cloudy_noon_BK.jpg");
    SetTexture(SkyBoxLeft, L"#skybox\\cloudy_noon_LF.jpg");
    SetTexture(SkyBoxRight, L"#skybox\\cloudy_noon_RT.jpg");
    SetTexture(SkyBoxUp, L"#skybox\\cloudy_noon_UP.jpg");
    SetTexture(SkyBoxDown, L"#skybox\\cloudy_noon_DN.jpg");
}

ASkyBox::~ASkyBox() = default;

void ASkyBox::SetTexture(SkyBoxSide side, const std::wstring& fileName)
{
    const auto texture = std::make_shared<ATexture>();
    texture->SetName(fileName);
    texture->SetFileName(fileName);
    SetTexture(side, texture);
}
} // namespace Kelvra
