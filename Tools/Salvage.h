#pragma once

#include <Tools/SceneWalk.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace Lumvo {

/// What was saved from a damaged scene file.
struct Salvaged
{
    std::uint64_t roots = 0;
    std::uint64_t objects = 0;    ///< In the new file.
    std::uint64_t bytes = 0;      ///< Of the new file.
    std::uint64_t lostBytes = 0;  ///< Of the old one, from the first bad record on.
    std::uint64_t lostOffset = 0; ///< Where that begins.
    std::uint64_t dropped = 0;    ///< References that a loader leaves out, such as empty items of lists.
    std::uint64_t styles = 0;     ///< Of nodes with another number than four: those that are in no slot of theirs.
};

/// Writes a valid scene of what stands complete before the first place where the records of a file are out of step:
/// every group and list keeps what was read of it so far, and what was begun without being complete is left out.
/// References that a loader drops are gone too. The new file takes its place when check finds it valid. Of a valid
/// file all is saved, even if it holds nothing.
///
/// \throws FileError when nothing can be saved, or the file cannot be written.
Salvaged Salvage(const std::filesystem::path& damaged, const std::filesystem::path& out);
} // namespace Lumvo
