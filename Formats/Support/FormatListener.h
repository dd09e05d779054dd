#pragma once

#include <Formats/Support/FormatError.h>
#include <Formats/Support/FormatExport.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Formats {

/// What a program hears while a format module reads or writes a file for it.
///
/// The services of the modules are called by a name alone and answer with a pointer alone; what else there is to
/// say goes to the listener that is in force. Without one, errors and losses are reported through the assertion
/// service, and images inside files are left where they are.
///
/// - Threads: each has a listener of its own in force, which is called in that thread alone.
class FORMATS_API FormatListener
{
public:
    FormatListener() = default;
    FormatListener(const FormatListener&) = delete;
    FormatListener& operator=(const FormatListener&) = delete;
    virtual ~FormatListener();

    /// The file could not be read; its service is about to return an empty pointer.
    virtual void OnError(const std::filesystem::path& file, const FormatError& error) = 0;
    /// Something of the file has no place in the result, `count` times; told once for each kind, at the end.
    /// \param what in UTF-8, such as "vertex colours".
    virtual void OnLoss(const std::filesystem::path& file, const std::string& what, std::uint64_t count) = 0;
    /// Of `total` steps, mostly the file's bytes, `done` are done; neither ever becomes smaller.
    virtual void OnProgress(const std::filesystem::path& file, std::uint64_t done, std::uint64_t total);
    /// The file holds an image.
    /// \param name a name for it, with extension and without folder.
    /// \returns the file name under which the texture is to refer to it; empty where the image is not kept.
    virtual std::wstring OnImage(const std::filesystem::path& file, const std::wstring& name, std::string_view bytes);

    /// The listener in force in this thread, which is one of the library's own while no program has put in its own.
    static FormatListener& Current() noexcept;
};

/// Puts a listener in force in this thread for its own lifetime, and the former one back at its end.
class FORMATS_API FormatListenerScope
{
public:
    explicit FormatListenerScope(FormatListener& listener) noexcept;
    ~FormatListenerScope();
    FormatListenerScope(const FormatListenerScope&) = delete;
    FormatListenerScope& operator=(const FormatListenerScope&) = delete;

private:
    FormatListener* m_Former;
};
} // namespace Formats
