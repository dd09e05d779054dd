#include <LumvoData/LumvoData.h>
#include <Tests/Fuzz/FuzzFolder.h>
#include <Tools/FileError.h>
#include <Tools/LoadedScene.h>
#include <Tools/SceneRecords.h>

#include <cstdint>
#include <string>

using namespace Kelvra;
using namespace Lumvo;

// What was loaded, saved and loaded is saved as the same bytes again, and makes the same graph.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto file = Fuzz::PathOf("test.scene");
    Fuzz::PutFile(file, data, size);
    try {
        const LoadedScene scene = LoadScene(file);
        OutputFile once(Fuzz::PathOf("once.scene"));
        bool whole = true; // what is nested too deeply where it is written is not
        {
            const KvAssertScope scope([&](const KvReport&) { whole = false; });
            WriteSceneFile(scene.roots, once);
        }
        if (!whole)
            return 0;
        const LoadedScene saved = LoadScene(once.GetWrittenFile());
        Fuzz::Require(saved.messages.GetCount() == 0 && !saved.earlyEnd, "what is saved loads without messages");
        OutputFile twice(Fuzz::PathOf("twice.scene"));
        WriteSceneFile(saved.roots, twice);
        Fuzz::Require(Fuzz::GetFile(once.GetWrittenFile()) == Fuzz::GetFile(twice.GetWrittenFile()),
                      "what is saved twice is the same");
        const std::string difference = CompareSharing(scene.roots, saved.roots);
        Fuzz::Require(difference.empty(), difference);
    } catch (const FileError& error) {
        Fuzz::Require(error.GetFile() == file, error.what());
    }
    return 0;
}
