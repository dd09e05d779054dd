#pragma once

#include <Formats/Support/ExportService.h>

#include <LumvoData/Service/AMeshFileService.h>
#include <LumvoData/Service/ASceneFileService.h>

#include <CLI/CLI.hpp>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Lumvo {

/// A shared library that was tried, or a folder in which none could be.
struct ModuleAttempt
{
    std::filesystem::path file;
    std::string origin; ///< Why it was tried, such as "--plugins".
    bool loaded = false;
    bool broken = false;      ///< A shared library by its name that cannot be loaded.
    std::size_t services = 0; ///< That it registered.
    std::string reason;       ///< Why it was not loaded, or adds nothing.
};

/// The file-format modules of this process, and which service is whose.
///
/// All shared libraries are loaded from the folders named by --plugins, then from those of the environment
/// variable LUMVO_PLUGIN_PATH, separated by colons, then from the installation's own. Of several services with one
/// name the first stays.
///
/// - Ownership: modules stay loaded until the process ends, since their services do.
class Modules
{
public:
    /// Adds --plugins to a verb.
    static void AddOption(CLI::App& verb, std::vector<std::string>& folders);

    /// Loads all modules.
    explicit Modules(const std::vector<std::string>& folders);

    [[nodiscard]] const std::vector<ModuleAttempt>& GetAttempts() const noexcept { return m_Attempts; }
    [[nodiscard]] std::uint64_t CountBroken() const;

    /// One name of the registries.
    struct Entry
    {
        std::wstring name;
        std::wstring title;
        std::wstring filter;
        std::shared_ptr<Kelvra::ASceneFileService> scene;
        std::shared_ptr<Kelvra::AMeshFileService> mesh;
        std::shared_ptr<Formats::ExportService> write;
        std::filesystem::path module; ///< Empty where the program itself registered it.
    };
    /// All services, the best first (see Formats::FormatPriority), then in the order of their names.
    [[nodiscard]] const std::vector<Entry>& GetEntries() const noexcept { return m_Entries; }

    /// The services that read a file, and the one that writes it, by its name's extension, the best first; empty
    /// where there is none.
    [[nodiscard]] std::vector<const Entry*> ReadersOf(const std::filesystem::path& file) const;
    [[nodiscard]] const Entry* WriterOf(const std::filesystem::path& file) const;
    /// Null where there is none of that name.
    [[nodiscard]] const Entry* Find(const std::wstring& name) const;

private:
    void TryFolder(const std::filesystem::path& folder, const std::string& origin, bool required);
    void TryModule(const std::filesystem::path& file, const std::string& origin);
    void ListEntries();

    std::vector<ModuleAttempt> m_Attempts;
    std::map<std::wstring, std::filesystem::path> m_Owners; // by kind and name
    std::vector<Entry> m_Entries;
};

/// Whether a file's name fits one of the patterns of a filter, such as "*.gltf;*.glb"; capitals and small letters
/// are alike.
[[nodiscard]] bool FitsFilter(const std::filesystem::path& file, const std::wstring& filter);
} // namespace Lumvo
