#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

/// \file
/// The verbs of the command, each in the source of its name. To add one: a function here, its source, and a
/// line in Main.cpp.
namespace Lumvo {

/// How the command ends. Of several files the worst counts, which is the greatest.
enum ExitCode : int
{
    ExitFine = 0,
    ExitFindings = 1, ///< Done, but something was found wrong, such as a file that ends early.
    ExitUsage = 2,
    ExitCannotRead = 3,
    ExitCannotWrite = 4,
};

/// For options that mean something else, or nothing, without a value.
inline CLI::Validator NotEmpty()
{
    return {[](const std::string& value) { return value.empty() ? "must not be empty" : ""; }, ""};
}

/// The work that the command line asks for; it throws FileError where it cannot go on.
using Run = std::function<ExitCode()>;

// Each adds its verb to the command line; parsing the verb sets `run`.
void AddCheck(CLI::App& app, Run& run);
void AddConvert(CLI::App& app, Run& run);
void AddDemo(CLI::App& app, Run& run);
void AddDiff(CLI::App& app, Run& run);
void AddFormats(CLI::App& app, Run& run);
void AddInfo(CLI::App& app, Run& run);
void AddMaterials(CLI::App& app, Run& run);
void AddMerge(CLI::App& app, Run& run);
void AddTree(CLI::App& app, Run& run);
} // namespace Lumvo
