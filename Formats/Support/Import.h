#pragma once

#include <Formats/Support/FormatError.h>
#include <Formats/Support/FormatExport.h>
#include <Formats/Support/InputFile.h>
#include <Formats/Support/Losses.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Formats {

/// One run of a reader: the file, and what the reader tells while it reads it.
///
/// - Errors: what the reader cannot get over it throws as FormatError; nothing of the file is loaded then.
class FORMATS_API Import
{
public:
    /// Opens the file; throws FormatError.
    explicit Import(std::filesystem::path file);

    [[nodiscard]] const std::filesystem::path& GetPath() const noexcept { return m_File.GetPath(); }
    [[nodiscard]] InputFile& GetFile() noexcept { return m_File; }

    /// Something of the file has no place in a scene.
    /// \param what in the plural where it counts things, such as "animations".
    void Lose(const std::string& what, std::uint64_t count = 1) { m_Losses.Add(what, count); }
    /// So many bytes of the file, or of `total` where others belong to it, are read. Cheap enough to be called once in
    /// some thousand items.
    void Progress(std::uint64_t done) { Progress(done, m_File.GetSize()); }
    void Progress(std::uint64_t done, std::uint64_t total);
    /// Resolves the name of a companion file, which must be in the folder of this file or below it once all links are
    /// followed.
    /// \param name relative to the folder.
    /// \returns a path without links.
    ///
    /// - Errors: FormatError if the name leads elsewhere or holds a zero character, or the file does not exist.
    [[nodiscard]] std::filesystem::path FindCompanion(const std::filesystem::path& name) const;
    /// A file beside this one, of that size, is a part of the scene too.
    void CountFile(std::uint64_t size) noexcept { m_Size += size; }
    /// Counts bytes of the result, before they are taken, towards the 64 MiB and 32 times the size of the files that
    /// it may have: many small things, or references to the same one, are small in a file and large in memory.
    void Spend(std::uint64_t bytes);
    /// How much of that is left.
    [[nodiscard]] std::uint64_t GetBudget() const noexcept;
    /// Offers an image inside the file to the program.
    /// \param name a name for it, with extension and without folder.
    /// \returns the file name that the texture is to refer to; empty where the image is not kept, which is counted
    ///          as a loss.
    [[nodiscard]] std::wstring KeepImage(const std::wstring& name, std::string_view bytes);
    /// Tells the listener of the losses, at the end.
    void TellLosses() const { m_Losses.Tell(GetPath()); }

private:
    InputFile m_File;
    Losses m_Losses;
    std::uint64_t m_Done = 0;
    std::uint64_t m_Size; // of all files
    std::uint64_t m_Spent = 0;
};
} // namespace Formats
