#include <Tests/Fuzz/FuzzFolder.h>
#include <Tools/FileError.h>
#include <Tools/LoadedScene.h>
#include <Tools/SceneWalk.h>

#include <cstdint>

using namespace Lumvo;

// The walk finds no error exactly when the file loads whole and without a message.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto file = Fuzz::PathOf("test.scene");
    Fuzz::PutFile(file, data, size);
    Findings findings;
    const WalkEnd walk = SceneWalk(file, findings).Run();
    bool loads = false;
    try {
        const LoadedScene scene = LoadScene(file);
        loads = scene.messages.GetCount() == 0 && !scene.earlyEnd;
    } catch (const FileError&) {
    }
    const bool valid = findings.Count(Severity::Error) == 0;
    Fuzz::Require(valid == loads,
                  loads ? "check finds an error in what loads" : "check finds no error in what does not load");
    Fuzz::Require(walk.inStep || !valid, "a file without errors is walked whole");
    return 0;
}
