#include <Tools/Dedupe.h>
#include <Tools/FileError.h>
#include <Tools/Json.h>
#include <Tools/ModelWriter.h>
#include <Tools/Models.h>
#include <Tools/Output.h>
#include <Tools/Progress.h>
#include <Tools/SceneGraph.h>
#include <Tools/SceneRecords.h>
#include <Tools/Verbs.h>

#include <LumvoData/LumvoData.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Lumvo {
namespace {

using namespace Kelvra;

constexpr const char* s_Footer =
    "IN is a scene file or a file of any format that 'lumvo formats' lists, or - for standard input, whose format\n"
    "--service tells unless it is a scene. OUT is a scene when its name ends with .scene, otherwise what its name\n"
    "says. It takes its place when it is complete: until then, and if anything fails, the old file stays.\n"
    "Nodes that a model brings without an id are numbered from 1 on, in the order of the scene; --unit-scale and --up\n"
    "put everything under one more node. What has no place in OUT is listed as left out and does no harm to the exit\n"
    "code. Files that go with OUT, such as the .mtl of an .obj and what --images writes, are listed too. They never\n"
    "replace a file: if out.mtl exists, the new one is out-2.mtl, and the old OUT's is removed with it, so that the\n"
    "names alternate.\n"
    "JSON: {in: [{file, bytes, format, endsEarly, leftOut: [{what, count}], messages}],\n"
    "       out: {file, bytes, format, leftOut}, objects: {CLASS: count}, references, sharedObjects, beside: [FILE],\n"
    "       duplicates: {textures, materials, styles, pieces, entities} or null}\n"
    "Example: lumvo convert --dedupe --up y engine.glb stand.obj workshop.scene";

struct Options
{
    std::vector<std::string> files;
    ModelOptions model;
    double unitScale = 1;
    std::string up;
    bool dedupe = false;
    bool images = false;
    bool quiet = false;
    bool json = false;
};

constexpr const char* s_SceneFilter = "*.scene";

/// What a run has done, for the summary.
struct Summary
{
    std::vector<LoadedScene> inputs; // without their roots
    std::string outFormat = "scene file";
    WrittenModel out;
    std::optional<Duplicates> duplicates;
    std::map<std::string, std::uint64_t> classes;
    std::uint64_t references = 0;
    std::uint64_t objects = 0;
    std::uint64_t shared = 0;

    void Count(const Roots& roots)
    {
        const SceneObjects all(roots);
        objects = all.objects.size();
        for (const auto& [object, count] : all.references) {
            ++classes[Show(object->GetRuntimeClassId().GetName())];
            references += count;
            shared += count > 1 ? 1 : 0;
        }
    }
};

/// The transform from the inputs' coordinates to the result's.
AMath::Matrix4 Placement(const Options& options, bool toGltf)
{
    static constexpr AMath::Matrix4 s_TurnYToZ(1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1);
    const double s = options.unitScale;
    AMath::Matrix4 placement(s, 0, 0, 0, 0, s, 0, 0, 0, 0, s, 0, 0, 0, 0, 1);
    const std::string wanted = toGltf ? "y" : "z";
    if (options.up == wanted || options.up.empty())
        return placement;
    return placement.concatenate(options.up == "y" ? s_TurnYToZ : s_TurnYToZ.transpose());
}

void PutUnderOneNode(Roots& roots, const AMath::Matrix4& placement)
{
    const auto group = std::make_shared<AGroupSceneNode>();
    for (const auto& root : roots)
        group->AddChildNode(root);
    group->SetTransform(placement);
    roots = {group};
}

/// Numbers the nodes that have no id yet, in the order of the scene, with numbers that no node has.
void NumberNodes(const Roots& roots)
{
    std::vector<int> taken; // in order: no choice of ids makes the search slow, as it could in a hash table
    std::vector<ASceneNode*> nameless;
    ForEachNode(roots, [&](ASceneNode& node) {
        if (node.GetId() == -1)
            nameless.push_back(&node);
        else if (node.GetId() > 0)
            taken.push_back(node.GetId());
    });
    std::sort(taken.begin(), taken.end());
    auto ahead = taken.begin();
    int next = 1;
    for (ASceneNode* const node : nameless) {
        for (; ahead != taken.end() && *ahead <= next; ++ahead)
            next += *ahead == next ? 1 : 0;
        node->SetId(next++);
    }
}

void PrintLeftOut(const std::vector<Loss>& losses)
{
    for (const Loss& loss : losses)
        std::cout << "    left out  " << Show(loss.count) << " x " << loss.what << '\n';
}

void Print(const Summary& summary, const OutputFiles& files)
{
    const Screen screen = Screen::OfStandardOutput();
    std::cout << screen.Paint(Screen::Strong, ShowPath(files.GetMain().GetFile())) << '\n';
    for (const LoadedScene& input : summary.inputs) {
        std::cout << "  from        " << ShowPath(input.file) << ": " << Plural(input.size, "byte") << ", "
                  << input.GetFormat() << '\n';
        PrintLeftOut(input.losses);
        input.messages.Print(std::cout, "    ");
    }
    std::cout << "  to          " << Plural(summary.out.bytes, "byte") << ", " << summary.outFormat << '\n';
    PrintLeftOut(summary.out.losses);
    for (const std::filesystem::path& file : files.GetBeside())
        std::cout << "  beside      " << ShowPath(file) << '\n';
    std::cout << "  objects     " << Show(summary.objects) << ":";
    const char* separator = " ";
    for (const auto& [name, count] : summary.classes) {
        std::cout << separator << Show(count) << ' ' << name;
        separator = ", ";
    }
    std::cout << "\n  sharing     " << Plural(summary.references, "reference") << ", "
              << Plural(summary.shared, "object is", "objects are") << " referred to more than once\n";
    if (summary.duplicates)
        std::cout << "  duplicates  " << Show(*summary.duplicates) << '\n';
}

void PrintAsJson(const Summary& summary, const OutputFiles& files)
{
    Json in = Json::array();
    for (const LoadedScene& input : summary.inputs)
        in.push_back(InputToJson(input));
    Json beside = Json::array();
    for (const std::filesystem::path& file : files.GetBeside())
        beside.push_back(PathToJson(file));
    PrintJson(Json{{"in", std::move(in)},
                   {"out",
                    {{"file", PathToJson(files.GetMain().GetFile())},
                     {"bytes", summary.out.bytes},
                     {"format", summary.outFormat},
                     {"leftOut", ToJson(summary.out.losses)}}},
                   {"objects", summary.classes},
                   {"references", summary.references},
                   {"sharedObjects", summary.shared},
                   {"beside", std::move(beside)},
                   {"duplicates", summary.duplicates ? ToJson(*summary.duplicates) : Json(nullptr)}});
}

/// The service that writes a file; null for a scene file.
const Formats::ExportService* ChooseWriter(const std::filesystem::path& out, ModelLoader& loader)
{
    if (FitsFilter(out, KvText::FromUtf8(s_SceneFilter)))
        return nullptr;
    if (const Modules::Entry* const entry = loader.GetModules().WriterOf(out))
        return entry->write.get();
    std::string known = s_SceneFilter;
    for (const Modules::Entry& entry : loader.GetModules().GetEntries())
        if (entry.write)
            known += ", " + Show(entry.write->GetFileFilter());
    throw FileError(ExitUsage, out, std::nullopt, "is no name of a file that can be written",
                    "The end of its name tells the format: " + known + ".");
}

ExitCode RunConvert(const Options& options)
{
    const std::filesystem::path out = options.files.back();
    Progress progress(options.quiet || options.json);
    ModelLoader loader(options.model);
    loader.ShowProgress(&progress);
    const Formats::ExportService* const writer = ChooseWriter(out, loader);
    OutputFiles files(out);
    if (options.images)
        loader.KeepImages(
            [&](const std::wstring& name, std::string_view bytes) { return files.KeepImage(name, bytes); });

    Summary summary;
    Roots roots;
    ExitCode worst = ExitFine;
    for (std::size_t i = 0; i + 1 < options.files.size(); ++i) {
        LoadedScene input = loader.Load(options.files[i]);
        worst = std::max(worst, input.GetExitCode());
        roots.insert(roots.end(), input.roots.begin(), input.roots.end());
        input.roots.clear();
        summary.inputs.push_back(std::move(input));
    }
    const AMath::Matrix4 placement = Placement(options, FitsFilter(out, L"*.glb;*.gltf"));
    if (placement != AMath::Matrix4::IDENTITY)
        PutUnderOneNode(roots, placement);
    if (options.dedupe) {
        progress.Begin("looking for equal objects");
        summary.duplicates = ShareEqualObjects(roots);
    }

    progress.Begin("writing " + ShowPath(out));
    if (writer != nullptr) {
        summary.outFormat = Show(writer->GetTitle());
        summary.out = WriteModel(*writer, roots, files, progress);
    } else {
        NumberNodes(roots);
        const std::uint64_t size = SizeOfSceneFile(roots).value_or(0);
        summary.out.bytes =
            WriteSceneFile(roots, files.GetMain(), [&](std::uint64_t done) { progress.Update(done, size); });
    }
    summary.Count(roots);
    files.Commit();
    progress.Clear();
    if (options.json)
        PrintAsJson(summary, files);
    else
        Print(summary, files);
    std::cout.flush();
    for (const LoadedScene& input : summary.inputs)
        PrintEarlyEnd(input);
    return worst;
}
} // namespace

void AddConvert(CLI::App& app, Run& run)
{
    CLI::App* const verb =
        app.add_subcommand("convert", "Make one scene of models and scenes, or write a scene in another format");
    const auto options = std::make_shared<Options>();
    verb->footer(s_Footer);
    verb->add_option("FILE", options->files, "IN... OUT: the files to read, then the file to write")
        ->required()
        ->expected(2, -1)
        ->type_name("");
    options->model.AddTo(*verb);
    verb->add_option("--unit-scale", options->unitScale, "Make everything this many times as large")
        ->check(CLI::Validator(
            [](std::string& number) {
                const double scale = std::strtod(number.c_str(), nullptr);
                return std::isfinite(scale) && scale > 0 ? "" : "must be a number greater than 0";
            },
            ""))
        ->type_name("FACTOR");
    verb->add_option("--up", options->up,
                     "The axis that points up in IN, y or z; it becomes z in OUT, or y in glTF. Without this\n"
                     "coordinates stay as they are")
        ->check(CLI::IsMember({"y", "z"}))
        ->type_name("AXIS");
    verb->add_flag("--dedupe", options->dedupe,
                   "Make equal meshes, materials and textures one object each, shared by all that used them");
    verb->add_flag("--images", options->images, "Write the images that are inside IN beside OUT");
    verb->add_flag("-q,--quiet", options->quiet, "Do not show how far it is");
    verb->add_flag("--json", options->json, "Print the summary as one JSON document");
    verb->callback([options, &run] {
        if (std::count(options->files.begin(), options->files.end(), "-") > 1)
            throw CLI::ValidationError("IN", "standard input can be read once");
        if (options->files.back() == "-")
            throw CLI::ValidationError("OUT", "standard output cannot be replaced as a whole: name a file");
        run = [options] { return RunConvert(*options); };
    });
}
} // namespace Lumvo
