#include <Formats/Stl/StlReader.h>

#include <Formats/Support/FormatError.h>
#include <Formats/Support/Words.h>

#include <LumvoData/Scene/AGroupSceneNode.h>

#include <algorithm>
#include <cmath>

namespace Formats {

namespace {

using namespace Kelvra;

/// Keywords may be written in any case.
bool Is(std::string_view word, std::string_view keyword) noexcept
{
    return std::equal(word.begin(), word.end(), keyword.begin(), keyword.end(), [](char c, char lower) {
        return c == lower || (c >= 'A' && c <= 'Z' && c - 'A' + 'a' == lower);
    });
}

/// A text file, which is one solid or several.
class StlText
{
public:
    StlText(Import& import, const std::string& text) : m_Import(import), m_Text(text), m_Words(text)
    {
        static constexpr std::string_view s_ByteOrderMark = "\xEF\xBB\xBF";
        if (m_Text.substr(0, s_ByteOrderMark.size()) == s_ByteOrderMark)
            m_Words = Words(m_Text = m_Text.substr(s_ByteOrderMark.size()));
    }

    std::shared_ptr<ASceneNode> Read()
    {
        std::shared_ptr<ASceneNode> first;
        auto group = std::make_shared<AGroupSceneNode>();
        std::string_view word = m_Words.Next();
        do {
            Check(word, "solid");
            if (const auto solid = ReadSolid()) {
                first = solid;
                group->AddChildNode(solid);
            }
            word = m_Words.Next();
        } while (!word.empty());
        return group->GetChildCount() == 1 ? first : group;
    }

private:
    /// Reads what follows "solid"; empty for one without facets.
    std::shared_ptr<ASceneNode> ReadSolid()
    {
        const std::string_view name = ReadName();
        m_Import.Lose("names of solids", name.empty() ? 0 : 1);
        StlSolid solid;
        for (std::uint64_t count = 0;; ++count) {
            const std::string_view word = m_Words.Next();
            if (Is(word, "endsolid"))
                break;
            if (!Is(word, "facet"))
                throw Unexpected(word, "\"facet\" or \"endsolid\"");
            const StlFacet facet = ReadFacet();
            solid.Add(&facet, 1);
            if (count % 4096 == 0)
                m_Import.Progress(m_Words.GetPosition());
        }
        SkipName(name);
        if (!solid.IsEmpty())
            return solid.Finish(m_Import);
        m_Import.Lose("solids without facets");
        return nullptr;
    }

    /// The name behind "solid", which may have several words. It ends with the line at the latest; in a file without
    /// lines, where the first facet or the end of the solid begins.
    std::string_view ReadName()
    {
        Words ahead = m_Words;
        const std::size_t begin = m_Words.GetPosition();
        std::size_t end = begin;
        for (std::string_view word = ahead.NextInLine(); !word.empty(); word = ahead.NextInLine()) {
            Words behind = ahead;
            if (Is(word, "endsolid") || (Is(word, "facet") && Is(behind.NextInLine(), "normal")))
                break;
            m_Words = ahead;
            end = ahead.GetPosition();
        }
        std::string_view name = m_Text.substr(begin, end - begin);
        name.remove_prefix(std::min(name.find_first_not_of(" \t\v\f"), name.size()));
        return name;
    }

    /// Skips the name behind "endsolid", which should be that of the solid; any other ends where the line does, or
    /// where in a file without lines the next solid begins.
    void SkipName(std::string_view name)
    {
        Words ahead = m_Words;
        bool same = !name.empty();
        for (Words expected(name); same;) {
            const std::string_view word = expected.NextInLine();
            if (word.empty()) {
                m_Words = ahead;
                return;
            }
            same = ahead.NextInLine() == word;
        }
        ahead = m_Words;
        for (std::string_view word = ahead.NextInLine(); !word.empty() && !Is(word, "solid"); word = ahead.NextInLine())
            m_Words = ahead;
    }

    StlFacet ReadFacet()
    {
        StlFacet facet;
        Expect("normal");
        for (float& coordinate : facet.normal)
            coordinate = ReadNumber();
        Expect("outer");
        Expect("loop");
        for (std::size_t i = 0; i < facet.corners.size(); ++i) {
            if (i % 3 == 0)
                Expect("vertex");
            facet.corners[i] = ReadNumber();
            if (!std::isfinite(facet.corners[i]))
                throw FormatError(AtLine(m_Words.GetLine()), "a coordinate is not finite");
        }
        Expect("endloop");
        Expect("endfacet");
        return facet;
    }

    float ReadNumber()
    {
        const std::string_view word = m_Words.Next();
        double number;
        if (!ToNumber(word, number))
            throw Unexpected(word, "a number");
        return ToFloat(number);
    }

    void Expect(std::string_view keyword) { Check(m_Words.Next(), keyword); }
    void Check(std::string_view word, std::string_view keyword) const
    {
        if (!Is(word, keyword))
            throw Unexpected(word, '"' + std::string(keyword) + '"');
    }
    [[nodiscard]] FormatError Unexpected(std::string_view word, const std::string& expected) const
    {
        return {AtLine(m_Words.GetLine()),
                word.empty() ? "the file ends where " + expected + " should stand"
                             : expected + " should stand where " + Quote(std::string(word)) + " does"};
    }

    Import& m_Import;
    std::string_view m_Text;
    Words m_Words;
};
} // namespace

std::shared_ptr<ASceneNode> ReadStlText(Import& import, const std::string& text)
{
    return StlText(import, text).Read();
}
} // namespace Formats
