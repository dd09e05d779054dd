#include <Tools/Findings.h>

#include <algorithm>

namespace Lumvo {

const char* NameOf(Severity severity) noexcept
{
    static constexpr std::array s_Names = {"error", "warning", "note", "ignored"};
    return s_Names[static_cast<std::size_t>(severity)];
}

const std::vector<FindingRule>& AllFindingRules()
{
    using C = FindingCode;
    constexpr Severity error = Severity::Error;
    constexpr Severity warning = Severity::Warning;
    constexpr Severity note = Severity::Note;
    static const std::vector<FindingRule> s_Rules = {
        {C::HeaderShort, "header-short", error, "the file ends inside its header"},
        {C::HeaderIdentifier, "header-identifier", error, "the file does not begin as scene files do"},
        {C::Cut, "cut", error, "the file ends inside a field"},
        {C::BadCount, "bad-count", error, "a count is greater than the rest of the file can hold"},
        {C::UnknownClass, "unknown-class", error, "an object is of a class that cannot be made"},
        {C::WrongFamily, "wrong-class", error, "an object is of a class that cannot stand in this place"},
        {C::TooDeep, "too-deep", error, "references are nested deeper than a loader follows"},
        {C::EmptyItem, "empty-item", error, "a list holds an empty reference"},
        {C::WrongItem, "wrong-item", error, "a list holds an object of a class that it does not keep"},
        {C::NegativeCount, "negative-count", warning, "a count is negative and reads as 0"},
        {C::EmptyRoot, "empty-root", warning, "a reference at the top of the file is empty"},
        {C::KeyReused, "key-reused", warning, "an object's key is given to another inside its own record"},
        {C::VectorTag, "vector-tag", warning, "a vector does not carry the text \"vector\""},
        {C::StyleCount, "style-count", warning, "a node does not have four styles"},
        {C::StyleKind, "style-kind", warning, "a style is of a kind that its slot is not for"},
        {C::StyleMissing, "style-missing", warning, "faces are to be drawn and no face style says how"},
        {C::ItemDropped, "item-dropped", warning, "an object is of a class that its holder does not keep"},
        {C::NothingHeld, "nothing-held", warning, "a node or an entity that is to hold one thing holds none"},
        {C::IndexRange, "index-range", warning, "an index is beyond the vertices"},
        {C::IndexCount, "index-count", warning, "the number of indices is no multiple of 3"},
        {C::VertexCount, "vertex-count", warning, "the number of coordinates is no multiple of 3"},
        {C::NormalCount, "normal-count", warning, "there are normals, but not one for each vertex"},
        {C::TexCoordCount, "texcoord-count", warning, "there are texture coordinates, but not one for each vertex"},
        {C::NotFinite, "not-finite", warning, "a number is infinite or no number at all"},
        {C::BoxTooSmall, "box-too-small", warning, "a box does not cover what its object holds"},
        {C::BoxTurned, "box-turned", warning, "a box's minimum is beyond its maximum"},
        {C::LoneSurrogate, "lone-surrogate", warning, "a text holds half a character"},
        {C::Version, "version", note, "the format version is not 3"},
        {C::EmptyList, "empty-list", note, "a list or a group holds nothing"},
        {C::FlagValue, "flag-value", note, "a flag is neither 0 nor 1 and reads as true"},
    };
    return s_Rules;
}

void Findings::Add(FindingCode code, std::string_view className, std::string_view member, std::uint64_t offset,
                   const Describe& describe)
{
    const auto overridden = m_Overrides.find(code);
    const Severity severity = overridden != m_Overrides.end()
                                  ? overridden->second
                                  : AllFindingRules()[static_cast<std::size_t>(code)].severity;
    ++m_Counts[static_cast<std::size_t>(severity)];
    if (severity == Severity::Ignored)
        return;
    const auto [known, isNew] = m_Known.try_emplace({code, className, member}, m_All.size());
    if (!isNew) {
        ++m_All[known->second].count;
        return;
    }
    auto [path, detail] = describe();
    m_All.push_back(
        {code, severity, std::string(className), std::string(member), offset, std::move(path), std::move(detail), 1});
}

void Findings::Print(std::ostream& out, const Screen& screen, std::uint64_t most) const
{
    std::uint64_t left = most == 0 ? m_All.size() : most;
    for (const Finding& finding : m_All) {
        if (left-- == 0)
            break;
        const FindingRule& rule = AllFindingRules()[static_cast<std::size_t>(finding.code)];
        out << "  byte " << finding.offset << ": "
            << screen.Paint(finding.severity == Severity::Note ? Screen::Faint : Screen::Strong,
                            NameOf(finding.severity))
            << ' ' << screen.Paint(Screen::Label, rule.name) << ": " << finding.path << ": " << finding.detail;
        if (finding.count > 1)
            out << "; " << Show(finding.count) << " times in " << (finding.className.empty() ? "this file" : "")
                << finding.className << (finding.member.empty() ? "" : ".") << finding.member;
        out << '\n';
    }
    if (most != 0 && m_All.size() > most)
        out << "  ... " << Plural(m_All.size() - most, "more finding") << " (--max-issues 0 shows all)\n";
}

Json Findings::ToJson(std::uint64_t most) const
{
    Json all = Json::array();
    for (const Finding& finding : m_All) {
        if (most != 0 && all.size() == most)
            break;
        all.push_back({{"code", AllFindingRules()[static_cast<std::size_t>(finding.code)].name},
                       {"severity", NameOf(finding.severity)},
                       {"class", finding.className},
                       {"member", finding.member},
                       {"offset", finding.offset},
                       {"path", finding.path},
                       {"detail", finding.detail},
                       {"count", finding.count}});
    }
    return all;
}
} // namespace Lumvo
