#pragma once

#include <Tools/LoadedScene.h>
#include <Tools/Modules.h>
#include <Tools/OutputFile.h>
#include <Tools/Progress.h>
#include <Tools/SceneGraph.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Lumvo {

/// The file that a run is asked for and those that go with it: all take their places together, at the end.
class OutputFiles
{
public:
    /// Makes the file that is asked for, so that a place which cannot be written is known before any work.
    explicit OutputFiles(const std::filesystem::path& file) { m_Files.push_back(std::make_unique<OutputFile>(file)); }

    [[nodiscard]] OutputFile& GetMain() const noexcept { return *m_Files.front(); }
    /// The file itself, or a new one that goes with it. One that is there already without the file is somebody's own
    /// and not replaced.
    OutputFile& Open(const std::filesystem::path& file);
    /// Writes an image beside the file, under a free name made of the file's stem and `name`; an image that stands
    /// there already with these very bytes is used as it is.
    /// \returns the name without folder.
    std::wstring KeepImage(const std::wstring& name, std::string_view bytes);
    /// The files that go with the one that is asked for, images that were there already included.
    [[nodiscard]] const std::vector<std::filesystem::path>& GetBeside() const noexcept { return m_Beside; }
    /// Moves all files to their places, the one that is asked for last.
    void Commit();

private:
    [[nodiscard]] bool IsPlanned(const std::filesystem::path& file) const;

    std::vector<std::unique_ptr<OutputFile>> m_Files;
    std::vector<std::filesystem::path> m_Beside;
};

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
