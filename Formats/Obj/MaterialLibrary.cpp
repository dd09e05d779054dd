#include <Formats/Obj/MaterialLibrary.h>

#include <Formats/Obj/Statements.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <vector>

namespace Formats::Obj {
namespace {

using namespace Kelvra;
using AMath::ColourValue;

// What things take in memory.
constexpr std::uint64_t s_StylesSize = 1024;
constexpr std::uint64_t s_TextureSize = 512;
constexpr std::uint64_t s_NameSize = 128;

/// A material while its statements are read, with what it has where it says nothing.
struct Material
{
    std::string name;
    ColourValue ambient{0.2F, 0.2F, 0.2F};
    ColourValue diffuse{0.8F, 0.8F, 0.8F};
    ColourValue specular{0.0F, 0.0F, 0.0F};
    ColourValue emission{0.0F, 0.0F, 0.0F};
    float shininess = 0;
    float opacity = 1;
    bool opacityGiven = false;
    std::shared_ptr<ATexture> diffuseTexture;
    std::shared_ptr<ATexture> reflectionTexture;
};

Styles MakeStyles(const Material& from)
{
    const ColourValue colour(from.diffuse.r, from.diffuse.g, from.diffuse.b, from.opacity);
    const auto material = std::make_shared<AMaterial>();
    material->SetAmbient(from.ambient);
    material->SetDiffuse(colour);
    material->SetSpecular(from.specular);
    material->SetEmission(from.emission);
    material->SetShininess(from.shininess);
    material->SetDiffuseTexture(from.diffuseTexture);
    material->SetReflectionTexture(from.reflectionTexture);
    Styles styles{std::make_shared<AFaceStyle>(), std::make_shared<ALineStyle>(1.0F, colour)};
    styles.faces->SetColor(colour);
    styles.faces->SetMaterial(material);
    styles.faces->SetTransparent(from.opacity < 1);
    return styles;
}

struct TextureOption
{
    std::string_view name;
    int fewest;
    int most; // where it takes a varying number of arguments, all are numbers
};

constexpr TextureOption s_TextureOptions[] = {
    {"-blendu", 1, 1}, {"-blendv", 1, 1}, {"-boost", 1, 1},   {"-bm", 1, 1},         {"-cc", 1, 1},
    {"-clamp", 1, 1},  {"-mm", 2, 2},     {"-o", 1, 3},       {"-s", 1, 3},          {"-t", 1, 3},
    {"-texres", 1, 1}, {"-type", 1, 1},   {"-imfchan", 1, 1}, {"-colorspace", 1, 1},
};

/// What the numbers of a material say that has no place in one of ours, by keyword.
struct NumberLoss
{
    std::string_view keyword;
    const char* loss;
    float neutral; // the value that says nothing
};

constexpr NumberLoss s_NumberLosses[] = {
    {"Ni", "indices of refraction", 1},           {"sharpness", "sharpness of reflections", 60},
    {"Pr", "physically based parameters", 0},     {"Pm", "physically based parameters", 0},
    {"Ps", "physically based parameters", 0},     {"Pc", "physically based parameters", 0},
    {"Pcr", "physically based parameters", 0},    {"aniso", "physically based parameters", 0},
    {"anisor", "physically based parameters", 0},
};

template <class Row, std::size_t Count>
const Row* FindRow(const Row (&rows)[Count], std::string_view Row::*key, std::string_view value)
{
    const auto found =
        std::find_if(std::begin(rows), std::end(rows), [&](const Row& row) { return row.*key == value; });
    return found == std::end(rows) ? nullptr : found;
}

/// Takes the arguments of statements.
class Arguments
{
public:
    Arguments(Import& job, Statements& statements) : m_Job(job), m_Statements(statements) {}

    /// Takes the arguments of a colour; false for a spectrum.
    bool TakeColour(ColourValue& colour)
    {
        const std::string_view rest = m_Statements.GetRest();
        if (rest.substr(0, 8) == "spectral" || rest.substr(0, 3) == "xyz") {
            m_Job.Lose("colours given as spectra");
            return false;
        }
        const std::size_t count = m_Statements.TakeNumbers(1, 3);
        if (count == 2)
            m_Statements.Fail("1 or 3 numbers should follow, 2 do");
        const std::size_t g = count == 3 ? 1 : 0, b = count == 3 ? 2 : 0; // one number is a grey
        colour = ColourValue(m_Statements.GetNumber(0), m_Statements.GetNumber(g), m_Statements.GetNumber(b));
        return true;
    }

    float TakeNumber()
    {
        m_Statements.TakeNumbers(1, 1);
        return m_Statements.GetNumber(0);
    }

    /// Takes the options of a texture.
    /// \returns its file name; empty for the side of a cube map.
    std::string_view TakeTexture()
    {
        bool cube = false;
        for (;;) {
            const std::string_view name = m_Statements.GetRest();
            const std::string_view first = name.substr(0, name.find_first_of(" \t"));
            const TextureOption* const option = FindRow(s_TextureOptions, &TextureOption::name, first);
            if (option == nullptr) {
                if (name.empty())
                    m_Statements.Fail("the name of an image should follow");
                return cube ? std::string_view{} : name;
            }
            std::string_view word;
            m_Statements.NextWord(word);
            const bool type = word == "-type";
            if (!type)
                m_Job.Lose("options of textures");
            for (int i = 0; i < option->most; ++i) {
                const std::string_view rest = m_Statements.GetRest();
                float number = 0;
                if (i >= option->fewest && !ParseNumber(rest.substr(0, rest.find_first_of(" \t")), number))
                    break;
                if (!m_Statements.NextWord(word))
                    m_Statements.Fail("the arguments of " + std::string(option->name) + " are missing");
            }
            if (type && word.substr(0, 4) == "cube") {
                m_Job.Lose("sides of cube maps");
                cube = true;
            }
        }
    }

    /// Counts a statement that has no place in a material of ours, if it says anything.
    void Lose()
    {
        const std::string_view keyword = m_Statements.GetKeyword();
        const bool map = keyword.substr(0, 4) == "map_";
        if (map || keyword == "bump" || keyword == "disp" || keyword == "decal" || keyword == "norm")
            m_Job.Lose("textures of " + Quote(std::string(keyword)));
        else if (keyword == "Tf" || keyword == "Kt") {
            ColourValue filter;
            if (TakeColour(filter) && filter != ColourValue() && filter != ColourValue(0, 0, 0))
                m_Job.Lose("transmission filters");
        } else if (keyword == "illum") {
            if (TakeNumber() > 2)
                m_Job.Lose("illumination models");
        } else if (const NumberLoss* const row = FindRow(s_NumberLosses, &NumberLoss::keyword, keyword)) {
            if (TakeNumber() != row->neutral)
                m_Job.Lose(row->loss);
        } else
            m_Job.Lose("material statements of unknown kind");
    }

private:
    Import& m_Job;
    Statements& m_Statements;
};
} // namespace

void MaterialLibrary::Load(std::string_view names)
{
    if (names.empty() || LoadFile(names))
        return;
    std::istringstream words{std::string(names)};
    std::vector<std::string> missing;
    bool any = false;
    for (std::string word; words >> word;)
        if (LoadFile(word))
            any = true;
        else
            missing.push_back(word);
    if (!any)
        missing = {std::string(names)};
    for (const std::string& name : missing)
        m_Job.Lose("material files that are not there: " + Quote(KvText::ToUtf8(WideName(name))));
}

const Styles* MaterialLibrary::Find(const std::string& name) const
{
    const auto found = m_Styles.find(name);
    return found == m_Styles.end() ? nullptr : &found->second;
}

bool MaterialLibrary::LoadFile(std::string_view name)
{
    const auto [known, fresh] = m_Names.emplace(name, false);
    if (!fresh)
        return known->second;
    m_Job.Spend(s_NameSize + name.size());
    std::wstring wide = WideName(name);
    std::replace(wide.begin(), wide.end(), L'\\', L'/');
    std::unique_ptr<InputFile> input;
    try {
        const std::filesystem::path file = m_Job.FindCompanion(KvText::ToPath(wide));
        if (m_Files.count(file) == 0)
            input = std::make_unique<InputFile>(file);
        m_Files.insert(file);
    } catch (const FormatError&) {
        return false;
    }
    known->second = true;
    if (input) {
        m_Job.CountFile(input->GetSize());
        if (input->GetSize() > 0)
            Read(*input, KvText::ToUtf8(wide));
    }
    return true;
}

void MaterialLibrary::Read(InputFile& file, const std::string& name)
{
    Statements statements(file, " of " + Quote(name));
    Arguments arguments(m_Job, statements);
    Material material;
    bool begun = false;
    const auto end = [&] {
        if (begun && m_Styles.count(material.name) == 0) {
            m_Job.Spend(s_StylesSize);
            m_Styles.emplace(material.name, MakeStyles(material));
        }
    };
    while (statements.Next()) {
        const std::string_view keyword = statements.GetKeyword();
        if (keyword == "newmtl") {
            end();
            material = {};
            material.name = statements.GetRest();
            begun = true;
        } else if (!begun)
            statements.Fail("newmtl should come first");
        else if (keyword == "Ka")
            arguments.TakeColour(material.ambient);
        else if (keyword == "Kd")
            arguments.TakeColour(material.diffuse);
        else if (keyword == "Ks")
            arguments.TakeColour(material.specular);
        else if (keyword == "Ke")
            arguments.TakeColour(material.emission);
        else if (keyword == "Ns")
            material.shininess = arguments.TakeNumber();
        else if (keyword == "d") {
            std::string_view halo;
            if (statements.GetRest().substr(0, 5) == "-halo" && statements.NextWord(halo))
                m_Job.Lose("halos");
            material.opacity = arguments.TakeNumber();
            material.opacityGiven = true;
        } else if (keyword == "Tr") {
            const float transparency = arguments.TakeNumber();
            if (!material.opacityGiven) // many programs write both, and not all of them 1 - d
                material.opacity = 1 - transparency;
        } else if (keyword == "map_Kd")
            material.diffuseTexture = TextureOf(arguments.TakeTexture());
        else if (keyword == "refl" || keyword == "map_refl") {
            if (const auto texture = TextureOf(arguments.TakeTexture()))
                material.reflectionTexture = texture;
        } else
            arguments.Lose();
    }
    end();
}

std::shared_ptr<ATexture> MaterialLibrary::TextureOf(std::string_view fileName)
{
    if (fileName.empty())
        return nullptr;
    std::wstring wide = WideName(fileName);
    if (wide.find(L'\0') != std::wstring::npos) {
        m_Job.Lose("textures whose file name holds a zero character");
        return nullptr;
    }
    std::replace(wide.begin(), wide.end(), L'\\', L'/');
    std::shared_ptr<ATexture>& texture = m_Textures[wide];
    if (!texture) {
        m_Job.Spend(s_TextureSize);
        texture = std::make_shared<ATexture>();
        texture->SetFileName(wide);
        const std::wstring base = wide.substr(wide.rfind(L'/') + 1);
        texture->SetName(base.substr(0, base.rfind(L'.')));
    }
    return texture;
}
} // namespace Formats::Obj
