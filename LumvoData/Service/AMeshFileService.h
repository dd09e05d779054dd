#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Entity/AEntity.h>
#include <LumvoData/Service/TLoadCache.h>

#include <memory>
#include <string>

namespace Kelvra {

/// A loader of one external file format that turns a file into an entity; format modules derive from it and
/// register theirs with the AMeshFileServiceManager.
///
/// - Ownership: keeps a share of everything it has loaded, until it is destroyed or told to forget it. A copy
///   shares the same objects.
/// - Threads: files may be loaded and forgotten from several threads at once, so that OnLoadFile may run on several; a
///   name that several threads load at the same time gives all of them one object. Name, title and filter are set
///   before the service is registered.
/// - Errors: a loader that fails returns a null pointer, which is kept like any result.
class KELVRA_API AMeshFileService
{
public:
    AMeshFileService() = default;
    AMeshFileService(const AMeshFileService&) = default;
    AMeshFileService& operator=(const AMeshFileService&) = default;
    virtual ~AMeshFileService();

    /// The name under which the service is registered; unique among the mesh services.
    [[nodiscard]] const std::wstring& GetName() const noexcept { return m_szName; }
    void SetName(const std::wstring& name) { m_szName = name; }
    /// What a user reads, such as "Wavefront OBJ".
    [[nodiscard]] const std::wstring& GetTitle() const noexcept { return m_szTitle; }
    void SetTitle(const std::wstring& title) { m_szTitle = title; }
    /// The filter of a file dialog, such as "*.obj".
    [[nodiscard]] const std::wstring& GetFileFilter() const noexcept { return m_szFileFilter; }
    void SetFileFilter(const std::wstring& filter) { m_szFileFilter = filter; }

    /// Loads a file, or returns what was loaded under exactly that name before, a null pointer included.
    std::shared_ptr<AEntity> LoadFile(const std::wstring& fileName);
    /// Releases what was loaded under that name: the next LoadFile reads the file again.
    void ForgetFile(const std::wstring& fileName);

private:
    /// Reads the file.
    /// \returns what it holds, or a null pointer if it cannot be read.
    virtual std::shared_ptr<AEntity> OnLoadFile(const std::wstring& fileName) = 0;

    std::wstring m_szName;
    std::wstring m_szTitle;
    std::wstring m_szFileFilter;
    TLoadCache<AEntity> m_Loaded;
};
} // namespace Kelvra
