#include <Tools/FileError.h>
#include <Tools/Json.h>
#include <Tools/LoadedScene.h>
#include <Tools/Models.h>
#include <Tools/Output.h>
#include <Tools/SceneGraph.h>
#include <Tools/SceneRecords.h>
#include <Tools/Verbs.h>

#include <algorithm>
#include <array>
#include <cstdio>
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
    "Objects are those that the scene holds, each once. An object's bytes are its own: from its key to the end of\n"
    "its record, without the objects stored inside it. Dropped are objects that were loaded but that nothing\n"
    "holds, such as a text in a list of meshes; outside are the header and root references that begin no object.\n"
    "Together these are the size of the file.\n"
    "Sharing saved, for each repeated reference to an object, the bytes from the object's key to the end of its\n"
    "record, with what is stored inside it, less the 4 bytes that the reference takes. Sharing among the copies\n"
    "that would then exist is not counted on top.\n"
    "A file of another format is loaded through its module: its objects are counted, and instead of bytes per\n"
    "class there is the size that they would take as a scene file. What a scene has no place for is left out.\n"
    "JSON: {file, format: null, version, bytes, endsEarly, rootReferences, box, classes: {NAME: {objects, bytes}},\n"
    "       dropped: {objects, bytes}, outsideBytes, references: {total, first, repeated, empty, failed},\n"
    "       bytesSavedBySharing, leftOut, messages: [{text, source, line, count, offset}]} for a scene file;\n"
    "       {file, format: {service, title, module}, bytes, sceneBytes, rootReferences, box,\n"
    "       classes: {NAME: {objects}}, references: {total, first, repeated}, leftOut: [{what, count}], messages}\n"
    "       for others; {file, error, place, offset} where the file cannot be read; an array of these for several\n"
    "       files.\n"
    "Example: lumvo info flange.scene";

struct Options
{
    std::vector<std::string> files;
    ModelOptions model;
    bool json = false;
};

struct Share
{
    std::uint64_t objects = 0;
    std::uint64_t bytes = 0;
};

/// What there is to know of one file.
struct Facts
{
    std::uint64_t objects = 0;
    std::uint64_t references = 0; // to these objects
    std::map<std::string, Share> classes;
    Share dropped;
    std::uint64_t outsideBytes = 0;
    std::uint64_t savedBytes = 0;
    AMath::AxisAlignedBox box;

    explicit Facts(const LoadedScene& scene)
    {
        const SceneObjects scenes(scene.roots);
        objects = scenes.objects.size();
        Share held;
        for (const AObject* const object : scenes.objects) {
            const LoadStatistics::Extent extent = scene.statistics.ExtentOf(*object);
            Share& share = classes[Show(object->GetRuntimeClassId().GetName())];
            ++share.objects;
            share.bytes += extent.own;
            held.bytes += extent.own;
            references += scenes.references.at(object);
            if (!scene.origin)
                savedBytes += (scenes.references.at(object) - 1) * (extent.span - sizeof(std::int32_t));
        }
        if (!scene.origin) {
            dropped.objects = scene.statistics.GetObjects() - objects;
            dropped.bytes = scene.statistics.GetObjectBytes() - held.bytes;
            outsideBytes = scene.size - scene.statistics.GetObjectBytes();
        }
        for (const auto& root : scene.roots) {
            AMath::AxisAlignedBox rootBox = root->GetBBox();
            rootBox.transform(root->GetTransform());
            box.merge(rootBox);
        }
    }
};

Json ToJson(const Share& share)
{
    return {{"objects", share.objects}, {"bytes", share.bytes}};
}

Json ModelToJson(const LoadedScene& scene, const Facts& facts)
{
    const std::optional<std::uint64_t> sceneSize = SizeOfSceneFile(scene.roots);
    Json classes = Json::object();
    for (const auto& [name, share] : facts.classes)
        classes[name] = {{"objects", share.objects}};
    return {{"file", PathToJson(scene.file)},
            {"format",
             {{"service", Lumvo::ToJson(scene.origin->service)},
              {"title", Lumvo::ToJson(scene.origin->title)},
              {"module", PathToJson(scene.origin->module)}}},
            {"bytes", scene.size},
            {"sceneBytes", sceneSize ? Json(*sceneSize) : Json(nullptr)},
            {"rootReferences", scene.rootReferences},
            {"box", Lumvo::ToJson(facts.box)},
            {"classes", classes},
            {"references",
             {{"total", facts.references}, {"first", facts.objects}, {"repeated", facts.references - facts.objects}}},
            {"leftOut", Lumvo::ToJson(scene.losses)},
            {"messages", scene.messages.ToJson()}};
}

Json ToJson(const LoadedScene& scene, const Facts& facts)
{
    if (scene.origin)
        return ModelToJson(scene, facts);
    Json classes = Json::object();
    for (const auto& [name, share] : facts.classes)
        classes[name] = ToJson(share);
    const LoadStatistics& statistics = scene.statistics;
    return {{"file", PathToJson(scene.file)},
            {"format", nullptr},
            {"version", scene.version},
            {"bytes", scene.size},
            {"endsEarly", Lumvo::ToJson(scene.earlyEnd)},
            {"rootReferences", scene.rootReferences},
            {"box", Lumvo::ToJson(facts.box)},
            {"classes", classes},
            {"dropped", ToJson(facts.dropped)},
            {"outsideBytes", facts.outsideBytes},
            {"references",
             {{"total", statistics.GetReferences()},
              {"first", statistics.GetObjects()},
              {"repeated", statistics.GetRepeatedReferences()},
              {"empty", statistics.GetEmptyReferences()},
              {"failed", statistics.GetFailedReferences()}}},
            {"bytesSavedBySharing", facts.savedBytes},
            {"leftOut", Lumvo::ToJson(scene.losses)},
            {"messages", scene.messages.ToJson()}};
}

std::string Percent(std::uint64_t part, std::uint64_t whole)
{
    std::array<char, 32> text{};
    const double percent = whole == 0 ? 0 : 100 * static_cast<double>(part) / static_cast<double>(whole);
    std::snprintf(text.data(), text.size(), "%.1f %%", percent);
    return text.data();
}

/// The objects and bytes of each class, those of most bytes first.
void PrintClasses(const LoadedScene& scene, const Facts& facts)
{
    std::vector<std::pair<std::string, Share>> rows(facts.classes.begin(), facts.classes.end());
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& a, const auto& b) { return a.second.bytes > b.second.bytes; });
    Share all = facts.dropped;
    for (const auto& [name, share] : rows)
        all.objects += share.objects;
    all.bytes = scene.size;
    if (facts.dropped.objects > 0)
        rows.emplace_back("dropped", facts.dropped);
    rows.emplace_back("outside", Share{0, facts.outsideBytes});
    rows.emplace_back("together", all);

    std::cout << "\n  " << std::left << std::setw(20) << "class" << std::right << std::setw(10) << "objects"
              << std::setw(16) << "bytes" << '\n';
    for (const auto& [name, share] : rows)
        std::cout << "  " << std::left << std::setw(20) << name << std::right << std::setw(10)
                  << (share.objects > 0 ? Show(share.objects) : "") << std::setw(16) << Show(share.bytes)
                  << std::setw(10) << Percent(share.bytes, scene.size) << '\n';
    std::cout << '\n';
}

void PrintReportRows(const LoadedScene& scene)
{
    std::cout << "  left out    " << (scene.losses.empty() ? "nothing" : "") << '\n';
    for (const Loss& loss : scene.losses)
        std::cout << "    " << Show(loss.count) << " x " << loss.what << '\n';
    std::cout << "  messages    " << (scene.messages.GetCount() > 0 ? Show(scene.messages.GetCount()) : "none") << '\n';
    scene.messages.Print(std::cout, "    ");
}

void PrintModel(const LoadedScene& scene, const Facts& facts)
{
    const std::optional<std::uint64_t> sceneSize = SizeOfSceneFile(scene.roots);
    std::cout << Screen::OfStandardOutput().Paint(Screen::Strong, ShowPath(scene.file)) << '\n'
              << "  format      " << Show(scene.origin->title) << ", read by service " << Show(scene.origin->service)
              << " of " << ShowPath(scene.origin->module.filename()) << '\n'
              << "  size        " << Plural(scene.size, "byte")
              << (sceneSize ? "; as a scene file " + Show(*sceneSize) : "; nested too deep for a scene file") << '\n'
              << "  box         " << Show(facts.box) << "\n\n"
              << "  class                  objects\n";
    for (const auto& [name, share] : facts.classes)
        std::cout << "  " << std::left << std::setw(20) << name << std::right << std::setw(10) << Show(share.objects)
                  << '\n';
    std::cout << "  " << std::left << std::setw(20) << "together" << std::right << std::setw(10) << Show(facts.objects)
              << "\n\n  references  " << Show(facts.references) << ": " << Show(facts.objects) << " to new objects, "
              << Show(facts.references - facts.objects) << " repeated\n";
    PrintReportRows(scene);
}

void Print(const LoadedScene& scene, const Facts& facts)
{
    if (scene.origin)
        return PrintModel(scene, facts);
    const LoadStatistics& statistics = scene.statistics;
    std::cout << Screen::OfStandardOutput().Paint(Screen::Strong, ShowPath(scene.file)) << '\n'
              << "  version     " << scene.version << '\n'
              << "  size        " << Plural(scene.size, "byte") << '\n'
              << "  roots       " << Plural(scene.rootReferences, "reference") << '\n'
              << "  box         " << Show(facts.box) << '\n';
    PrintClasses(scene, facts);
    std::cout << "  references  " << Show(statistics.GetReferences()) << ": " << Show(statistics.GetObjects())
              << " to new objects, " << Show(statistics.GetRepeatedReferences()) << " repeated, "
              << Show(statistics.GetEmptyReferences()) << " empty";
    if (statistics.GetFailedReferences() > 0)
        std::cout << ", " << Show(statistics.GetFailedReferences()) << " failed";
    std::cout << "\n  sharing     saved " << Plural(facts.savedBytes, "byte") << ", "
              << Percent(facts.savedBytes, scene.size + facts.savedBytes) << " of what the file would take without\n";
    PrintReportRows(scene);
}

ExitCode RunInfo(const Options& options)
{
    ExitCode worst = ExitFine;
    std::vector<Json> results;
    ModelLoader loader(options.model);
    for (const std::string& file : options.files) {
        try {
            const LoadedScene scene = loader.Load(file);
            const Facts facts(scene);
            worst = std::max(worst, scene.GetExitCode());
            if (options.json)
                results.push_back(ToJson(scene, facts));
            else {
                std::cout << (&file == &options.files.front() ? "" : "\n");
                Print(scene, facts);
            }
            std::cout.flush(); // keeps its place before the note
            PrintEarlyEnd(scene);
        } catch (const FileError& error) {
            std::cout.flush();
            PrintError(error);
            worst = std::max(worst, error.GetExitCode());
            results.push_back({{"file", PathToJson(error.GetFile())},
                               {"error", error.GetProblem()},
                               {"place", error.GetPlace().empty() ? Json(nullptr) : Json(error.GetPlace())},
                               {"offset", error.GetOffset() ? Json(*error.GetOffset()) : Json(nullptr)}});
        }
    }
    if (options.json)
        PrintJson(results);
    return worst;
}
} // namespace

void AddInfo(CLI::App& app, Run& run)
{
    CLI::App* const verb =
        app.add_subcommand("info", "Tell what scenes and models hold, where the bytes went, what is wrong");
    const auto options = std::make_shared<Options>();
    verb->footer(s_Footer);
    verb->add_option("FILE", options->files, "Scene files, models, or - for standard input")->required()->type_name("");
    options->model.AddTo(*verb);
    verb->add_flag("--json", options->json, "Print one JSON document");
    verb->callback([options, &run] { run = [options] { return RunInfo(*options); }; });
}
} // namespace Lumvo
