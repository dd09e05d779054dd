#include <Formats/Ply/PlyHeader.h>

#include <Formats/Support/FormatError.h>
#include <Formats/Support/Words.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <set>
#include <utility>

namespace Formats {

namespace {

constexpr std::uint64_t s_MostHeaderBytes = 1 << 20;

struct TypeName
{
    std::string_view name;
    PlyType type;
};
constexpr std::array<TypeName, 16> s_TypeNames = {{{"char", PlyType::Int8},
                                                   {"int8", PlyType::Int8},
                                                   {"uchar", PlyType::UInt8},
                                                   {"uint8", PlyType::UInt8},
                                                   {"short", PlyType::Int16},
                                                   {"int16", PlyType::Int16},
                                                   {"ushort", PlyType::UInt16},
                                                   {"uint16", PlyType::UInt16},
                                                   {"int", PlyType::Int32},
                                                   {"int32", PlyType::Int32},
                                                   {"uint", PlyType::UInt32},
                                                   {"uint32", PlyType::UInt32},
                                                   {"float", PlyType::Float32},
                                                   {"float32", PlyType::Float32},
                                                   {"double", PlyType::Float64},
                                                   {"float64", PlyType::Float64}}};

/// Reads the lines of a header.
class HeaderReader
{
public:
    HeaderReader(Import& import, std::string_view text) : m_Import(import), m_Text(text), m_Words(text) {}

    PlyHeader Read()
    {
        if (m_Words.NextInLine() != "ply")
            throw Wrong("a PLY file begins with \"ply\"");
        const bool endsWithReturn =
            m_Text.substr(m_Words.GetPosition(), 1) == "\r" && m_Text.substr(m_Words.GetPosition(), 2) != "\r\n";
        EndLine();
        Expect("format");
        ReadFormat();
        while (ReadLine())
            SkipLine();
        const std::size_t end = m_Words.GetPosition();
        EndLine();
        // Behind a header with lines that end with CR alone, LF is the first byte of a row.
        m_Header.size = endsWithReturn ? end + 1 : m_Words.GetPosition();
        m_Header.lines = m_Words.GetLine() - 1;
        return std::move(m_Header);
    }

private:
    /// \returns false at the end of the header.
    bool ReadLine()
    {
        const std::string_view keyword = m_Words.NextInLine();
        if (keyword == "end_header")
            return false;
        if (keyword == "element")
            ReadElement();
        else if (keyword == "property")
            ReadProperty();
        else if (keyword == "comment" || keyword == "obj_info")
            m_Import.Lose("textures named in comments", m_Words.NextInLine() == "TextureFile" ? 1 : 0);
        else if (m_Header.elements.empty()) // an exporter is known to forget the word "comment"
            m_Import.Lose("unknown lines of the header", keyword.empty() ? 0 : 1);
        else if (!keyword.empty())
            throw Wrong(Quote(std::string(keyword)) + " is not a word that a header line begins with");
        return true;
    }

    void ReadFormat()
    {
        const std::string_view format = m_Words.NextInLine();
        if (format == "ascii")
            m_Header.encoding = PlyEncoding::Ascii;
        else if (format == "binary_little_endian")
            m_Header.encoding = PlyEncoding::LittleEndian;
        else if (format == "binary_big_endian")
            m_Header.encoding = PlyEncoding::BigEndian;
        else
            throw Wrong("the format " + Quote(std::string(format)) + " is unknown");
        Expect("1.0");
        EndLine();
    }

    void ReadElement()
    {
        PlyElement element;
        element.name = ReadName();
        element.line = m_Words.GetLine();
        const std::string_view count = m_Words.NextInLine();
        const auto [end, error] = std::from_chars(count.data(), count.data() + count.size(), element.count);
        if (error != std::errc() || end != count.data() + count.size())
            throw Wrong("a count of rows should stand where " + Quote(std::string(count)) + " does");
        EndWords();
        if (!m_Elements.insert(element.name).second)
            throw Wrong("there are two elements " + Quote(element.name));
        m_Header.elements.push_back(std::move(element));
        m_Properties.clear();
    }

    void ReadProperty()
    {
        if (m_Header.elements.empty())
            throw Wrong("a property stands in front of the first element");
        PlyProperty property;
        property.line = m_Words.GetLine();
        std::string_view word = m_Words.NextInLine();
        property.isList = word == "list";
        if (property.isList) {
            property.countType = ReadType(m_Words.NextInLine());
            if (!IsInteger(property.countType))
                throw Wrong("the count of a list should be an integer");
            word = m_Words.NextInLine();
        }
        property.type = ReadType(word);
        property.name = ReadName();
        EndWords();
        if (!m_Properties.insert(property.name).second)
            throw Wrong("the element has two properties " + Quote(property.name));
        m_Header.elements.back().properties.push_back(std::move(property));
    }

    PlyType ReadType(std::string_view word) const
    {
        const auto found = std::find_if(s_TypeNames.begin(), s_TypeNames.end(),
                                        [word](const TypeName& type) { return type.name == word; });
        if (found == s_TypeNames.end())
            throw Wrong("the type " + Quote(std::string(word)) + " is unknown");
        return found->type;
    }

    std::string ReadName()
    {
        std::string name(m_Words.NextInLine());
        if (name.empty())
            throw Wrong("a name is missing");
        return name;
    }

    void Expect(std::string_view expected)
    {
        const std::string_view word = m_Words.NextInLine();
        if (word != expected)
            throw Wrong('"' + std::string(expected) + "\" should stand where " + Quote(std::string(word)) + " does");
    }

    void EndWords()
    {
        const std::string_view more = m_Words.NextInLine();
        if (!more.empty())
            throw Wrong("the line should end where " + Quote(std::string(more)) + " stands");
    }
    void SkipLine()
    {
        if (!m_Words.SkipLine())
            throw Wrong(m_Text.size() == s_MostHeaderBytes ? "the header is longer than 1 MiB"
                                                           : "the file ends inside the header");
    }
    void EndLine()
    {
        EndWords();
        SkipLine();
    }

    [[nodiscard]] FormatError Wrong(const std::string& problem) const { return {AtLine(m_Words.GetLine()), problem}; }

    Import& m_Import;
    std::string_view m_Text;
    Words m_Words;
    PlyHeader m_Header;
    std::set<std::string> m_Elements;   // names
    std::set<std::string> m_Properties; // of the last element
};

/// Compares what a header promises with the bytes behind it.
void CheckCounts(const PlyHeader& header, std::uint64_t fileSize)
{
    const bool ascii = header.encoding == PlyEncoding::Ascii;
    std::uint64_t left = fileSize - header.size + (ascii ? 1 : 0); // the last line of a text need not be ended
    for (const PlyElement& element : header.elements) {
        const std::uint64_t row = ascii ? 2 * std::uint64_t{element.properties.size()} : element.GetRowSize();
        if (row > 0 && element.count > left / row)
            throw FormatError(AtLine(element.line), std::to_string(element.count) + " rows of " + Quote(element.name) +
                                                        " take at least " + std::to_string(row) + " bytes each, " +
                                                        std::to_string(left) + " are left for them");
        left -= element.count * row;
    }
}
} // namespace

std::size_t SizeOf(PlyType type) noexcept
{
    static constexpr std::array<std::size_t, 8> s_Sizes = {1, 1, 2, 2, 4, 4, 4, 8};
    return s_Sizes[static_cast<std::size_t>(type)];
}

std::uint64_t PlyElement::GetRowSize() const noexcept
{
    std::uint64_t size = 0;
    for (const PlyProperty& property : properties)
        size += SizeOf(property.isList ? property.countType : property.type);
    return size;
}

bool PlyElement::HasLists() const noexcept
{
    return std::any_of(properties.begin(), properties.end(), [](const PlyProperty& p) { return p.isList; });
}

std::size_t PlyElement::Find(std::string_view property) const noexcept
{
    const auto found = std::find_if(properties.begin(), properties.end(),
                                    [property](const PlyProperty& p) { return p.name == property; });
    return found == properties.end() ? None : static_cast<std::size_t>(found - properties.begin());
}

PlyElement* PlyHeader::Find(std::string_view element) noexcept
{
    const auto found =
        std::find_if(elements.begin(), elements.end(), [element](const PlyElement& e) { return e.name == element; });
    return found == elements.end() ? nullptr : &*found;
}

PlyHeader ReadPlyHeader(Import& import)
{
    InputFile& file = import.GetFile();
    std::string text(static_cast<std::size_t>(std::min(file.GetSize(), s_MostHeaderBytes)), '\0');
    file.ReadAt(0, text.data(), text.size());
    PlyHeader header = HeaderReader(import, text).Read();
    CheckCounts(header, file.GetSize());
    return header;
}
} // namespace Formats
