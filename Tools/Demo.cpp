#include <Tools/DemoScene.h>
#include <Tools/FileError.h>
#include <Tools/Json.h>
#include <Tools/LoadedScene.h>
#include <Tools/Output.h>
#include <Tools/OutputFile.h>
#include <Tools/SceneRecords.h>
#include <Tools/Verbs.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

namespace Lumvo {
namespace {

constexpr const char* s_Footer =
    "The scene, a flange with its bolts, is loaded back and compared before the file takes its place: what was\n"
    "shared must be shared, and saving it again must give the same bytes.\n"
    "JSON: {file, bytes, roots, objects, references, sharedObjects, replacedStyles, loadedBack, sharingKept,\n"
    "       savedAgainAlike}; references are those that are not empty. Written into a device or a pipe, the scene\n"
    "       cannot be loaded back: loadedBack is false, and the last two are null.\n"
    "Example: lumvo demo flange.scene";

struct Options
{
    std::string file;
    bool json = false;
};

bool SameBytes(const std::filesystem::path& a, const std::filesystem::path& b)
{
    std::ifstream fileA(a, std::ios::binary);
    std::ifstream fileB(b, std::ios::binary);
    using Bytes = std::istreambuf_iterator<char>;
    return fileA && fileB && std::equal(Bytes(fileA), Bytes(), Bytes(fileB), Bytes());
}

[[noreturn]] void FailProof(const std::filesystem::path& file, const std::string& problem)
{
    throw FileError(ExitCannotWrite, file, std::nullopt, "was not written: " + problem,
                    "This is a fault of lumvo: report it.");
}

/// Loads what was written and holds it against the scene in memory.
void Prove(const OutputFile& output, const DemoScene& demo)
{
    const std::filesystem::path& file = output.GetFile();
    const LoadedScene loaded = LoadScene(output.GetWrittenFile());
    if (!loaded.IsWhole())
        FailProof(file, "loading the scene back reported messages");
    const std::string difference = CompareSharing(demo.roots, loaded.roots);
    if (!difference.empty())
        FailProof(file, "in the scene that was loaded back, " + difference);
    OutputFile again(file); // never committed
    WriteSceneFile(loaded.roots, again);
    if (!SameBytes(output.GetWrittenFile(), again.GetWrittenFile()))
        FailProof(file, "the scene that was loaded back gives other bytes when it is saved");
}

ExitCode RunDemo(const Options& options)
{
    const std::filesystem::path file = options.file;
    DemoScene demo;
    const std::uint64_t replaced = demo.ReplaceHighlight();
    const SceneObjects objects(demo.roots);
    std::uint64_t references = 0;
    std::uint64_t shared = 0;
    for (const auto& [object, count] : objects.references) {
        references += count;
        shared += count > 1 ? 1 : 0;
    }

    OutputFile output(file);
    const std::uint64_t size = WriteSceneFile(demo.roots, output);
    if (!output.IsStraight())
        Prove(output, demo);
    output.Commit();

    if (options.json) {
        const Json proof = output.IsStraight() ? Json(nullptr) : Json(true);
        PrintJson(Json{{"file", PathToJson(file)},
                       {"bytes", size},
                       {"roots", demo.roots.size()},
                       {"objects", objects.objects.size()},
                       {"references", references},
                       {"sharedObjects", shared},
                       {"replacedStyles", replaced},
                       {"loadedBack", !output.IsStraight()},
                       {"sharingKept", proof},
                       {"savedAgainAlike", proof}});
        return ExitFine;
    }
    const Screen screen = Screen::OfStandardOutput();
    const auto step = [&](const char* name) -> std::ostream& {
        return std::cout << screen.Paint(Screen::Strong, name);
    };
    step("built     ") << "a flange with its bolts and a spare bolt: " << Plural(demo.roots.size(), "root") << ", "
                       << Plural(objects.objects.size(), "object") << ", " << Plural(references, "reference")
                       << " to them\n";
    step("replaced  ") << "the plain ANodeStyle that highlights " << Plural(replaced, "node")
                       << " by an AFaceStyle of the same colour: no file can give a plain one back\n";
    step("saved     ") << ShowPath(file) << ": " << Plural(size, "byte") << '\n';
    if (output.IsStraight()) {
        step("not read  ") << "back: this is no regular file\n";
        return ExitFine;
    }
    step("loaded    ") << "it back: " << Plural(objects.objects.size(), "object") << ", no messages\n";
    step("proved    ") << "what was shared is shared: all " << Plural(references, "reference") << " lead to the same "
                       << Plural(objects.objects.size(), "object") << ", " << Show(shared) << " of them shared\n";
    step("proved    ") << "the loaded scene, saved again, gives the same " << Plural(size, "byte") << '\n';
    return ExitFine;
}
} // namespace

void AddDemo(CLI::App& app, Run& run)
{
    CLI::App* const verb = app.add_subcommand("demo", "Build a small scene, save it and prove that it loads back");
    const auto options = std::make_shared<Options>();
    verb->footer(s_Footer);
    verb->add_option("OUT", options->file, "The scene file to write")->required()->type_name("");
    verb->add_flag("--json", options->json, "Print one JSON document");
    verb->callback([options, &run] { run = [options] { return RunDemo(*options); }; });
}
} // namespace Lumvo
