#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

using namespace Kelvra;

namespace {

TEST(SkyBox, NamesAnImageForEachSide)
{
    const ASkyBox box;
    std::wstring sides;
    for (const std::shared_ptr<ATexture>& texture : box.GetTextures()) {
        EXPECT_EQ(texture->GetName(), texture->GetFileName());
        sides += texture->GetFileName() + L' ';
    }
    EXPECT_EQ(sides, L"#skybox\\cloudy_noon_FR.jpg #skybox\\cloudy_noon_BK.jpg #skybox\\cloudy_noon_LF.jpg "
                     L"#skybox\\cloudy_noon_RT.jpg #skybox\\cloudy_noon_UP.jpg #skybox\\cloudy_noon_DN.jpg ");
}

TEST(Environment, SharesGridAndSkyBoxWithACopy)
{
    const AEnvironment environment, copy(environment);
    EXPECT_EQ(copy.GetWorkingPlane(), environment.GetWorkingPlane());
    EXPECT_EQ(copy.GetSkyBox(), environment.GetSkyBox());
    copy.GetSkyBox()->SetTexture(ASkyBox::SkyBoxUp, L"sky.png");
    EXPECT_EQ(environment.GetSkyBox()->GetTexture(ASkyBox::SkyBoxUp)->GetFileName(), L"sky.png");
    copy.GetSkyBox()->SetTexture(ASkyBox::SkyBoxUp, nullptr);
    EXPECT_EQ(environment.GetSkyBox()->GetTexture(ASkyBox::SkyBoxUp), nullptr);
}
} // namespace
