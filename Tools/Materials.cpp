#include <Tools/FileError.h>
#include <Tools/Json.h>
#include <Tools/Output.h>
#include <Tools/Verbs.h>

#include <LumvoData/Contracts/KelvraData/AIStreamXML.h>
#include <LumvoData/Contracts/KelvraData/AOStreamXML.h>
#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Style/ASystemMaterialTable.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>

namespace Lumvo {
namespace {

using namespace Kelvra;

constexpr const char* s_Footer =
    "Without an option: the system materials, with a swatch of each colour on a terminal. --xml gives one as the XML\n"
    "that a program reads with AIStreamXML; --read shows what such a file holds, - being standard input.\n"
    "JSON: [{name, ambient, diffuse, specular, emission, shininess}], colours as [r, g, b, a]; with --read one such\n"
    "       material, its name null.\n"
    "Example: lumvo materials --xml gold | lumvo materials --read -";

struct Options
{
    std::string xml;
    std::string read;
    bool json = false;
};

/// A colour as it looks, where a screen can show it.
std::string Swatch(const AMath::ColourValue& colour, const Screen& screen)
{
    if (!screen.colours)
        return {};
    const auto level = [](float part) {
        return std::to_string(static_cast<int>(std::lround(255 * std::clamp(std::isnan(part) ? 0 : part, 0.0F, 1.0F))));
    };
    return "\x1B[48;2;" + level(colour.r) + ";" + level(colour.g) + ";" + level(colour.b) + "m    \x1B[0m ";
}

std::string Cell(const AMath::ColourValue& colour, const Screen& screen)
{
    // Alpha is 1 in nearly all materials: only another one is worth showing.
    std::string text = Show(colour);
    const std::string opaque = ", 1)";
    if (text.size() > opaque.size() && text.compare(text.size() - opaque.size(), opaque.size(), opaque) == 0)
        text.replace(text.size() - opaque.size(), opaque.size(), ")");
    return Swatch(colour, screen) + text;
}

Json ToJson(const Json& name, const AMaterial& material)
{
    return {{"name", name},
            {"ambient", Lumvo::ToJson(material.GetAmbient())},
            {"diffuse", Lumvo::ToJson(material.GetDiffuse())},
            {"specular", Lumvo::ToJson(material.GetSpecular())},
            {"emission", Lumvo::ToJson(material.GetEmission())},
            {"shininess", Lumvo::ToJson(material.GetShininess())}};
}

void PrintTable()
{
    const Screen screen = Screen::OfStandardOutput();
    for (const auto& [name, material] : TSingleton<ASystemMaterialTable>::Instance())
        std::cout << screen.Paint(Screen::Strong, Show(name))
                  << std::string(18 - std::min<std::size_t>(17, name.size()), ' ') << "shininess "
                  << Show(static_cast<double>(material->GetShininess())) << "\n  ambient   "
                  << Cell(material->GetAmbient(), screen) << "\n  diffuse   " << Cell(material->GetDiffuse(), screen)
                  << "\n  specular  " << Cell(material->GetSpecular(), screen) << '\n';
}

/// What an XML file holds. Throws FileError.
AMaterial ReadXml(const std::string& file)
{
    const std::filesystem::path shown = file == "-" ? "standard input" : file;
    AIStreamXML stream;
    if (!(file == "-" ? stream.Load(std::cin) : stream.Load(KvText::FromPath(shown))))
        throw FileError(ExitCannotRead, shown, std::nullopt, "cannot be read as XML: " + stream.GetError(),
                        "Name a file that 'lumvo materials --xml NAME' or AOStreamXML wrote.");
    if (!stream.Push(L"AMaterial"))
        throw FileError(ExitCannotRead, shown, std::nullopt, "holds no material: its first element is no AMaterial",
                        "Name a file that 'lumvo materials --xml NAME' or AOStreamXML wrote.");
    stream.Pop();
    AMaterial material;
    AObject& object = material;
    object.Serialize(stream);
    return material;
}

void PrintMaterial(const AMaterial& material)
{
    const Screen screen = Screen::OfStandardOutput();
    std::cout << "ambient    " << Swatch(material.GetAmbient(), screen) << Show(material.GetAmbient())
              << "\ndiffuse    " << Swatch(material.GetDiffuse(), screen) << Show(material.GetDiffuse())
              << "\nspecular   " << Swatch(material.GetSpecular(), screen) << Show(material.GetSpecular())
              << "\nemission   " << Swatch(material.GetEmission(), screen) << Show(material.GetEmission())
              << "\nshininess  " << Show(static_cast<double>(material.GetShininess())) << '\n';
}

ExitCode RunMaterials(const Options& options)
{
    if (!options.read.empty()) {
        const AMaterial material = ReadXml(options.read);
        if (options.json)
            PrintJson(ToJson(nullptr, material));
        else
            PrintMaterial(material);
        return ExitFine;
    }
    const ASystemMaterialTable& table = TSingleton<ASystemMaterialTable>::Instance();
    if (!options.xml.empty()) {
        const std::shared_ptr<AMaterial> material = table.FindMaterial(KvText::FromUtf8(options.xml));
        if (!material) {
            std::cerr << "lumvo: there is no system material " << Show(options.xml)
                      << "; 'lumvo materials' lists them\n";
            return ExitUsage;
        }
        AOStreamXML stream;
        AObject& object = *material;
        object.Serialize(stream);
        stream.Save(std::cout);
        return ExitFine;
    }
    if (!options.json) {
        PrintTable();
        return ExitFine;
    }
    Json all = Json::array();
    for (const auto& [name, material] : table)
        all.push_back(ToJson(Lumvo::ToJson(name), *material));
    PrintJson(all);
    return ExitFine;
}
} // namespace

void AddMaterials(CLI::App& app, Run& run)
{
    CLI::App* const verb = app.add_subcommand("materials", "Show the system materials, or a material kept as XML");
    const auto options = std::make_shared<Options>();
    verb->footer(s_Footer);
    CLI::Option* const xml = verb->add_option("--xml", options->xml, "Print this system material as XML")
                                 ->check(NotEmpty())
                                 ->type_name("NAME");
    verb->add_option("--read", options->read, "Show the material in this XML file")
        ->check(NotEmpty())
        ->type_name("FILE")
        ->excludes(xml);
    verb->add_flag("--json", options->json, "Print one JSON document")->excludes(xml);
    verb->callback([options, &run] { run = [options] { return RunMaterials(*options); }; });
}
} // namespace Lumvo
