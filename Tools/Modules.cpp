#include <Tools/Modules.h>

#include <Tools/FileError.h>
#include <Tools/Output.h>
#include <Tools/Verbs.h>

#include <Formats/Support/FormatServices.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Service/AMeshFileServiceManager.h>
#include <LumvoData/Service/ASceneFileServiceManager.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <cwctype>
#include <sstream>
#include <system_error>

namespace Lumvo {
namespace {

using namespace Kelvra;
namespace fs = std::filesystem;

/// Calls `use` with the kind, the name and the service of everything that is registered.
template <class Use> void ForEachService(Use use)
{
    for (const auto& [name, service] : TSingleton<ASceneFileServiceManager>::Instance())
        use(L's', name, service);
    for (const auto& [name, service] : TSingleton<AMeshFileServiceManager>::Instance())
        use(L'm', name, service);
    for (const auto& [name, service] : Formats::ExportServiceManager::Instance())
        use(L'w', name, service);
}

/// The folder of modules that was installed with this program, or built with it.
fs::path InstalledModules()
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return error ? fs::path() : (program.parent_path() / LUMVO_MODULE_FOLDER).lexically_normal();
}

wchar_t Small(wchar_t letter)
{
    return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(letter)));
}

/// Whether a text ends with what follows a pattern's star.
bool FitsPattern(const std::wstring& name, std::wstring pattern)
{
    pattern.erase(0, pattern.find_first_not_of(L' '));
    pattern.erase(pattern.find_last_not_of(L' ') + 1);
    if (pattern.size() < 3 || pattern[0] != L'*' || pattern.size() > name.size())
        return false;
    return std::equal(pattern.begin() + 1, pattern.end(), name.end() - static_cast<std::ptrdiff_t>(pattern.size() - 1),
                      [](wchar_t a, wchar_t b) { return Small(a) == Small(b); });
}

int PriorityOf(const Modules::Entry& entry)
{
    const auto* priority = dynamic_cast<const Formats::FormatPriority*>(entry.scene.get());
    if (priority == nullptr)
        priority = dynamic_cast<const Formats::FormatPriority*>(entry.mesh.get());
    return priority != nullptr ? priority->GetPriority() : 0;
}
} // namespace

void Modules::AddOption(CLI::App& verb, std::vector<std::string>& folders)
{
    verb.add_option("--plugins", folders, "Look for format modules in this folder first; can be given several times")
        ->check(NotEmpty())
        ->type_name("DIR")
        ->allow_extra_args(false);
}

Modules::Modules(const std::vector<std::string>& folders)
{
    for (const std::string& folder : folders)
        TryFolder(folder, "--plugins", true);
    if (const char* const path = std::getenv("LUMVO_PLUGIN_PATH")) {
        std::istringstream all(path);
        for (std::string folder; std::getline(all, folder, ':');)
            if (!folder.empty())
                TryFolder(folder, "LUMVO_PLUGIN_PATH", false);
    }
    TryFolder(InstalledModules(), "installation", false);
    ListEntries();
}

void Modules::TryFolder(const fs::path& folder, const std::string& origin, bool required)
{
    std::error_code error;
    std::vector<fs::path> files;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error))
        if (at->path().extension() == ".so")
            files.push_back(at->path());
    if (error && required)
        throw FileError(ExitCannotRead, folder, std::nullopt, "modules cannot be looked for here: " + error.message(),
                        "Name a folder with --plugins.");
    if (error)
        m_Attempts.push_back({folder, origin, false, false, 0, error.message()});
    else if (files.empty())
        m_Attempts.push_back({folder, origin, false, false, 0, "no shared libraries are in this folder"});
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files)
        TryModule(fs::absolute(file), origin);
}

void Modules::TryModule(const fs::path& file, const std::string& origin)
{
    ModuleAttempt attempt{file, origin, false, false, 0, {}};
    const auto same = std::find_if(m_Attempts.begin(), m_Attempts.end(), [&](const ModuleAttempt& other) {
        std::error_code ignored;
        return other.loaded && fs::equivalent(other.file, file, ignored);
    });
    if (same != m_Attempts.end()) {
        return; // the folder was named twice
    }
    std::error_code ignored;
    if (!fs::is_regular_file(file, ignored)) {
        attempt.broken = true;
        attempt.reason = "is no regular file";
    } else if (dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) {
        const char* const reason = dlerror();
        attempt.broken = true;
        attempt.reason = Show(reason != nullptr ? reason : "unknown reason", 400);
    } else {
        attempt.loaded = true;
        ForEachService([&](wchar_t kind, const std::wstring& name, const auto& /*service*/) {
            if (m_Owners.try_emplace(kind + name, file).second)
                ++attempt.services;
        });
        if (attempt.services == 0)
            attempt.reason = "registers nothing, or only names that were taken before";
    }
    m_Attempts.push_back(std::move(attempt));
}

std::uint64_t Modules::CountBroken() const
{
    return static_cast<std::uint64_t>(std::count_if(m_Attempts.begin(), m_Attempts.end(),
                                                    [](const ModuleAttempt& attempt) { return attempt.broken; }));
}

void Modules::ListEntries()
{
    std::map<std::wstring, Entry> entries;
    const auto entryOf = [&](wchar_t kind, const std::wstring& name, const auto& service) -> Entry& {
        Entry& entry = entries[name];
        if (entry.name.empty()) {
            entry.name = name;
            entry.title = service->GetTitle();
            entry.filter = service->GetFileFilter();
            const auto owner = m_Owners.find(kind + name);
            if (owner != m_Owners.end())
                entry.module = owner->second;
        }
        return entry;
    };
    for (const auto& [name, service] : TSingleton<ASceneFileServiceManager>::Instance())
        entryOf(L's', name, service).scene = service;
    for (const auto& [name, service] : TSingleton<AMeshFileServiceManager>::Instance())
        entryOf(L'm', name, service).mesh = service;
    for (const auto& [name, service] : Formats::ExportServiceManager::Instance())
        entryOf(L'w', name, service).write = service;
    for (auto& [name, entry] : entries)
        m_Entries.push_back(std::move(entry));
    std::stable_sort(m_Entries.begin(), m_Entries.end(),
                     [](const Entry& a, const Entry& b) { return PriorityOf(a) > PriorityOf(b); });
}

std::vector<const Modules::Entry*> Modules::ReadersOf(const fs::path& file) const
{
    std::vector<const Entry*> found;
    for (const Entry& entry : m_Entries)
        if ((entry.scene || entry.mesh) && FitsFilter(file, entry.filter))
            found.push_back(&entry);
    return found;
}

const Modules::Entry* Modules::WriterOf(const fs::path& file) const
{
    for (const Entry& entry : m_Entries)
        if (entry.write && FitsFilter(file, entry.write->GetFileFilter()))
            return &entry;
    return nullptr;
}

const Modules::Entry* Modules::Find(const std::wstring& name) const
{
    const auto found =
        std::find_if(m_Entries.begin(), m_Entries.end(), [&](const Entry& entry) { return entry.name == name; });
    return found == m_Entries.end() ? nullptr : &*found;
}

bool FitsFilter(const fs::path& file, const std::wstring& filter)
{
    const std::wstring name = KvText::FromPath(file.filename());
    std::wistringstream patterns(filter);
    for (std::wstring pattern; std::getline(patterns, pattern, L';');)
        if (FitsPattern(name, pattern))
            return true;
    return false;
}
} // namespace Lumvo
