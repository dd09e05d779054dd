#pragma once

#include <Formats/Gltf/Buffers.h>
#include <Formats/Gltf/Json.h>
#include <Formats/Support/Import.h>

#include <LumvoData/Style/AFaceStyle.h>
#include <LumvoData/Style/ALineStyle.h>
#include <LumvoData/Style/ATexture.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Formats::Gltf {

/// Makes styles of materials, each once.
class Materials
{
public:
    Materials(Import& job, const JsonValue& document, Buffers& buffers);

    struct Look
    {
        std::shared_ptr<Kelvra::AFaceStyle> face;
        std::shared_ptr<Kelvra::ALineStyle> line;
    };

    /// The index that a value holds.
    [[nodiscard]] std::uint32_t IndexOf(const JsonValue& value) const
    {
        return value.AsIndex(m_Values.size(), "materials");
    }
    [[nodiscard]] const Look& Get(std::uint32_t material);
    /// Which of a vertex's texture coordinates the texture is placed by.
    [[nodiscard]] std::uint64_t GetTexCoordSet(std::uint32_t material) const;

private:
    [[nodiscard]] Look Make(const JsonValue& value);
    void CountLosses(const JsonValue& value);
    [[nodiscard]] std::shared_ptr<Kelvra::ATexture> MakeTexture(const JsonValue& textureInfo, bool mask);
    [[nodiscard]] std::wstring FileNameOf(std::uint32_t image);
    [[nodiscard]] std::wstring Keep(std::uint32_t image, const std::string& mediaType, const std::string& bytes);

    Import& m_Job;
    Buffers& m_Buffers;
    std::vector<JsonValue> m_Values;
    std::vector<JsonValue> m_TextureValues;
    std::vector<JsonValue> m_ImageValues;
    std::vector<JsonValue> m_SamplerValues;
    std::vector<Look> m_Looks;
    std::vector<std::optional<std::wstring>> m_FileNames;                                   // of images
    std::map<std::pair<std::uint32_t, bool>, std::shared_ptr<Kelvra::ATexture>> m_Textures; // by image and mask
    std::unordered_set<std::wstring> m_Kept;                                                // names of embedded images
};
} // namespace Formats::Gltf
