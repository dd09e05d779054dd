#pragma once

#include <Formats/Support/FormatExport.h>
#include <Formats/Support/Losses.h>

#include <LumvoData/Contracts/KelvraData/TSingleton.h>
#include <LumvoData/Scene/ASceneNode.h>
#include <LumvoData/Service/TObjectPtrManager.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Formats {

using Roots = std::vector<std::shared_ptr<Kelvra::ASceneNode>>;

/// A file that a writer fills from front to back.
///
/// - Errors: `std::system_error` for what cannot be written.
class FORMATS_API OutputStream
{
public:
    OutputStream() = default;
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;
    virtual ~OutputStream();

    /// Writes `count` bytes; many small writes are cheap.
    virtual void Write(const void* data, std::size_t count) = 0;
    void Write(std::string_view text) { Write(text.data(), text.size()); }
};

/// One run of a writer: what it writes, where to, and what it tells.
///
/// Whoever makes one decides what becomes of the files; the program's replaces the old ones when all are complete.
class FORMATS_API Export
{
public:
    /// \param file where the result is going to stand, from which other files derive their names.
    Export(const Roots& roots, std::filesystem::path file) : m_Roots(roots), m_File(std::move(file)) {}
    Export(const Export&) = delete;
    Export& operator=(const Export&) = delete;
    virtual ~Export();

    using Mention = std::function<std::string(const std::filesystem::path& name)>;

    [[nodiscard]] const Roots& GetRoots() const noexcept { return m_Roots; }
    [[nodiscard]] const std::filesystem::path& GetPath() const noexcept { return m_File; }

    /// Chooses the name of a companion file, once for each, before the file itself refers to it: existing files are not
    /// replaced before the file itself is.
    /// \param wanted a path in the same folder, used as it is if nothing is there.
    /// \param mention returns the text by which the file refers to a companion of the given name; an old file that
    ///        contains it has that companion, which is removed with it.
    /// \returns the path to be opened; by default the wanted one.
    virtual std::filesystem::path ReserveCompanion(const std::filesystem::path& wanted, const Mention& mention);
    /// Starts the file itself or a companion, once.
    /// \param file GetPath(), or a path that ReserveCompanion returned.
    /// \returns a stream that lives as long as this.
    virtual OutputStream& Open(const std::filesystem::path& file) = 0;

    /// Something of the scene has no place in the file.
    void Lose(const std::string& what, std::uint64_t count = 1) { m_Losses.Add(what, count); }
    /// Of `total` steps `done` are done.
    void Progress(std::uint64_t done, std::uint64_t total);
    /// Tells the listener of the losses, at the end.
    void TellLosses() const { m_Losses.Tell(m_File); }

private:
    const Roots& m_Roots;
    std::filesystem::path m_File;
    Losses m_Losses;
    std::uint64_t m_Done = 0;
};

/// A writer of one external file format.
class FORMATS_API ExportService
{
public:
    /// Writes a scene; throws FormatError for what the format cannot hold at all, and what streams throw.
    using Writer = std::function<void(Export&)>;

    ExportService(std::wstring name, std::wstring title, std::wstring fileFilter, Writer writer);

    [[nodiscard]] const std::wstring& GetName() const noexcept { return m_Name; }
    [[nodiscard]] const std::wstring& GetTitle() const noexcept { return m_Title; }
    /// Patterns, such as L"*.glb".
    [[nodiscard]] const std::wstring& GetFileFilter() const noexcept { return m_FileFilter; }

    /// Writes and, at the end, tells the listener in force of losses.
    void Write(Export& job) const;

private:
    std::wstring m_Name;
    std::wstring m_Title;
    std::wstring m_FileFilter;
    Writer m_Writer;
};

/// The export services of the process, by name.
class FORMATS_API ExportServiceManager : public Kelvra::TObjectPtrManager<std::shared_ptr<ExportService>>
{
public:
    static ExportServiceManager& Instance();

private:
    ExportServiceManager() = default;
};

/// Registers an export service and withdraws it at its end.
class FORMATS_API ExportRegistration
{
public:
    ExportRegistration(const std::wstring& name, const std::wstring& title, const std::wstring& fileFilter,
                       ExportService::Writer writer);
    ~ExportRegistration();
    ExportRegistration(const ExportRegistration&) = delete;
    ExportRegistration& operator=(const ExportRegistration&) = delete;

private:
    std::wstring m_Name;
    bool m_Added;
};
} // namespace Formats
