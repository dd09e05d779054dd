#include <Tools/FileError.h>
#include <Tools/Output.h>
#include <Tools/Temporaries.h>
#include <Tools/Verbs.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Lumvo;

/// The arguments as the parser takes them: from last to first.
std::vector<std::string> Arguments(int argc, char** argv)
{
    std::vector<std::string> arguments(std::make_reverse_iterator(argv + std::max(argc, 1)),
                                       std::make_reverse_iterator(argv + 1));
    for (std::string& argument : arguments)
        if (!argument.empty() && argument.front() == '[' && argument.back() == ']')
            argument.insert(0, "./"); // or the parser would take a file's name in brackets for a list of names
    return arguments;
}

ExitCode Execute(std::vector<std::string> arguments)
{
    Run run;
    CLI::App app("Looks into scene files, which hold the entities, nodes, styles and materials of 3D scenes, and\n"
                 "converts models into them.",
                 "lumvo");
    app.set_version_flag("--version", "lumvo " LUMVO_VERSION);
    app.require_subcommand(0, 1);
    app.add_option_function<std::string>(
           "--color", SetColours, "Colours: always, never, or auto, on a terminal while NO_COLOR is not set [auto]")
        ->check(CLI::IsMember({"always", "never", "auto"}))
        ->type_name("WHEN");
    app.fallthrough();
    app.footer("Exit codes: 0 fine, 1 something was found wrong, such as a file that ends early or messages while one\n"
               "            was loaded, 2 wrong usage, 3 a file cannot be read, 4 a file cannot be written\n"
               "Example:    lumvo demo flange.scene && lumvo tree flange.scene\n"
               "Help on a verb: lumvo VERB --help");
    app.failure_message([](const CLI::App*, const CLI::Error& error) {
        return "lumvo: " + ShowLines(error.what()) + "\n       Run with --help for more information.\n";
    });
    AddCheck(app, run);
    AddConvert(app, run);
    AddDemo(app, run);
    AddDiff(app, run);
    AddFormats(app, run);
    AddInfo(app, run);
    AddMaterials(app, run);
    AddMerge(app, run);
    AddTree(app, run);
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitFine : ExitUsage;
    }
    if (!run) {
        std::cerr << app.help();
        return ExitUsage;
    }
    try {
        return run();
    } catch (const FileError& error) {
        PrintError(error);
        return error.GetExitCode();
    }
}

/// Says what the exception that is being handled is.
ExitCode StopWithException()
try {
    throw;
} catch (const std::bad_alloc&) {
    std::fputs("lumvo: stopped: not enough memory\n", stderr);
    return ExitCannotRead;
} catch (const std::exception& error) {
    std::fprintf(stderr, "lumvo: stopped: %s\n", ShowLines(error.what()).c_str());
    return ExitCannotRead;
} catch (...) {
    std::fputs("lumvo: stopped: unknown exception\n", stderr);
    return ExitCannotRead;
}

/// Ends the program where an exception cannot be caught. Destructors can need memory too: those of JSON documents do.
[[noreturn]] void EndAtOnce()
{
    RemoveTemporaries();
    if (std::current_exception())
        std::_Exit(StopWithException());
    std::abort();
}
} // namespace

int main(int argc, char** argv)
try {
    std::set_terminate(EndAtOnce);
    Lumvo::WatchSignals();
    std::setlocale(LC_CTYPE, ""); // tells the terminal's encoding; numbers are written without it
    const Lumvo::ExitCode code = Execute(Arguments(argc, argv));
    // What was printed is a result too: a full disk or a closed pipe must not pass for success.
    if (!std::cout.flush()) {
        std::fputs("lumvo: cannot write to standard output\n", stderr);
        return Lumvo::ExitCannotWrite;
    }
    return code;
} catch (...) {
    return StopWithException();
}
