#pragma once

#include <Tools/Json.h>
#include <Tools/LoadStatistics.h>
#include <Tools/Messages.h>
#include <Tools/Verbs.h>

#include <LumvoData/Scene/ASceneNode.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace Lumvo {

/// The first read that asked for more bytes than the file had left.
struct EarlyEnd
{
    std::uint64_t offset; ///< Where the read began.
    std::uint64_t wanted;
    std::uint64_t present;
};

/// A scene file as it was loaded: references to scene nodes, back to back, until its end.
struct LoadedScene
{
    std::filesystem::path file;
    std::uint64_t size = 0;
    std::int32_t version = 0;
    std::uint64_t rootReferences = 0;                       ///< Those that read as empty included.
    std::vector<std::shared_ptr<Kelvra::ASceneNode>> roots; ///< One for each of the others.
    LoadStatistics statistics;
    Messages messages;
    std::optional<EarlyEnd> earlyEnd;

    /// Whether messages were reported.
    [[nodiscard]] ExitCode GetExitCode() const noexcept { return messages.GetCount() > 0 ? ExitFindings : ExitFine; }
};

/// Loads a scene file; throws FileError with ExitCannotRead where that cannot be done to the file's end.
[[nodiscard]] LoadedScene LoadScene(const std::filesystem::path& file);

/// Says on standard error that the file ended early, if it did.
void PrintEarlyEnd(const LoadedScene& scene);
/// {"offset", "wanted", "present"}, or null.
[[nodiscard]] Json ToJson(const std::optional<EarlyEnd>& earlyEnd);
} // namespace Lumvo
