#include <Formats/Gltf/Materials.h>

#include <Formats/Gltf/Pbr.h>
#include <Formats/Gltf/Uri.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <algorithm>
#include <string_view>

namespace Formats::Gltf {
namespace {

using namespace Kelvra;

constexpr std::uint64_t s_Repeat = 10497;
constexpr std::size_t s_LongestName = 100;

/// The texture that gives a material its colours.
std::optional<JsonValue> ColourTexture(const JsonValue& material)
{
    if (const auto glossy = material.FindExtension("KHR_materials_pbrSpecularGlossiness"))
        return glossy->Find("diffuseTexture");
    const auto pbr = material.Find("pbrMetallicRoughness");
    return pbr ? pbr->Find("baseColorTexture") : std::nullopt;
}

std::wstring ExtensionOf(const std::string& mediaType, std::string_view bytes)
{
    const auto begins = [&](std::string_view magic) { return bytes.substr(0, magic.size()) == magic; };
    if (begins("\x89PNG"))
        return L".png";
    if (begins("\xFF\xD8\xFF"))
        return L".jpg";
    if (begins("RIFF") && bytes.substr(8, 4) == "WEBP")
        return L".webp";
    if (begins("\xABKTX 20"))
        return L".ktx2";
    return mediaType == "image/png" ? L".png" : mediaType == "image/jpeg" ? L".jpg" : L".img";
}

/// A name that is a file name on every system.
std::wstring Tame(std::wstring name)
{
    name.resize(std::min(name.size(), s_LongestName));
    const auto wild = [](wchar_t c) {
        return c < 32 || c == 127 || std::wstring_view(L"/\\:*?\"<>|").find(c) != std::wstring_view::npos;
    };
    std::replace_if(name.begin(), name.end(), wild, L'_');
    return name;
}
} // namespace

Materials::Materials(Import& job, const JsonValue& document, Buffers& buffers)
    : m_Job(job), m_Buffers(buffers), m_Values(document.List("materials")), m_TextureValues(document.List("textures")),
      m_ImageValues(document.List("images")), m_SamplerValues(document.List("samplers")), m_Looks(m_Values.size()),
      m_FileNames(m_ImageValues.size())
{}

std::uint64_t Materials::GetTexCoordSet(std::uint32_t material) const
{
    const auto texture = ColourTexture(m_Values[material]);
    return texture ? texture->Integer("texCoord", 0) : 0;
}

const Materials::Look& Materials::Get(std::uint32_t material)
{
    Look& look = m_Looks[material];
    if (!look.face)
        look = Make(m_Values[material]);
    return look;
}

Materials::Look Materials::Make(const JsonValue& value)
{
    const auto material = std::make_shared<AMaterial>();
    Pbr pbr;
    float base[4] = {1, 1, 1, 1};
    const auto glossy = value.FindExtension("KHR_materials_pbrSpecularGlossiness");
    if (glossy) {
        float specular[3] = {1, 1, 1};
        glossy->Numbers("diffuseFactor", base);
        glossy->Numbers("specularFactor", specular);
        pbr.base = {base[0], base[1], base[2], base[3]};
        pbr.roughness = 1 - static_cast<double>(glossy->Float("glossinessFactor", 1));
        SetPbr(*material, pbr);
        material->SetSpecular({specular[0], specular[1], specular[2]});
    } else {
        if (const auto rough = value.Find("pbrMetallicRoughness")) {
            rough->Numbers("baseColorFactor", base);
            const auto number = [&](std::string_view name) {
                const auto member = rough->Find(name);
                return member ? member->AsNumber() : 1.0;
            };
            pbr.metallic = number("metallicFactor");
            pbr.roughness = number("roughnessFactor");
        }
        pbr.base = {base[0], base[1], base[2], base[3]};
        SetPbr(*material, pbr);
    }
    float emission[3] = {0, 0, 0};
    value.Numbers("emissiveFactor", emission);
    material->SetEmission({emission[0], emission[1], emission[2]});

    const auto alphaMode = value.Find("alphaMode");
    const std::string mode = alphaMode ? alphaMode->AsText() : "OPAQUE";
    const bool mask = mode == "MASK";
    if (!mask && mode != "OPAQUE" && mode != "BLEND")
        alphaMode->Fail(Quote(mode) + " is no alpha mode");
    if (const auto texture = ColourTexture(value))
        material->SetDiffuseTexture(MakeTexture(*texture, mask));
    else if (mask)
        m_Job.Lose("alpha masks without a texture");
    if (mask && value.Float("alphaCutoff", 0.5F) != 0.5F)
        m_Job.Lose("alpha cutoffs");
    CountLosses(value);

    Look look{std::make_shared<AFaceStyle>(), std::make_shared<ALineStyle>(1.0F, pbr.base)};
    look.face->SetColor(pbr.base);
    look.face->SetMaterial(material);
    look.face->SetTransparent(mode == "BLEND");
    return look;
}

void Materials::CountLosses(const JsonValue& value)
{
    if (!value.Text("name").empty())
        m_Job.Lose("names of materials");
    if (value.Flag("doubleSided", false))
        m_Job.Lose("double-sided materials");
    if (value.FindExtension("KHR_materials_unlit"))
        m_Job.Lose("unlit materials");
    const auto loseTexture = [&](const std::optional<JsonValue>& holder, const char* name, const char* what) {
        if (!holder)
            return;
        if (const auto texture = holder->Find(name)) {
            (void)texture->At("index").AsIndex(m_TextureValues.size(), "textures");
            m_Job.Lose(what);
        }
    };
    loseTexture(value.Find("pbrMetallicRoughness"), "metallicRoughnessTexture", "metallic-roughness textures");
    loseTexture(value.FindExtension("KHR_materials_pbrSpecularGlossiness"), "specularGlossinessTexture",
                "specular-glossiness textures");
    loseTexture(value, "normalTexture", "normal textures");
    loseTexture(value, "occlusionTexture", "occlusion textures");
    loseTexture(value, "emissiveTexture", "emissive textures");
}

std::shared_ptr<ATexture> Materials::MakeTexture(const JsonValue& textureInfo, bool mask)
{
    const JsonValue texture = m_TextureValues[textureInfo.At("index").AsIndex(m_TextureValues.size(), "textures")];
    if (const auto index = texture.Find("sampler")) {
        const JsonValue sampler = m_SamplerValues[index->AsIndex(m_SamplerValues.size(), "samplers")];
        if (sampler.Integer("wrapS", s_Repeat) != s_Repeat || sampler.Integer("wrapT", s_Repeat) != s_Repeat)
            m_Job.Lose("textures that do not repeat");
    }
    const auto source = texture.Find("source");
    if (!source) {
        m_Job.Lose("textures without an image");
        return nullptr;
    }
    const std::uint32_t image = source->AsIndex(m_ImageValues.size(), "images");
    const auto found = m_Textures.find({image, mask});
    if (found != m_Textures.end())
        return found->second;
    std::shared_ptr<ATexture> made;
    const std::wstring fileName = FileNameOf(image);
    if (!fileName.empty()) {
        made = std::make_shared<ATexture>();
        made->SetName(KvText::FromUtf8(m_ImageValues[image].Text("name")));
        made->SetFileName(fileName);
        made->SetEnableMask(mask);
    }
    m_Textures.emplace(std::pair(image, mask), made);
    return made;
}

/// Empty for an image inside the file that is not kept.
std::wstring Materials::FileNameOf(std::uint32_t image)
{
    std::optional<std::wstring>& fileName = m_FileNames[image];
    if (fileName)
        return *fileName;
    const JsonValue value = m_ImageValues[image];
    if (const auto uri = value.Find("uri")) {
        const std::string& text = uri->AsText();
        if (text.empty())
            uri->Fail("is empty");
        if (IsDataUri(text)) {
            const auto data = DecodeDataUri(text);
            if (!data)
                uri->Fail("is no valid data URI");
            fileName = Keep(image, data->mediaType, data->bytes);
        } else {
            fileName = KvText::FromUtf8(HasScheme(text) ? text : DecodePercent(text));
            if (fileName->find(L'\0') != std::wstring::npos)
                uri->Fail("holds a zero character, which no file name can: " + Quote(text));
        }
    } else {
        const Buffers::View view = m_Buffers.GetView(value.At("bufferView"));
        m_Job.Spend(view.length);
        std::string bytes(static_cast<std::size_t>(view.length), '\0');
        m_Buffers.Read(view, 0, bytes.data(), bytes.size());
        fileName = Keep(image, value.Text("mimeType"), bytes);
    }
    return *fileName;
}

std::wstring Materials::Keep(std::uint32_t image, const std::string& mediaType, const std::string& bytes)
{
    std::wstring name = Tame(KvText::FromUtf8(m_ImageValues[image].Text("name")));
    if (name.empty())
        name = KvText::FromPath(m_Job.GetPath().stem()) + L"-image" + std::to_wstring(image);
    const std::wstring extension = ExtensionOf(mediaType, bytes);
    // Names are told apart by more than the case of letters, which some systems do not heed.
    const auto folded = [](std::wstring text) {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c; });
        return text;
    };
    if (name.size() > extension.size() &&
        folded(name).compare(name.size() - extension.size(), extension.size(), extension) == 0)
        name.resize(name.size() - extension.size());
    if (!m_Kept.insert(folded(name + extension)).second) {
        name += L"-image" + std::to_wstring(image);
        m_Kept.insert(folded(name + extension));
    }
    return m_Job.KeepImage(name + extension, bytes);
}
} // namespace Formats::Gltf
