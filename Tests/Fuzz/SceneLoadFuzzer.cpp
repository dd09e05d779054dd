#include <LumvoData/LumvoData.h>
#include <Tests/Fuzz/FuzzFolder.h>

#include <cstdint>
#include <new>
#include <stdexcept>
#include <vector>

using namespace Kelvra;

// The library alone loads a file, as a viewer would: what reads as empty is left out.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const KvAssertScope quiet([](const KvReport&) {});
    const auto file = Fuzz::PathOf("test.scene");
    Fuzz::PutFile(file, data, size);
    ASceneSerializeContext context(KvText::FromPath(file), false);
    if (!context.Begin())
        return 0;
    AGroupSceneNode scene;
    try {
        while (context.GetBytesLeft() > 0) {
            std::shared_ptr<ASceneNode> root;
            const std::uint64_t start = context.GetPosition();
            context.Collector().ReadPtr(root, context);
            Fuzz::Require(context.GetPosition() > start, "every reference takes bytes");
            if (root)
                scene.AddChildNode(root);
        }
    } catch (const std::length_error&) { // a count far beyond the end of the file
    }
    context.End();
    return 0;
}
