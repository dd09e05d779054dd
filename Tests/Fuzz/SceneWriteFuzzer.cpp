#include <Formats/Support/Geometry.h>
#include <Tests/Fuzz/NullExport.h>
#include <Tools/Dedupe.h>
#include <Tools/FileError.h>
#include <Tools/LoadedScene.h>

#include <cstdint>

using namespace Lumvo;

// Any scene that loads can be written in every format, or is refused with a reason, before and after equal objects
// became one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::uint64_t budget = std::uint64_t{16} << 20;
    const auto file = Fuzz::PathOf("test.scene");
    Fuzz::PutFile(file, data, size);
    try {
        const LoadedScene scene = LoadScene(file);
        Fuzz::Listener listener;
        const Formats::FormatListenerScope scope(listener);
        for (const bool shared : {false, true}) {
            for (const std::wstring format : {L"obj", L"stl", L"gltf", L"glb"})
                Fuzz::WriteNowhere(format, scene.roots, file);
            try {
                static_cast<void>(Formats::Flatten(scene.roots, budget));
            } catch (const Formats::FormatError&) { // out of proportion
            }
            if (!shared)
                ShareEqualObjects(scene.roots);
        }
        Fuzz::Require(ShareEqualObjects(scene.roots).Together() == 0, "of equal objects one is left");
    } catch (const FileError&) {
    }
    return 0;
}
