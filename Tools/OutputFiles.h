#pragma once

#include <Tools/OutputFile.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Lumvo {

/// The file that the user asks for and its companions, which take their names together.
///
/// Existing files are never replaced by companions: these get names that are not in use, numbered if necessary.
class OutputFiles
{
public:
    static constexpr std::size_t MaxImages = 65'536;

    /// Creates the main file, so that a location that cannot be written to is reported before any work.
    explicit OutputFiles(std::filesystem::path file) : m_Main(std::move(file)) {}

    [[nodiscard]] OutputFile& GetMain() noexcept { return m_Main; }
    [[nodiscard]] const OutputFile& GetMain() const noexcept { return m_Main; }
    /// Creates a companion under the wanted name if that is free, or else with a number. The old main file's companion,
    /// if it has one of these names, is removed once the main file is replaced.
    /// \param mention the text by which the main file refers to a companion of a name.
    OutputFile& MakeCompanion(const std::filesystem::path& wanted, const Formats::Export::Mention& mention);
    /// Writes an image under a free name made of the main file's stem and `name`; an existing file with these very
    /// bytes is used as it is. Throws FileError for more than MaxImages.
    /// \returns the name without folder.
    std::wstring KeepImage(const std::wstring& name, std::string_view bytes);
    /// All companions, images that were there already included.
    [[nodiscard]] const std::vector<std::filesystem::path>& GetBeside() const noexcept { return m_Beside; }
    void Commit();

private:
    [[nodiscard]] std::vector<std::filesystem::path> FindOld() const;
    OutputFile& Add(std::unique_ptr<OutputFile> companion);

    OutputFile m_Main;
    Companions m_Companions;
    std::vector<std::pair<std::filesystem::path, Formats::Export::Mention>> m_Wanted; // with how they are referred to
    std::vector<std::filesystem::path> m_Beside;
    std::size_t m_Images = 0;
    std::unordered_map<std::string, int> m_Numbers; // the last one tried for an image of a name
};
} // namespace Lumvo
