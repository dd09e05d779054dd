#pragma once

#include <Formats/Support/Import.h>

#include <LumvoData/Style/AFaceStyle.h>
#include <LumvoData/Style/ALineStyle.h>
#include <LumvoData/Style/ATexture.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

namespace Formats::Obj {

/// How faces and lines of one material are drawn.
struct Styles
{
    std::shared_ptr<Kelvra::AFaceStyle> faces;
    std::shared_ptr<Kelvra::ALineStyle> lines;
};

/// The materials of the MTL files that an OBJ file names.
class MaterialLibrary
{
public:
    explicit MaterialLibrary(Import& job) : m_Job(job) {}

    /// Reads what an mtllib statement names: one file, or several with blanks between them. A file that is not there
    /// or not in the model's folder or below it is a loss, one that makes no sense a FormatError.
    void Load(std::string_view names);
    /// Null for a name that no file defines.
    [[nodiscard]] const Styles* Find(const std::string& name) const;

private:
    bool LoadFile(std::string_view name);
    void Read(InputFile& file, const std::string& name);
    [[nodiscard]] std::shared_ptr<Kelvra::ATexture> TextureOf(std::string_view fileName);

    Import& m_Job;
    std::map<std::string, bool, std::less<>> m_Names; // of all statements, and whether there is a file
    std::set<std::filesystem::path> m_Files;          // without links: one may have several names
    std::map<std::string, Styles> m_Styles;           // of two materials with one name the first
    std::map<std::wstring, std::shared_ptr<Kelvra::ATexture>> m_Textures;
};
} // namespace Formats::Obj
