#include <Tools/Dedupe.h>
#include <Tools/Json.h>
#include <Tools/Models.h>
#include <Tools/Output.h>
#include <Tools/OutputFile.h>
#include <Tools/Progress.h>
#include <Tools/SceneGraph.h>
#include <Tools/SceneRecords.h>
#include <Tools/Verbs.h>

#include <LumvoData/Scene/AGroupSceneNode.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Lumvo {
namespace {

using namespace Kelvra;

constexpr const char* s_Footer =
    "The result has one root, a group with a group for each IN, in their order, that holds the roots of IN. Ids stay\n"
    "as they are, so that nodes of several IN can carry the same. IN may be models too, which 'lumvo convert' does\n"
    "without groups of their own. OUT takes its place when it is complete.\n"
    "JSON: {out, bytes, in: [{file, bytes, format, endsEarly, leftOut: [{what, count}], messages, roots, objects}],\n"
    "       objects, references, duplicates: {textures, materials, styles, pieces, entities} or null}\n"
    "Example: lumvo merge --dedupe left.scene right.scene both.scene";

struct Options
{
    std::vector<std::string> files;
    ModelOptions model;
    bool dedupe = false;
    bool quiet = false;
    bool json = false;
};

ExitCode RunMerge(const Options& options)
{
    const std::filesystem::path out = options.files.back();
    OutputFile output(out);
    Progress progress(options.quiet || options.json);
    ModelLoader loader(options.model);
    loader.ShowProgress(&progress);
    ExitCode worst = ExitFine;
    Json in = Json::array();
    const auto root = std::make_shared<AGroupSceneNode>();
    for (std::size_t i = 0; i + 1 < options.files.size(); ++i) {
        const LoadedScene scene = loader.Load(options.files[i]);
        worst = std::max(worst, scene.GetExitCode());
        const auto group = std::make_shared<AGroupSceneNode>();
        for (const auto& node : scene.roots)
            group->AddChildNode(node);
        root->AddChildNode(group);
        in.push_back(InputToJson(scene));
        in.back().update({{"roots", scene.roots.size()}, {"objects", SceneObjects(scene.roots).objects.size()}});
        progress.Clear();
        PrintLoadReport(scene);
    }
    const Roots roots = {root};
    std::optional<Duplicates> duplicates;
    if (options.dedupe) {
        progress.Begin("looking for equal objects");
        duplicates = ShareEqualObjects(roots);
    }
    progress.Begin("writing " + ShowPath(out));
    const std::uint64_t expected = SizeOfSceneFile(roots).value_or(0);
    const std::uint64_t size =
        WriteSceneFile(roots, output, [&](std::uint64_t done) { progress.Update(done, expected); });
    output.Commit();
    progress.Clear();
    const SceneObjects all(roots);
    std::uint64_t references = 0;
    for (const auto& [object, count] : all.references)
        references += count;
    if (options.json)
        PrintJson(Json{{"out", PathToJson(out)},
                       {"bytes", size},
                       {"in", std::move(in)},
                       {"objects", all.objects.size()},
                       {"references", references},
                       {"duplicates", duplicates ? ToJson(*duplicates) : Json(nullptr)}});
    else {
        std::cout << ShowPath(out) << ": " << Plural(size, "byte") << ", " << Plural(all.objects.size(), "object")
                  << ", " << Plural(references, "reference") << " to them\n";
        if (duplicates)
            std::cout << "  " << Show(*duplicates) << '\n';
    }
    return worst;
}
} // namespace

void AddMerge(CLI::App& app, Run& run)
{
    CLI::App* const verb = app.add_subcommand("merge", "Put scenes under one root");
    const auto options = std::make_shared<Options>();
    verb->footer(s_Footer);
    verb->add_option("FILE", options->files, "IN... OUT: the scenes to read, then the scene to write")
        ->required()
        ->expected(3, -1)
        ->type_name("");
    options->model.AddTo(*verb);
    verb->add_flag("--dedupe", options->dedupe,
                   "Make equal meshes, materials and textures one object each, shared by all that used them");
    verb->add_flag("-q,--quiet", options->quiet, "Do not show how far it is");
    verb->add_flag("--json", options->json, "Print one JSON document");
    verb->callback([options, &run] {
        if (std::count(options->files.begin(), options->files.end(), "-") > 1)
            throw CLI::ValidationError("IN", "standard input can be read once");
        if (options->files.back() == "-")
            throw CLI::ValidationError("OUT", "standard output cannot be replaced as a whole: name a file");
        run = [options] { return RunMerge(*options); };
    });
}
} // namespace Lumvo
