#include <Tools/Models.h>

#include <Tools/FileError.h>
#include <Tools/Output.h>
#include <Tools/Temporaries.h>
#include <Tools/Verbs.h>

#include <Formats/Support/FormatListener.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Scene/AEntitySceneNode.h>

#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>
#include <fstream>
#include <iostream>
#include <new>
#include <system_error>
#include <utility>

namespace Lumvo {
namespace {

using namespace Kelvra;

const std::filesystem::path s_StandardInput = "standard input";

/// What comes in on standard input, as a file in a folder of its own, that lives as long as this. The file's name is
/// always the same, since models pass it on to what they make of it.
class Spool
{
public:
    Spool()
    {
        std::error_code error;
        std::string folder = (std::filesystem::temp_directory_path(error) / "lumvo-XXXXXX").string();
        errno = error.value();
        if (error || mkdtemp(folder.data()) == nullptr)
            Fail("no temporary folder can be made: ");
        m_Folder.Watch(folder);
        m_Path = std::filesystem::path(folder) / "input";
        m_File.Watch(m_Path);
        errno = 0;
        std::ofstream file(m_Path, std::ios::binary);
        std::array<char, 1 << 16> block{};
        for (;;) {
            const ssize_t count = read(STDIN_FILENO, block.data(), block.size());
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                Fail("cannot be read: ");
            if (count == 0)
                break;
            errno = 0;
            if (!file.write(block.data(), count))
                Fail("cannot be kept in a temporary file: ");
        }
        if (!file.flush())
            Fail("cannot be kept in a temporary file: ");
    }

    [[nodiscard]] const std::filesystem::path& GetFile() const noexcept { return m_Path; }

private:
    [[noreturn]] static void Fail(const char* problem)
    {
        throw FileError(ExitCannotRead, s_StandardInput, std::nullopt,
                        problem + std::error_code(errno, std::generic_category()).message(),
                        "Put what comes in into a file and name that.");
    }

    std::filesystem::path m_Path;
    Temporary m_Folder; // removed after what is in it
    Temporary m_File;
};
} // namespace

void ModelOptions::AddTo(CLI::App& verb)
{
    Modules::AddOption(verb, plugins);
    verb.add_option("--service", service, "Load with this service, whatever the file is called; see lumvo formats")
        ->check(NotEmpty())
        ->type_name("NAME");
    CLI::Option* const whole =
        verb.add_flag("--mesh", mesh, "Load all geometry of a model as one entity; scene files are loaded as they are");
    verb.add_flag("--scene", "Load a model with its nodes, transforms, materials and textures; this is the default")
        ->excludes(whole);
}

/// Hears what a module tells while it loads one file.
class ModelLoader::Listener : public Formats::FormatListener
{
public:
    Listener(const ModelLoader& loader, std::vector<Loss>& losses) : m_Loader(loader), m_Losses(losses) {}

    [[nodiscard]] const std::optional<Formats::FormatError>& GetError() const noexcept { return m_Error; }
    /// Throws what kept an image from being written.
    void CheckImages() const
    {
        if (m_ImageFailure)
            std::rethrow_exception(m_ImageFailure);
    }

private:
    void OnError(const std::filesystem::path& /*file*/, const Formats::FormatError& error) override { m_Error = error; }
    void OnLoss(const std::filesystem::path& /*file*/, const std::string& what, std::uint64_t count) override
    {
        m_Losses.push_back({Show(what), count});
    }
    void OnProgress(const std::filesystem::path& /*file*/, std::uint64_t done, std::uint64_t total) override
    {
        if (m_Loader.m_Progress != nullptr)
            m_Loader.m_Progress->Update(done, total);
    }
    std::wstring OnImage(const std::filesystem::path& /*file*/, const std::wstring& name,
                         std::string_view bytes) override
    {
        if (!m_Loader.m_KeepImage || m_ImageFailure)
            return {};
        try {
            return m_Loader.m_KeepImage(name, bytes);
        } catch (...) {
            m_ImageFailure = std::current_exception(); // no fault of the file, as the module would take it for
            return {};
        }
    }

    const ModelLoader& m_Loader;
    std::vector<Loss>& m_Losses;
    std::optional<Formats::FormatError> m_Error;
    std::exception_ptr m_ImageFailure;
};

LoadedScene ModelLoader::Load(const std::string& file)
{
    if (file != "-")
        return LoadNamed(file, file);
    const Spool spool;
    return LoadNamed(spool.GetFile(), s_StandardInput);
}

const Modules& ModelLoader::GetModules()
{
    if (!m_Modules) {
        m_Modules = std::make_unique<Modules>(m_Options.plugins);
        if (m_Modules->CountBroken() > 0)
            std::cerr << "lumvo: note: " << Plural(m_Modules->CountBroken(), "module")
                      << " could not be loaded; 'lumvo formats -v' says why\n";
    }
    return *m_Modules;
}

const Modules::Entry* ModelLoader::ChooseService(const std::filesystem::path& file, const std::filesystem::path& shown)
{
    if (!m_Options.service.empty()) {
        const Modules::Entry* const entry = GetModules().Find(KvText::FromUtf8(m_Options.service));
        if (entry == nullptr || !(m_Options.mesh ? entry->mesh != nullptr : entry->scene || entry->mesh))
            throw FileError(ExitUsage, shown, std::nullopt,
                            "there is no service " + Show(m_Options.service) + " to load it with",
                            "'lumvo formats' lists the services, 'lumvo formats -v' what was looked for where.");
        return entry;
    }
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored) || IsSceneFile(file))
        return nullptr;
    for (const Modules::Entry* const entry : GetModules().ReadersOf(shown))
        if (!m_Options.mesh || entry->mesh)
            return entry;
    return nullptr;
}

LoadedScene ModelLoader::LoadNamed(const std::filesystem::path& file, const std::filesystem::path& shown)
{
    if (m_Progress != nullptr)
        m_Progress->Begin("reading " + ShowPath(shown));
    if (const Modules::Entry* const entry = ChooseService(file, shown))
        return LoadWith(*entry, file, shown);
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(file, error);
    std::function<void(std::uint64_t)> progress;
    if (m_Progress != nullptr && !error)
        progress = [this, size](std::uint64_t done) { m_Progress->Update(done, size); };
    try {
        LoadedScene scene = LoadScene(file, progress);
        scene.file = shown;
        return scene;
    } catch (const FileError& failure) {
        if (file == shown)
            throw;
        throw FileError(failure.GetExitCode(), shown, failure.GetOffset(), failure.GetProblem(),
                        IsSceneFile(file) ? failure.GetAdvice()
                                          : "If it is a model, say with --service in which format.");
    }
}

LoadedScene ModelLoader::LoadWith(const Modules::Entry& entry, const std::filesystem::path& file,
                                  const std::filesystem::path& shown)
{
    LoadedScene scene;
    scene.file = shown;
    scene.origin = ModelOrigin{entry.name, entry.title, entry.module};
    Listener listener(*this, scene.losses);
    const std::string advice = "It was read as " + Show(entry.title) + " (" + Show(entry.name) + ").";
    {
        const KvAssertScope collecting([&](const KvReport& report) { scene.messages.Add(report, {}); });
        const Formats::FormatListenerScope listening(listener);
        const std::wstring fileName = KvText::FromPath(file);
        try {
            if (entry.scene && !m_Options.mesh) {
                if (auto node = entry.scene->LoadFile(fileName))
                    scene.roots.push_back(std::move(node));
                entry.scene->ForgetFile(fileName);
            } else {
                if (const auto entity = entry.mesh->LoadFile(fileName)) {
                    const auto node = std::make_shared<AEntitySceneNode>();
                    node->SetEntity(entity);
                    scene.roots.push_back(node);
                }
                entry.mesh->ForgetFile(fileName);
            }
        } catch (const std::bad_alloc&) {
            throw FileError(ExitCannotRead, shown, std::nullopt, "not enough memory to load it", advice);
        } catch (const std::exception& error) {
            throw FileError(ExitCannotRead, shown, std::nullopt, std::string("cannot be loaded: ") + error.what(),
                            advice);
        }
    }
    listener.CheckImages();
    if (scene.roots.empty()) {
        if (listener.GetError())
            throw FileError(ExitCannotRead, shown, listener.GetError()->GetPlace(), listener.GetError()->GetProblem(),
                            advice);
        throw FileError(ExitCannotRead, shown, std::nullopt,
                        scene.messages.GetCount() > 0
                            ? "cannot be loaded: " + scene.messages.GetAll().front().text
                            : "cannot be loaded, and the module that was asked does not say why",
                        advice);
    }
    KeepFourStyles(scene);
    scene.rootReferences = scene.roots.size();
    std::error_code ignored;
    scene.size = std::filesystem::file_size(file, ignored);
    return scene;
}
} // namespace Lumvo
