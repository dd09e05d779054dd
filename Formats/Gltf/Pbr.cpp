#include <Formats/Gltf/Pbr.h>

#include <algorithm>
#include <cmath>

namespace Formats::Gltf {
namespace {

constexpr double s_Mirrored = 0.04;
constexpr double s_LeastRoughness = 0.1;
} // namespace

void SetRoughness(Kelvra::AMaterial& material, double roughness)
{
    const double r = std::clamp(roughness, s_LeastRoughness, 1.0);
    material.SetShininess(static_cast<float>(2 / (r * r * r * r) - 2));
}

void SetPbr(Kelvra::AMaterial& material, const Pbr& pbr)
{
    const double metallic = std::clamp(pbr.metallic, 0.0, 1.0);
    const auto specular = [&](float base) { return static_cast<float>(s_Mirrored + metallic * (base - s_Mirrored)); };
    material.SetDiffuse(pbr.base);
    material.SetAmbient({pbr.base.r, pbr.base.g, pbr.base.b});
    material.SetSpecular({specular(pbr.base.r), specular(pbr.base.g), specular(pbr.base.b)});
    SetRoughness(material, pbr.roughness);
}

Pbr ToPbr(const Kelvra::AMaterial& material)
{
    Pbr pbr;
    pbr.base = material.GetDiffuse();
    // The share of metal that brings the three channels nearest: least squares, because for a base of 0.04 a channel
    // tells nothing.
    double product = 0;
    double square = 0;
    const auto add = [&](float base, float specular) {
        product += (specular - s_Mirrored) * (base - s_Mirrored);
        square += (base - s_Mirrored) * (base - s_Mirrored);
    };
    add(pbr.base.r, material.GetSpecular().r);
    add(pbr.base.g, material.GetSpecular().g);
    add(pbr.base.b, material.GetSpecular().b);
    const double metallic = product / square;
    pbr.metallic = metallic > 0 ? std::min(metallic, 1.0) : 0; // 0 for what is no number
    const double shininess = material.GetShininess() > 0 ? static_cast<double>(material.GetShininess()) : 0;
    pbr.roughness = std::pow(2 / (shininess + 2), 0.25);
    return pbr;
}
} // namespace Formats::Gltf
