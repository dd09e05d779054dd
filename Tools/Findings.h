#pragma once

#include <Tools/Json.h>
#include <Tools/Output.h>

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace Lumvo {

enum class Severity
{
    Error,   ///< A loader stumbles over it: it reports messages, or misses something.
    Warning, ///< The file loads whole, but a viewer stumbles over what it holds.
    Note,    ///< Unusual, and harmless.
    Ignored,
};
[[nodiscard]] const char* NameOf(Severity severity) noexcept;

/// What can be found in a scene file. Docs/Check.md has an example of each.
enum class FindingCode
{
    HeaderShort,
    HeaderIdentifier,
    Cut,
    BadCount,
    UnknownClass,
    WrongFamily,
    TooDeep,
    EmptyItem,
    WrongItem,

    NegativeCount,
    EmptyRoot,
    KeyReused,
    VectorTag,
    StyleCount,
    StyleKind,
    StyleMissing,
    ItemDropped,
    NothingHeld,
    IndexRange,
    IndexCount,
    VertexCount,
    NormalCount,
    TexCoordCount,
    NotFinite,
    BoxTooSmall,
    BoxTurned,
    LoneSurrogate,

    Version,
    EmptyList,
    FlagValue,
};

struct FindingRule
{
    FindingCode code;
    const char* name; ///< As users write it.
    Severity severity;
    const char* meaning;
};
/// All codes, errors first.
[[nodiscard]] const std::vector<FindingRule>& AllFindingRules();

/// What was found in one file, equal findings folded into one: those of one code in one member of one class.
class Findings
{
public:
    /// \param overrides severities that differ from the rules', by code.
    explicit Findings(std::map<FindingCode, Severity> overrides = {}) : m_Overrides(std::move(overrides)) {}

    struct Finding
    {
        FindingCode code;
        Severity severity;
        std::string className; ///< Of the object; empty for the file itself.
        std::string member;
        std::uint64_t offset; ///< Of the first of them.
        std::string path;     ///< The same.
        std::string detail;   ///< The same.
        std::uint64_t count;
    };

    /// \param className the class of the record, which with `member` outlives the findings.
    /// \param describe is asked for path and detail, for the first of equal findings only.
    using Describe = std::function<std::pair<std::string, std::string>()>;
    void Add(FindingCode code, std::string_view className, std::string_view member, std::uint64_t offset,
             const Describe& describe);

    /// Each once, in the order in which they were found first, ignored ones left out.
    [[nodiscard]] const std::vector<Finding>& GetAll() const noexcept { return m_All; }
    /// How many there are of a severity, equal ones included.
    [[nodiscard]] std::uint64_t Count(Severity severity) const noexcept
    {
        return m_Counts[static_cast<std::size_t>(severity)];
    }

    /// A line or two for each finding, at most `most` findings, then how many more there are.
    void Print(std::ostream& out, const Screen& screen, std::uint64_t most) const;
    [[nodiscard]] Json ToJson(std::uint64_t most) const;

private:
    std::map<FindingCode, Severity> m_Overrides;
    std::vector<Finding> m_All;
    std::map<std::tuple<FindingCode, std::string_view, std::string_view>, std::size_t> m_Known; // index in m_All
    std::array<std::uint64_t, 4> m_Counts{};
};
} // namespace Lumvo
