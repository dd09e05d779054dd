#pragma once

#include <Formats/Support/FormatExport.h>
#include <Formats/Support/FormatListener.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace Formats {

/// What has no place in the result of a reader or a writer, counted by kind.
class FORMATS_API Losses
{
public:
    /// \param what in UTF-8, in the plural where it counts things: "animations", "names of nodes".
    void Add(const std::string& what, std::uint64_t count = 1);
    /// Tells the listener in force, in the order of the texts. Kinds beyond the first s_MostKinds are told as one.
    void Tell(const std::filesystem::path& file) const;

private:
    static constexpr std::size_t s_MostKinds = 100;

    std::map<std::string, std::uint64_t> m_Counts;
    std::uint64_t m_Others = 0;
};
} // namespace Formats
