#pragma once

#include <Tools/LoadedScene.h>
#include <Tools/Modules.h>
#include <Tools/OutputFiles.h>
#include <Tools/Progress.h>
#include <Tools/SceneGraph.h>

#include <cstdint>
#include <vector>

namespace Lumvo {

/// What became of writing a scene in another format.
struct WrittenModel
{
    std::uint64_t bytes = 0; ///< Of all files together.
    std::vector<Loss> losses;
};

/// Writes a scene with a module's service. Throws FileError with ExitCannotWrite.
WrittenModel WriteModel(const Formats::ExportService& service, const Roots& roots, OutputFiles& files,
                        Progress& progress);
} // namespace Lumvo
