#include <Tests/Fuzz/FuzzFolder.h>
#include <Tools/FileError.h>
#include <Tools/LoadedScene.h>
#include <Tools/Salvage.h>
#include <Tools/SceneWalk.h>

#include <cstdint>
#include <string>

using namespace Lumvo;

// What salvage writes is valid, loads, and is as it was told; a valid file loses nothing. Where nothing is saved, nothing
// is written.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto damaged = Fuzz::PathOf("damaged.scene");
    const auto saved = Fuzz::PathOf("saved.scene");
    Fuzz::PutFile(damaged, data, size);
    std::filesystem::remove(saved);
    Salvaged salvaged;
    try {
        salvaged = Salvage(damaged, saved);
    } catch (const FileError& error) {
        Fuzz::Require(error.GetExitCode() == ExitCannotRead, error.what());
        Fuzz::Require(!std::filesystem::exists(saved), "nothing is written where nothing can be saved");
        return 0;
    }
    Findings findings;
    const WalkEnd walk = SceneWalk(saved, findings).Run();
    Fuzz::Require(findings.Count(Severity::Error) == 0, "what was saved is valid");
    Fuzz::Require(walk.objects == salvaged.objects, "all objects that were counted are there");
    Fuzz::Require(std::filesystem::file_size(saved) == salvaged.bytes, "so are all bytes");
    const LoadedScene scene = LoadScene(saved);
    Fuzz::Require(scene.roots.size() == salvaged.roots, "so are all roots");
    return 0;
}
