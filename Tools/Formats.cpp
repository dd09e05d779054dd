#include <Tools/Json.h>
#include <Tools/Modules.h>
#include <Tools/Output.h>
#include <Tools/Verbs.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace Lumvo {
namespace {

constexpr const char* s_Footer =
    "Modules are the shared libraries in the folders of --plugins, then in those of the environment variable\n"
    "LUMVO_PLUGIN_PATH (separated by colons), then in lumvo's own beside the installed libraries. Of two services of\n"
    "one name the first stays. A service can load a file as a scene, with its nodes and materials, or as a mesh, all\n"
    "its geometry as one entity, or write a scene. Exit code 1 says that a module could not be loaded.\n"
    "JSON: {services: [{name, title, filter, scene, mesh, writes, module}],\n"
    "       tried: [{file, from, loaded, services, reason}]}\n"
    "Example: lumvo formats -v --plugins ./modules";

struct Options
{
    std::vector<std::string> plugins;
    bool verbose = false;
    bool json = false;
};

using Row = std::array<std::string, 5>;

/// Columns as wide as their widest cell; a cell counts its characters.
void PrintTable(const std::vector<Row>& rows)
{
    const auto widthOf = [](const std::string& cell) {
        return static_cast<std::size_t>(std::count_if(
            cell.begin(), cell.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
    };
    std::array<std::size_t, std::tuple_size_v<Row>> widths{};
    for (const Row& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], widthOf(row[i]));
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += row[i] + std::string(widths[i] - widthOf(row[i]) + 2, ' ');
        std::cout << line.erase(line.find_last_not_of(' ') + 1) << '\n';
    }
}

std::string UsesOf(const Modules::Entry& entry)
{
    std::string uses = entry.scene ? "scene" : "";
    for (const auto& [is, what] :
         {std::pair(entry.mesh != nullptr, "mesh"), std::pair(entry.write != nullptr, "write")})
        if (is)
            uses += std::string(uses.empty() ? "" : ", ") + what;
    return uses;
}

void PrintServices(const Modules& modules)
{
    std::vector<Row> rows = {{"name", "title", "filter", "can", "module"}};
    for (const Modules::Entry& entry : modules.GetEntries())
        rows.push_back({Show(entry.name), Show(entry.title), Show(entry.filter), UsesOf(entry),
                        ShowPath(entry.module.filename())});
    PrintTable(rows);
}

void PrintAttempts(const Modules& modules)
{
    std::cout << "\ntried, in this order\n";
    for (const ModuleAttempt& attempt : modules.GetAttempts()) {
        std::cout << "  " << attempt.origin << "  " << ShowPath(attempt.file) << ": ";
        if (attempt.loaded)
            std::cout << "loaded, " << Plural(attempt.services, "service");
        else
            std::cout << "not loaded";
        std::cout << (attempt.reason.empty() ? "" : ": " + attempt.reason) << '\n';
    }
}

void PrintAsJson(const Modules& modules)
{
    Json services = Json::array();
    for (const Modules::Entry& entry : modules.GetEntries())
        services.push_back({{"name", ToJson(entry.name)},
                            {"title", ToJson(entry.title)},
                            {"filter", ToJson(entry.filter)},
                            {"scene", entry.scene != nullptr},
                            {"mesh", entry.mesh != nullptr},
                            {"writes", entry.write != nullptr},
                            {"module", PathToJson(entry.module)}});
    Json tried = Json::array();
    for (const ModuleAttempt& attempt : modules.GetAttempts())
        tried.push_back({{"file", PathToJson(attempt.file)},
                         {"from", attempt.origin},
                         {"loaded", attempt.loaded},
                         {"services", attempt.services},
                         {"reason", attempt.reason.empty() ? Json(nullptr) : Json(attempt.reason)}});
    PrintJson(Json{{"services", std::move(services)}, {"tried", std::move(tried)}});
}

ExitCode RunFormats(const Options& options)
{
    const Modules modules(options.plugins);
    if (options.json)
        PrintAsJson(modules);
    else {
        PrintServices(modules);
        if (options.verbose)
            PrintAttempts(modules);
    }
    const std::uint64_t failed = modules.CountBroken();
    if (failed > 0 && !options.verbose && !options.json) {
        std::cout.flush();
        std::cerr << "lumvo: " << Plural(failed, "module") << " could not be loaded; 'lumvo formats -v' says why\n";
    }
    return failed > 0 ? ExitFindings : ExitFine;
}
} // namespace

void AddFormats(CLI::App& app, Run& run)
{
    CLI::App* const verb = app.add_subcommand("formats", "List the file formats that modules read and write");
    const auto options = std::make_shared<Options>();
    verb->footer(s_Footer);
    Modules::AddOption(*verb, options->plugins);
    verb->add_flag("-v,--verbose", options->verbose, "Say too which modules were tried and why one was not loaded");
    verb->add_flag("--json", options->json, "Print one JSON document");
    verb->callback([options, &run] { run = [options] { return RunFormats(*options); }; });
}
} // namespace Lumvo
