#pragma once

#include <Tools/LoadedScene.h>
#include <Tools/Modules.h>
#include <Tools/Progress.h>

#include <CLI/CLI.hpp>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Lumvo {

/// How files are to be loaded, as the command line says it.
struct ModelOptions
{
    std::vector<std::string> plugins;
    std::string service; ///< Empty to choose by the file's name.
    bool mesh = false;   ///< All geometry as one entity.

    /// Adds --plugins, --service, --mesh and --scene to a verb.
    void AddTo(CLI::App& verb);
};

/// Loads scene files and files of every format that a module reads; modules are looked for when the first file
/// needs one.
class ModelLoader
{
public:
    explicit ModelLoader(const ModelOptions& options) : m_Options(options) {}

    /// Loads a file, or what comes in on standard input for "-". Throws FileError with ExitCannotRead.
    [[nodiscard]] LoadedScene Load(const std::string& file);

    /// Progress of loading is shown here; null for nowhere.
    void ShowProgress(Progress* progress) noexcept { m_Progress = progress; }
    /// Keeps an image that is inside a file. \returns the name by which textures refer to it.
    using KeepImage = std::function<std::wstring(const std::wstring& name, std::string_view bytes)>;
    void KeepImages(KeepImage keep) { m_KeepImage = std::move(keep); }

    [[nodiscard]] const Modules& GetModules();

private:
    class Listener;

    [[nodiscard]] LoadedScene LoadNamed(const std::filesystem::path& file, const std::filesystem::path& shown);
    [[nodiscard]] LoadedScene LoadWith(const Modules::Entry& entry, const std::filesystem::path& file,
                                       const std::filesystem::path& shown);
    [[nodiscard]] const Modules::Entry* ChooseService(const std::filesystem::path& file,
                                                      const std::filesystem::path& shown);

    const ModelOptions& m_Options;
    std::unique_ptr<Modules> m_Modules;
    Progress* m_Progress = nullptr;
    KeepImage m_KeepImage;
};
} // namespace Lumvo
