#pragma once

#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Style/AMaterial.h>

namespace Formats::Gltf {

/// A surface as glTF describes it: light that enters it, or is mirrored the more the more it is of metal, by facets
/// that point the more ways the rougher it is.
struct Pbr
{
    AMath::ColourValue base{1, 1, 1, 1};
    double metallic = 1;
    double roughness = 1;
};

/// Sets what a material has of these: with b the base colour, m metallic and r roughness,
///
///     diffuse   = b
///     ambient   = b
///     specular  = 0.04 + m (b - 0.04)
///     shininess = 2 / r^4 - 2, with r not less than 0.1
///
/// 0.04 is what surfaces other than metal mirror of light that falls straight on them, and the exponent gives
/// highlights the width that facets with that roughness give them.
void SetPbr(Kelvra::AMaterial& material, const Pbr& pbr);
void SetRoughness(Kelvra::AMaterial& material, double roughness);

/// The surface that SetPbr makes such a material of, or the one nearest to it.
[[nodiscard]] Pbr ToPbr(const Kelvra::AMaterial& material);
} // namespace Formats::Gltf
