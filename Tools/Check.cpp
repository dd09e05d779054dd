#include <Tools/FileError.h>
#include <Tools/Findings.h>
#include <Tools/Json.h>
#include <Tools/Output.h>
#include <Tools/Salvage.h>
#include <Tools/SceneWalk.h>
#include <Tools/Verbs.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Lumvo {
namespace {

constexpr const char* s_Footer =
    "Errors are what a loader stumbles over: a file without errors loads whole and without messages. Warnings are\n"
    "what a viewer stumbles over in a file that loads; notes are harmless. The file is walked without making its\n"
    "objects, up to the first place after which its records are out of step. Equal findings, those of one code in\n"
    "one member of one class, are told once, with offset and path of the first.\n"
    "Exit codes: 0 valid, 1 not valid (of several files: any), 3 a file cannot be read or nothing of it can be saved,\n"
    "4 OUT cannot be written.\n"
    "JSON: {file, valid, errors, warnings, notes, objects, inStep, walkedBytes, findings: [{code, severity, class,\n"
    "       member, offset, path, detail, count}], findingsLeftOut, salvaged}; an array for several files.\n"
    "Example: lumvo check --salvage saved.scene broken.scene";

struct Options
{
    std::vector<std::string> files;
    std::map<Severity, std::vector<std::string>> overrides;
    std::string salvage;
    std::uint64_t mostIssues = 100;
    bool strict = false;
    bool json = false;
    bool listCodes = false;

    [[nodiscard]] std::map<FindingCode, Severity> SeverityOfCodes() const
    {
        std::map<FindingCode, Severity> severities;
        for (const auto& [severity, names] : overrides)
            for (const std::string& name : names)
                for (const FindingRule& rule : AllFindingRules())
                    if (name == rule.name)
                        severities[rule.code] = severity;
        return severities;
    }
};

void ListCodes()
{
    for (const FindingRule& rule : AllFindingRules()) {
        std::string line = std::string(rule.name) + std::string(20 - std::string_view(rule.name).size(), ' ');
        line +=
            std::string(NameOf(rule.severity)) + std::string(9 - std::string_view(NameOf(rule.severity)).size(), ' ');
        std::cout << line << rule.meaning << '\n';
    }
}

bool IsValid(const Findings& findings, bool strict)
{
    return findings.Count(Severity::Error) == 0 && (!strict || findings.Count(Severity::Warning) == 0);
}

void PrintSalvaged(const Salvaged& salvaged, const std::string& out)
{
    std::cout << "  saved " << ShowPath(out) << ": " << Plural(salvaged.roots, "root") << ", "
              << Plural(salvaged.objects, "object") << ", " << Plural(salvaged.bytes, "byte") << '\n';
    if (salvaged.lostBytes > 0)
        std::cout << "  lost  the last " << Plural(salvaged.lostBytes, "byte") << " of the file, from byte "
                  << salvaged.lostOffset << " on\n";
    if (salvaged.dropped > 0)
        std::cout << "  lost  " << Plural(salvaged.dropped, "reference") << " that no loader keeps\n";
    if (salvaged.styles > 0)
        std::cout << "  lost  " << Plural(salvaged.styles, "style") << " beyond the four of a node\n";
}

Json ToJson(const Salvaged& salvaged, const std::string& out)
{
    return {{"file", PathToJson(out)},
            {"roots", salvaged.roots},
            {"objects", salvaged.objects},
            {"bytes", salvaged.bytes},
            {"lostBytes", salvaged.lostBytes},
            {"lostOffset", salvaged.lostOffset},
            {"droppedReferences", salvaged.dropped},
            {"droppedStyles", salvaged.styles}};
}

ExitCode CheckOne(const std::string& file, const Options& options, std::vector<Json>& results)
{
    Findings findings(options.SeverityOfCodes());
    const WalkEnd walk = SceneWalk(file, findings).Run();
    const bool valid = IsValid(findings, options.strict);
    std::optional<Salvaged> salvaged;
    std::optional<FileError> failure;
    if (!options.salvage.empty())
        try {
            salvaged = Salvage(file, options.salvage);
        } catch (const FileError& error) {
            failure = error;
        }
    const std::uint64_t all = findings.GetAll().size();
    if (options.json)
        results.push_back({{"file", PathToJson(file)},
                           {"valid", valid},
                           {"errors", findings.Count(Severity::Error)},
                           {"warnings", findings.Count(Severity::Warning)},
                           {"notes", findings.Count(Severity::Note)},
                           {"objects", walk.objects},
                           {"inStep", walk.inStep},
                           {"walkedBytes", walk.offset},
                           {"findings", findings.ToJson(options.mostIssues)},
                           {"findingsLeftOut", options.mostIssues == 0 ? 0 : all - std::min(all, options.mostIssues)},
                           {"salvaged", salvaged ? ToJson(*salvaged, options.salvage) : Json(nullptr)}});
    else {
        const Screen screen = Screen::OfStandardOutput();
        std::cout << screen.Paint(Screen::Strong, ShowPath(file)) << '\n';
        findings.Print(std::cout, screen, options.mostIssues);
        if (!walk.inStep)
            std::cout << "  what follows byte " << walk.offset << " is out of step and was not checked\n";
        if (salvaged)
            PrintSalvaged(*salvaged, options.salvage);
        std::cout << ShowPath(file) << ": " << screen.Paint(Screen::Strong, valid ? "valid" : "not valid") << ": "
                  << Plural(findings.Count(Severity::Error), "error") << ", "
                  << Plural(findings.Count(Severity::Warning), "warning") << ", "
                  << Plural(findings.Count(Severity::Note), "note") << ", " << Plural(walk.objects, "object") << '\n';
    }
    std::cout.flush();
    if (failure) {
        PrintError(*failure);
        return failure->GetExitCode();
    }
    return valid ? ExitFine : ExitFindings;
}

ExitCode RunCheck(const Options& options)
{
    if (options.listCodes) {
        ListCodes();
        return ExitFine;
    }
    ExitCode worst = ExitFine;
    std::vector<Json> results;
    for (const std::string& file : options.files)
        try {
            worst = std::max(worst, CheckOne(file, options, results));
        } catch (const FileError& error) {
            PrintError(error);
            worst = std::max(worst, error.GetExitCode());
            results.push_back({{"file", PathToJson(error.GetFile())}, {"error", error.GetProblem()}});
        }
    if (options.json)
        PrintJson(results);
    return worst;
}
} // namespace

void AddCheck(CLI::App& app, Run& run)
{
    CLI::App* const verb = app.add_subcommand("check", "Find what is wrong with scene files, and save what is not");
    const auto options = std::make_shared<Options>();
    verb->footer(s_Footer);
    verb->add_option("FILE", options->files, "Scene files")->type_name("");
    std::vector<std::string> names;
    for (const FindingRule& rule : AllFindingRules())
        names.emplace_back(rule.name);
    const auto override = [&](const char* option, Severity severity, const char* help) {
        verb->add_option(option, options->overrides[severity], help)
            ->type_name("CODE")
            ->allow_extra_args(false)
            ->check(CLI::Validator(
                [names](const std::string& name) {
                    return std::find(names.begin(), names.end(), name) != names.end()
                               ? ""
                               : "there is no code " + name + "; --codes lists them";
                },
                ""));
    };
    override("--error", Severity::Error, "Take findings of this code for errors; can be given several times");
    override("--warning", Severity::Warning, "Take them for warnings");
    override("--note", Severity::Note, "Take them for notes");
    override("--ignore", Severity::Ignored, "Do not tell of them");
    verb->add_flag("--strict", options->strict, "A file with warnings is not valid either");
    verb->add_option("--max-issues", options->mostIssues, "Show this many findings, 0 for all; all are counted [100]")
        ->check(CLI::NonNegativeNumber)
        ->type_name("N");
    verb->add_option("--salvage", options->salvage,
                     "Write a valid scene of what is complete before the first bad record; for one FILE")
        ->check(NotEmpty())
        ->type_name("OUT");
    verb->add_flag("--codes", options->listCodes, "List the codes, their severities and meanings");
    verb->add_flag("--json", options->json, "Print one JSON document");
    verb->callback([options, &run] {
        if (options->files.empty() && !options->listCodes)
            throw CLI::RequiredError("FILE");
        if (!options->salvage.empty() && options->files.size() != 1)
            throw CLI::ValidationError("--salvage", "takes one FILE");
        run = [options] { return RunCheck(*options); };
    });
}
} // namespace Lumvo
