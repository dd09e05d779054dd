#include <Formats/Gltf/MaterialList.h>

#include <Formats/Gltf/Pbr.h>
#include <Formats/Gltf/Uri.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Style/AFaceStyle.h>
#include <LumvoData/Style/ALineStyle.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace Formats::Gltf {
namespace {

using namespace Kelvra;

// As fine as the floats of a colour tell it, so that what is read is written as it was.
constexpr double s_MetallicSteps = 1e6;
constexpr float s_SameColour = 0.002F;   // half of what a screen can show
constexpr float s_SameShininess = 0.01F; // of the greater one

bool SameColour(const AMath::ColourValue& a, const AMath::ColourValue& b) noexcept
{
    return std::fabs(a.r - b.r) <= s_SameColour && std::fabs(a.g - b.g) <= s_SameColour &&
           std::fabs(a.b - b.b) <= s_SameColour;
}
} // namespace

std::uint32_t MaterialList::Add(const ANodeStyle& style, bool placed)
{
    const auto* const face = dynamic_cast<const AFaceStyle*>(&style);
    const AMaterial* const material = face != nullptr && face->IsUseMaterial() ? face->GetMaterial().get() : nullptr;
    const bool transparent = face != nullptr && face->IsTransparent();
    const void* const key = material != nullptr ? static_cast<const void*>(material) : &style;
    const bool textured = material != nullptr && material->GetDiffuseTexture();
    if (textured && !placed)
        m_Job.Lose("textures where there are no texture coordinates");
    const auto [place, first] =
        m_Indices.emplace(std::tuple(key, transparent, textured && placed), m_Materials.GetCount());
    if (!first)
        return place->second;
    if (material != nullptr)
        AddSurface(*material, transparent, textured && placed);
    else
        AddColour(style.GetColor(), transparent);
    const auto* const line = dynamic_cast<const ALineStyle*>(&style);
    if (line != nullptr && line->GetLineWidth() != 1)
        m_Job.Lose("widths of lines");
    return place->second;
}

void MaterialList::AddSurface(const AMaterial& material, bool transparent, bool textured)
{
    Pbr pbr = ToPbr(material);
    pbr.metallic = std::round(pbr.metallic * s_MetallicSteps) / s_MetallicSteps;
    const ATexture* const texture = material.GetDiffuseTexture().get();
    const std::optional<std::uint32_t> index = textured ? AddTexture(*texture) : std::nullopt;
    JsonText& text = m_Materials.Add();
    text << "{\"pbrMetallicRoughness\":{\"baseColorFactor\":";
    text.Array(Factors(pbr.base)) << ",\"metallicFactor\":" << pbr.metallic << ",\"roughnessFactor\":" << pbr.roughness;
    if (index)
        text << ",\"baseColorTexture\":{\"index\":" << *index << "}";
    text << "}";
    const AMath::ColourValue& e = material.GetEmission();
    const std::array<float, 3> emission = {Factor(e.r), Factor(e.g), Factor(e.b)};
    if (emission != std::array<float, 3>{})
        (text << ",\"emissiveFactor\":").Array(emission);
    if (transparent)
        text << ",\"alphaMode\":\"BLEND\"";
    else if (index && texture->IsEnableMask())
        text << ",\"alphaMode\":\"MASK\"";
    text << "}";
    CountLosses(material);
}

void MaterialList::AddColour(const AMath::ColourValue& colour, bool transparent)
{
    JsonText& text = m_Materials.Add();
    text << "{\"pbrMetallicRoughness\":{\"baseColorFactor\":";
    text.Array(Factors(colour)) << ",\"metallicFactor\":0}" << (transparent ? ",\"alphaMode\":\"BLEND\"" : "") << "}";
}

std::optional<std::uint32_t> MaterialList::AddTexture(const ATexture& texture)
{
    const auto [place, first] = m_TextureIndices.emplace(&texture, std::nullopt);
    if (!first)
        return place->second;
    std::string file = KvText::ToUtf8(texture.GetFileName());
    if (file.empty()) {
        m_Job.Lose("textures without a file name");
        return std::nullopt;
    }
    std::replace(file.begin(), file.end(), '\\', '/');
    const std::string uri = HasScheme(file) && file.find("://") != std::string::npos ? file : EncodePercent(file);
    JsonText& image = m_Images.Add();
    (image << "{\"uri\":").Quoted(uri);
    if (!texture.GetName().empty())
        (image << ",\"name\":").Quoted(KvText::ToUtf8(texture.GetName()));
    image << "}";
    m_Textures.Add() << "{\"source\":" << m_Images.GetCount() - 1 << "}";
    return place->second = m_Textures.GetCount() - 1;
}

std::array<float, 4> MaterialList::Factors(const AMath::ColourValue& colour)
{
    return {Factor(colour.r), Factor(colour.g), Factor(colour.b), Factor(colour.a)};
}

float MaterialList::Factor(float number)
{
    if (number >= 0 && number <= 1)
        return number;
    m_Job.Lose("parts of colours beyond 0 to 1");
    return number > 1 ? 1.0F : 0.0F;
}

void MaterialList::CountLosses(const AMaterial& material)
{
    AMaterial again;
    SetPbr(again, ToPbr(material));
    const float shininess = material.GetShininess();
    if (!SameColour(again.GetAmbient(), material.GetAmbient()))
        m_Job.Lose("ambient colours");
    if (!SameColour(again.GetSpecular(), material.GetSpecular()) ||
        !(std::fabs(again.GetShininess() - shininess) <= s_SameShininess * std::max(std::fabs(shininess), 1.0F)))
        m_Job.Lose("highlights that metal and roughness do not give");
    if (material.GetReflectionTexture())
        m_Job.Lose("reflection textures");
}

void MaterialList::AppendTo(OutputStream& document) const
{
    m_Materials.AppendTo(document, "materials");
    m_Textures.AppendTo(document, "textures");
    m_Images.AppendTo(document, "images");
}
} // namespace Formats::Gltf
