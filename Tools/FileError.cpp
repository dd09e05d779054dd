#include <Tools/FileError.h>

#include <Tools/Output.h>

#include <iostream>
#include <utility>

namespace Lumvo {

FileError::FileError(ExitCode code, std::filesystem::path file, std::optional<std::uint64_t> offset,
                     std::string_view problem, std::string_view advice)
    : FileError(code, std::move(file), offset ? "at byte " + std::to_string(*offset) : std::string(), problem, advice)
{
    m_Offset = offset;
}

FileError::FileError(ExitCode code, std::filesystem::path file, std::string_view place, std::string_view problem,
                     std::string_view advice)
    : m_Code(code), m_File(std::move(file)), m_Place(Show(place)), m_Problem(Show(problem, s_MostCharacters)),
      m_Advice(ShowLines(advice))
{
    m_What = (m_File.empty() ? "\"\"" : ShowPath(m_File)) + ": " + (m_Place.empty() ? "" : m_Place + ": ") + m_Problem;
}

void PrintError(const FileError& error)
{
    std::cerr << "lumvo: " << error.what() << '\n';
    if (!error.GetAdvice().empty())
        std::cerr << "       " << error.GetAdvice() << '\n';
}
} // namespace Lumvo
