#include <Tools/Describe.h>
#include <Tools/Json.h>
#include <Tools/LoadedScene.h>
#include <Tools/Models.h>
#include <Tools/Output.h>
#include <Tools/TreeWalk.h>
#include <Tools/Verbs.h>

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Lumvo {
namespace {

using namespace Kelvra;

constexpr const char* s_Footer =
    "An object that is referred to more than once carries a label, such as #3. It is shown where it is met first;\n"
    "afterwards -> #3 stands for all of it. The items of an entity are summed up in the entity's line.\n"
    "JSON: {file, endsEarly, rootReferences, lines: [LINE...], nodesLeftOut, leftOut, messages}. LINEs stand in the "
    "order of\n"
    "       the tree: {depth, role, class, label, repeated, styles, inside, ...}. label is null for what is not\n"
    "       shared; a repeated line ends there; styles are the labels of styles, materials and textures shown\n"
    "       before, by role; inside counts what --depth hides. A node adds {id, visible, transform, matrix, box},\n"
    "       transform being \"none\", \"translation\" or \"full\" and matrix null for none; an entity {tag, box},\n"
    "       counts of its items and the labels of shared ones in sharedItems; others add their fields.\n"
    "Example: lumvo tree --depth 2 flange.scene";

constexpr std::uint64_t s_DefaultMost = 200;

struct Options
{
    std::string file;
    ModelOptions model;
    std::uint64_t depth = 0;
    std::uint64_t most = s_DefaultMost;
    bool json = false;
};

/// What stands before a row: a column for each object that holds it.
class Indentation
{
public:
    explicit Indentation(const Screen& screen) : m_Screen(screen) {}

    std::string Before(const TreeRow& row)
    {
        m_Last.resize(row.depth);
        m_Last.push_back(row.last);
        // The innermost columns are enough to read by, and a deep scene would fill every line with them.
        const std::size_t first = row.depth < s_MostColumns ? 0 : row.depth + 1 - s_MostColumns;
        std::string columns;
        if (first > 0)
            columns = "(" + std::to_string(first) + " deeper) ";
        for (std::size_t i = first; i < row.depth; ++i)
            columns += m_Last[i] ? "   " : m_Screen.boxDrawing ? "\u2502  " : "|  ";
        if (m_Screen.boxDrawing)
            columns += row.last ? "\u2514\u2500 " : "\u251C\u2500 ";
        else
            columns += row.last ? "`- " : "|- ";
        return m_Screen.Paint(Screen::Faint, columns);
    }

private:
    static constexpr std::size_t s_MostColumns = 20;

    const Screen& m_Screen;
    std::vector<bool> m_Last; // by depth: whether the current row there is its holder's last
};

std::string NameOfLabel(std::uint64_t label)
{
    return "#" + std::to_string(label);
}

void PrintRow(const TreeRow& row, TreeWalk& walk, const Screen& screen, const std::string& indentation)
{
    const std::uint64_t label = walk.LabelOf(*row.reference.object);
    const std::string className = Show(row.reference.object->GetRuntimeClassId().GetName());
    std::cout << indentation;
    if (!IsPartOfTree(row.reference))
        std::cout << RoleOf(row.reference) << ": ";
    if (row.repeated) {
        std::cout << "-> " << screen.Paint(Screen::Label, NameOfLabel(label)) << ' ' << className << '\n';
        return;
    }
    if (label != 0)
        std::cout << screen.Paint(Screen::Label, NameOfLabel(label)) << ' ';
    std::cout << screen.Paint(Screen::Strong, className);
    const Description description =
        Describe(*row.reference.object, [&walk](const AObject& object) { return walk.LabelOf(object); });
    if (!description.text.empty())
        std::cout << "  " << description.text;
    const char* separator = "; ";
    for (const Reference& reference : row.shownBefore) {
        const std::string role = RoleOf(reference); // "edge" says enough of an edge style
        std::cout << separator << role.substr(0, role.find(" style")) << ' '
                  << screen.Paint(Screen::Label, NameOfLabel(walk.LabelOf(*reference.object)));
        separator = ", ";
    }
    if (row.inside > 0)
        std::cout << "  ... " << Show(row.inside) << " inside";
    std::cout << '\n';
}

void Print(const LoadedScene& scene, TreeWalk& walk, const Options& options)
{
    const Screen screen = Screen::OfStandardOutput();
    Indentation indentation(screen);
    std::cout << screen.Paint(Screen::Strong, ShowPath(scene.file)) << ": "
              << Plural(scene.rootReferences, "root reference") << ", " << Plural(walk.GetNodesLeft(), "node") << '\n';
    for (std::uint64_t lines = 0; !walk.AtEnd() && (options.most == 0 || lines < options.most); ++lines) {
        const TreeRow row = walk.Next();
        PrintRow(row, walk, screen, indentation.Before(row));
    }
    if (walk.GetNodesLeft() > 0 || !walk.AtEnd())
        std::cout << "... " << Plural(walk.GetNodesLeft(), "node") << " left out"
                  << (walk.AtEnd() ? " (--depth)" : " (--max 0 shows all)") << '\n';
}

void PrintAsJson(const TreeRow& row, TreeWalk& walk, JsonPrinter& document)
{
    const AObject& object = *row.reference.object;
    const std::uint64_t label = walk.LabelOf(object);
    document.BeginObject().AddMembers({{"depth", row.depth},
                                       {"role", RoleOf(row.reference)},
                                       {"class", ToJson(object.GetRuntimeClassId().GetName())},
                                       {"label", label != 0 ? Json(label) : Json(nullptr)},
                                       {"repeated", row.repeated}});
    if (!row.repeated) {
        Json styles = Json::object();
        for (const Reference& reference : row.shownBefore)
            styles[RoleOf(reference)] = walk.LabelOf(*reference.object);
        const Description description = Describe(object, [&walk](const AObject& other) { return walk.LabelOf(other); });
        document.AddMembers({{"styles", styles}, {"inside", row.inside}}).AddMembers(description.fields);
        if (!description.sharedItems.empty()) {
            document.BeginArray("sharedItems");
            for (const std::uint64_t item : description.sharedItems)
                document.Add(item);
            document.End();
        }
    }
    document.End();
}

void PrintAsJson(const LoadedScene& scene, TreeWalk& walk, std::uint64_t most)
{
    JsonPrinter document;
    document.AddMembers({{"file", PathToJson(scene.file)},
                         {"endsEarly", ToJson(scene.earlyEnd)},
                         {"rootReferences", scene.rootReferences}});
    document.BeginArray("lines");
    for (std::uint64_t lines = 0; !walk.AtEnd() && (most == 0 || lines < most); ++lines)
        PrintAsJson(walk.Next(), walk, document);
    document.End();
    document.AddMembers({{"nodesLeftOut", walk.GetNodesLeft()},
                         {"leftOut", ToJson(scene.losses)},
                         {"messages", scene.messages.ToJson()}});
    document.End();
}

ExitCode RunTree(const Options& options)
{
    const LoadedScene scene = ModelLoader(options.model).Load(options.file);
    TreeWalk walk(scene.roots, options.depth);
    if (options.json)
        PrintAsJson(scene, walk, options.most);
    else
        Print(scene, walk, options);
    std::cout.flush(); // keeps its place before the notes
    PrintLoadReport(scene);
    return scene.GetExitCode();
}
} // namespace

void AddTree(CLI::App& app, Run& run)
{
    CLI::App* const verb = app.add_subcommand("tree", "Show the nodes of a scene or a model and what they hold");
    const auto options = std::make_shared<Options>();
    // The parser turns -1 into a huge unsigned number.
    const CLI::Validator notNegative(
        [](const std::string& number) { return number.find('-') == 0 ? "cannot be negative" : ""; }, "");
    verb->footer(s_Footer);
    verb->add_option("FILE", options->file, "A scene file, a model, or - for standard input")
        ->required()
        ->type_name("");
    options->model.AddTo(*verb);
    verb->add_option("--depth", options->depth, "Show this many levels, 1 for the roots alone, 0 for all [0]")
        ->check(notNegative)
        ->type_name("N");
    CLI::Option* const most =
        verb->add_option("--max", options->most, "Stop after this many lines, 0 for no limit [200; 0 with --json]")
            ->check(notNegative)
            ->type_name("N");
    verb->add_flag("--json", options->json, "Print one JSON document");
    verb->callback([options, most, &run] {
        if (options->json && most->count() == 0)
            options->most = 0; // a program wants the whole scene unless it says otherwise
        run = [options] { return RunTree(*options); };
    });
}
} // namespace Lumvo
