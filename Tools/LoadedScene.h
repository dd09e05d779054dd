#pragma once

#include <Tools/Json.h>
#include <Tools/LoadStatistics.h>
#include <Tools/Messages.h>
#include <Tools/Verbs.h>

#include <LumvoData/Scene/ASceneNode.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Lumvo {

/// The first read that asked for more bytes than the file had left.
struct EarlyEnd
{
    std::uint64_t offset; ///< Where the read began.
    std::uint64_t wanted;
    std::uint64_t present;
};

/// Something of a file that has no place in a scene, or of a scene that has none in a file.
struct Loss
{
    std::string what;
    std::uint64_t count;
};
/// [{"what", "count"}].
[[nodiscard]] Json ToJson(const std::vector<Loss>& losses);

/// By whom a file of another format was loaded.
struct ModelOrigin
{
    std::wstring service;
    std::wstring title;
    std::filesystem::path module;
};

/// A scene file as it was loaded, references to scene nodes, back to back, until its end; or a file of another
/// format, which has neither version nor statistics and, for each root, one reference.
struct LoadedScene
{
    std::filesystem::path file;
    std::optional<ModelOrigin> origin; ///< Of a file of another format.
    std::vector<Loss> losses;
    std::uint64_t size = 0;
    std::int32_t version = 0;
    std::uint64_t rootReferences = 0;                       ///< Those that read as empty included.
    std::vector<std::shared_ptr<Kelvra::ASceneNode>> roots; ///< One for each of the others.
    LoadStatistics statistics;
    Messages messages;
    std::optional<EarlyEnd> earlyEnd;

    /// Whether the file was loaded to its end and without messages.
    [[nodiscard]] bool IsWhole() const noexcept { return messages.GetCount() == 0 && !earlyEnd; }
    /// How a verb that loaded this ends at best.
    [[nodiscard]] ExitCode GetExitCode() const noexcept { return IsWhole() ? ExitFine : ExitFindings; }
    /// What the file is, such as "scene file".
    [[nodiscard]] std::string GetFormat() const;
};

/// Loads a scene file; throws FileError with ExitCannotRead where that cannot be done to the file's end.
/// \param progress is called now and then with the bytes read so far.
[[nodiscard]] LoadedScene LoadScene(const std::filesystem::path& file,
                                    const std::function<void(std::uint64_t)>& progress = {});
/// Whether a file begins as scene files do.
[[nodiscard]] bool IsSceneFile(const std::filesystem::path& file);

/// Lets nodes that were loaded with another number of styles keep the four that readers of nodes see, and lists the
/// others as left out. A file can give a node more than its four slots, but no file can give them back as they are.
void KeepFourStyles(LoadedScene& scene);

/// Says on standard error that the file ended early, if it did.
void PrintEarlyEnd(const LoadedScene& scene);
/// Says on standard error what loading has to say of the file, if anything: that it ended early, what was left out,
/// and the messages.
void PrintLoadReport(const LoadedScene& scene);
/// The same as one of several inputs: {"file", "bytes", "format", "endsEarly", "leftOut", "messages"}.
[[nodiscard]] Json InputToJson(const LoadedScene& scene);
/// {"offset", "wanted", "present"}, or null.
[[nodiscard]] Json ToJson(const std::optional<EarlyEnd>& earlyEnd);
} // namespace Lumvo
