#pragma once

#include <Formats/Gltf/JsonText.h>
#include <Formats/Support/ExportService.h>

#include <LumvoData/Style/AMaterial.h>
#include <LumvoData/Style/ANodeStyle.h>
#include <LumvoData/Style/ATexture.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <tuple>
#include <unordered_map>

namespace Formats::Gltf {

/// Materials made of styles, and their textures and images.
class MaterialList
{
public:
    explicit MaterialList(Export& job) : m_Job(job) {}

    /// The index of the material for a style, which is the same for styles that share a material of ours.
    /// \param placed whether what it is for has texture coordinates: without them a texture is not allowed.
    [[nodiscard]] std::uint32_t Add(const Kelvra::ANodeStyle& style, bool placed);
    void AppendTo(OutputStream& document) const;

private:
    void AddSurface(const Kelvra::AMaterial& material, bool transparent, bool textured);
    void AddColour(const AMath::ColourValue& colour, bool transparent);
    [[nodiscard]] std::optional<std::uint32_t> AddTexture(const Kelvra::ATexture& texture);
    [[nodiscard]] std::array<float, 4> Factors(const AMath::ColourValue& colour);
    [[nodiscard]] float Factor(float number);
    void CountLosses(const Kelvra::AMaterial& material);

    Export& m_Job;
    JsonArray m_Materials;
    JsonArray m_Textures; // of each image one, and of each texture of ours an image
    JsonArray m_Images;
    // By material or style, whether it is transparent, and whether it has its texture.
    std::map<std::tuple<const void*, bool, bool>, std::uint32_t> m_Indices;
    std::unordered_map<const Kelvra::ATexture*, std::optional<std::uint32_t>> m_TextureIndices;
};
} // namespace Formats::Gltf
