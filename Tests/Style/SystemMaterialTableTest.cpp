#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

using namespace Kelvra;

namespace {

const wchar_t* const s_Names[] = {
    L"emerald",       L"jade",         L"obsidian",      L"pearl",       L"ruby",          L"turquoise",
    L"brass",         L"bronze",       L"chrome",        L"copper",      L"gold",          L"silver",
    L"black plastic", L"cyan plastic", L"green plastic", L"red plastic", L"white plastic", L"yellow plastic",
    L"black rubber",  L"cyan rubber",  L"green rubber",  L"red rubber",  L"white rubber",  L"yellow rubber",
};

/// Ambient, diffuse, specular and emission as r, g, b, a each, then shininess.
std::vector<float> ValuesOf(const AMaterial& material)
{
    std::vector<float> values;
    for (const AMath::ColourValue& c :
         {material.GetAmbient(), material.GetDiffuse(), material.GetSpecular(), material.GetEmission()})
        values.insert(values.end(), {c.r, c.g, c.b, c.a});
    values.push_back(material.GetShininess());
    return values;
}

TEST(SystemMaterials, HoldExactValues)
{
    // FNV-1a, 64 bits, over the bytes of all floats, little-endian, in the order of s_Names. The constant was
    // computed apart from the library, from the decimals of ambient, diffuse, specular and shininess, each rounded
    // once to the nearest float; alphas are 1, emissions 0.
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const wchar_t* name : s_Names) {
        const auto material = TSingleton<ASystemMaterialTable>::Instance().FindMaterial(name);
        ASSERT_TRUE(material) << name;
        for (const float value : ValuesOf(*material)) {
            std::uint32_t bits = 0;
            std::memcpy(&bits, &value, sizeof bits);
            for (int shift = 0; shift < 32; shift += 8)
                hash = (hash ^ (bits >> shift & 0xFF)) * 0x100000001B3U;
        }
    }
    EXPECT_EQ(hash, 0x99AD90F5210FA38FU);
    // Said once more by name, for whoever finds the sum changed.
    EXPECT_EQ(AMaterial(L"gold").GetDiffuse(), AMath::ColourValue(0.75164F, 0.60648F, 0.22648F, 1));
    EXPECT_EQ(AMaterial(L"cyan plastic").GetDiffuse().g, 0.5098039F);
    EXPECT_EQ(AMaterial(L"brass").GetShininess(), 27.897436F);
}

TEST(SystemMaterials, MakeMaterialsOfTheirOwnWithoutTextures)
{
    ASystemMaterialTable& table = TSingleton<ASystemMaterialTable>::Instance();
    EXPECT_EQ(ValuesOf(AMaterial(L"Ruby")), ValuesOf(AMaterial())) << "names are exact";
    const auto ruby = table.FindMaterial(L"ruby");
    const auto mine = std::make_shared<AMaterial>(L"gold");
    mine->SetEmission({0.5F, 0.25F, 0.125F, 0.75F});
    mine->SetDiffuseTexture(std::make_shared<ATexture>());
    EXPECT_NE(ValuesOf(*table.FindMaterial(L"gold")), ValuesOf(*mine));
    table.AddMaterial(L"ruby", mine);
    const AMaterial made(L"ruby");
    table.AddMaterial(L"ruby", ruby); // other tests find the table of the process as it was
    EXPECT_EQ(ValuesOf(made), ValuesOf(*mine));
    EXPECT_EQ(made.GetDiffuseTexture(), nullptr);
}
} // namespace
