#include <Formats/Support/FormatServices.h>

#include <Formats/Support/Geometry.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Service/AMeshFileServiceManager.h>
#include <LumvoData/Service/ASceneFileServiceManager.h>

#include <exception>
#include <filesystem>
#include <new>
#include <optional>
#include <utility>

namespace Formats {
namespace {

using namespace Kelvra;

/// Runs a reader and then `finish` on its result; tells the listener what went wrong, if anything did.
template <class Finish>
auto Run(const Reader& read, const std::wstring& fileName, Finish finish)
    -> decltype(finish(std::declval<Import&>(), nullptr))
{
    const std::filesystem::path file = KvText::ToPath(fileName);
    std::optional<FormatError> failure;
    try {
        Import import(file);
        if (import.GetFile().GetSize() == 0)
            throw FormatError({}, "is empty");
        const std::shared_ptr<ASceneNode> node = read(import);
        auto result = node ? finish(import, node) : nullptr;
        if (!result)
            throw FormatError({}, "holds nothing that can be loaded");
        import.TellLosses();
        return result;
    } catch (const FormatError& error) {
        failure = error;
    } catch (const std::bad_alloc&) {
        failure = FormatError({}, "not enough memory to load it");
    } catch (const std::exception& error) {
        failure = FormatError({}, Printable(error.what()));
    }
    FormatListener::Current().OnError(file, *failure);
    return nullptr;
}

class SceneService : public ASceneFileService, public FormatPriority
{
public:
    SceneService(Reader read, int priority) : m_Read(std::move(read)), m_nPriority(priority) {}
    [[nodiscard]] int GetPriority() const noexcept override { return m_nPriority; }

private:
    std::shared_ptr<ASceneNode> OnLoadFile(const std::wstring& fileName) override
    {
        return Run(m_Read, fileName, [](Import&, const std::shared_ptr<ASceneNode>& node) { return node; });
    }

    Reader m_Read;
    int m_nPriority;
};

class MeshService : public AMeshFileService, public FormatPriority
{
public:
    MeshService(Reader read, int priority) : m_Read(std::move(read)), m_nPriority(priority) {}
    [[nodiscard]] int GetPriority() const noexcept override { return m_nPriority; }

private:
    std::shared_ptr<AEntity> OnLoadFile(const std::wstring& fileName) override
    {
        return Run(m_Read, fileName, [](Import& import, const std::shared_ptr<ASceneNode>& node) {
            return Flatten({node}, import.GetBudget());
        });
    }

    Reader m_Read;
    int m_nPriority;
};

template <class Service, class Manager> bool Add(const Format& format)
{
    const auto service = std::make_shared<Service>(format.read, format.priority);
    service->SetName(format.name);
    service->SetTitle(format.title);
    service->SetFileFilter(format.fileFilter);
    return TSingleton<Manager>::Instance().AddObject(service);
}
} // namespace

FormatPriority::~FormatPriority() = default;

FormatRegistration::FormatRegistration(const Format& format)
    : m_Name(format.name), m_SceneAdded(Add<SceneService, ASceneFileServiceManager>(format)),
      m_MeshAdded(Add<MeshService, AMeshFileServiceManager>(format))
{}

FormatRegistration::~FormatRegistration()
{
    if (m_SceneAdded)
        TSingleton<ASceneFileServiceManager>::Instance().RemoveObject(m_Name);
    if (m_MeshAdded)
        TSingleton<AMeshFileServiceManager>::Instance().RemoveObject(m_Name);
}
} // namespace Formats
