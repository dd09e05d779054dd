#include <Tools/FileError.h>

#include <Tools/Output.h>

#include <iostream>
#include <utility>

namespace Lumvo {

FileError::FileError(ExitCode code, std::filesystem::path file, std::optional<std::uint64_t> offset,
                     std::string problem, std::string advice)
    : FileError(code, std::move(file), offset ? "at byte " + std::to_string(*offset) : std::string(),
                std::move(problem), std::move(advice))
{
    m_Offset = offset;
}

FileError::FileError(ExitCode code, std::filesystem::path file, std::string place, std::string problem,
                     std::string advice)
    : m_Code(code), m_File(std::move(file)), m_Place(std::move(place)), m_Problem(std::move(problem)),
      m_Advice(std::move(advice))
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
