#include <Formats/Ply/PlyRows.h>

#include <Formats/Support/FormatError.h>
#include <Formats/Support/Words.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace Formats {

namespace {

constexpr std::uint64_t s_RowsPerProgress = 4096;

/// Rows of text, each on a line of its own.
class TextRows : public PlyRows
{
public:
    TextRows(Import& import, const PlyHeader& header)
        : m_Import(import), m_Header(header), m_Text(import.GetFile().ReadFrom(header.size)), m_Words(m_Text)
    {}

    void Read(const PlyElement& element, PlyRow& row) override
    {
        row.Clear();
        std::string_view word = m_Words.Next(); // past empty lines
        if (word.empty())
            throw Wrong("the file ends where a row of " + Quote(element.name) + " should stand");
        for (const PlyProperty& property : element.properties) {
            std::size_t count = 1;
            if (property.isList) {
                count = ToCount(word, property);
                word = count > 0 ? m_Words.NextInLine() : std::string_view();
            }
            for (std::size_t i = 0; i < count; ++i) {
                if (i > 0)
                    word = m_Words.NextInLine();
                if (word.empty())
                    throw Missing(property);
                if (property.isWanted)
                    row.AddValue(ToValue(word, property));
            }
            row.EndProperty();
            word = m_Words.NextInLine();
        }
        if (!word.empty())
            throw Wrong("the row of " + Quote(element.name) + " should end where " + Quote(std::string(word)) +
                        " stands");
        if (++m_Rows % s_RowsPerProgress == 0)
            m_Import.Progress(m_Header.size + m_Words.GetPosition());
    }

    void Skip(const PlyElement& element) override
    {
        PlyRow row;
        for (std::uint64_t i = 0; i < element.count && !element.properties.empty(); ++i)
            Read(element, row);
    }

    void Restart() override { m_Words = Words(m_Text); }

    void Finish() override
    {
        const std::string_view more = m_Words.Next();
        if (!more.empty())
            throw Wrong("the file should end where " + Quote(std::string(more)) + " stands");
    }

    [[nodiscard]] std::string GetPlace() const override { return AtLine(m_Header.lines + m_Words.GetLine()); }

private:
    std::size_t ToCount(std::string_view word, const PlyProperty& property) const
    {
        if (word.empty())
            throw Missing(property);
        const double count = ToValue(word, property);
        // A value takes two characters, but the last one need not be followed by white space.
        const std::size_t most = (m_Text.size() - m_Words.GetPosition()) / 2 + 1;
        if (!(count >= 0 && count <= static_cast<double>(most)) || count != std::floor(count))
            throw Wrong("the list " + Quote(property.name) + " cannot have " + Quote(std::string(word)) + " values");
        return static_cast<std::size_t>(count);
    }

    double ToValue(std::string_view word, const PlyProperty& property) const
    {
        double value;
        if (!ToNumber(word, value))
            throw Wrong("a number should stand for " + Quote(property.name) + " where " + Quote(std::string(word)) +
                        " does");
        return value;
    }

    [[nodiscard]] FormatError Missing(const PlyProperty& property) const
    {
        return Wrong("the line ends where a value of " + Quote(property.name) + " should stand");
    }
    [[nodiscard]] FormatError Wrong(const std::string& problem) const { return {GetPlace(), problem}; }

    Import& m_Import;
    const PlyHeader& m_Header;
    std::string m_Text;
    Words m_Words;
    std::uint64_t m_Rows = 0;
};

/// Rows of binary data, of which a block is in memory.
class BinaryRows : public PlyRows
{
public:
    BinaryRows(Import& import, const PlyHeader& header)
        : m_Import(import), m_File(import.GetFile()), m_Header(header),
          m_Swap(header.encoding == PlyEncoding::BigEndian), m_Offset(header.size)
    {}

    void Read(const PlyElement& element, PlyRow& row) override
    {
        row.Clear();
        m_RowOffset = m_Offset;
        for (const PlyProperty& property : element.properties) {
            const std::size_t size = SizeOf(property.type);
            const std::uint64_t count = property.isList ? ReadCount(property) : 1;
            if (property.isWanted)
                for (std::uint64_t i = 0; i < count; ++i)
                    row.AddValue(ReadValue(property.type, size));
            else
                Advance(count * size);
            row.EndProperty();
        }
        if (++m_Rows % s_RowsPerProgress == 0)
            m_Import.Progress(m_Offset);
    }

    void Skip(const PlyElement& element) override
    {
        if (!element.HasLists()) {
            Advance(element.count * element.GetRowSize()); // no more than the file's size, as the header is checked
            return;
        }
        PlyRow row;
        for (std::uint64_t i = 0; i < element.count; ++i)
            Read(element, row);
    }

    void Restart() override { m_Offset = m_Header.size; }

    void Finish() override { m_Import.Lose("bytes after the last row", m_File.GetSize() - m_Offset); }

    [[nodiscard]] std::string GetPlace() const override { return AtByte(m_RowOffset); }

private:
    std::uint64_t ReadCount(const PlyProperty& property)
    {
        const double count = ReadValue(property.countType, SizeOf(property.countType));
        const std::uint64_t most = (m_File.GetSize() - m_Offset) / SizeOf(property.type);
        if (!(count >= 0 && count <= static_cast<double>(most)))
            throw FormatError(GetPlace(), "the list " + Quote(property.name) + " cannot have " +
                                              std::to_string(static_cast<std::int64_t>(count)) + " values");
        return static_cast<std::uint64_t>(count);
    }

    double ReadValue(PlyType type, std::size_t size)
    {
        if (m_Offset < m_BlockOffset || m_Offset + size > m_BlockOffset + m_Block.size())
            Fetch(size);
        std::array<char, 8> bytes;
        const char* const from = &m_Block[static_cast<std::size_t>(m_Offset - m_BlockOffset)];
        if (m_Swap)
            std::reverse_copy(from, from + size, bytes.begin());
        else
            std::copy(from, from + size, bytes.begin());
        m_Offset += size;
        switch (type) {
        case PlyType::Int8:
            return As<std::int8_t>(bytes);
        case PlyType::UInt8:
            return As<std::uint8_t>(bytes);
        case PlyType::Int16:
            return As<std::int16_t>(bytes);
        case PlyType::UInt16:
            return As<std::uint16_t>(bytes);
        case PlyType::Int32:
            return As<std::int32_t>(bytes);
        case PlyType::UInt32:
            return As<std::uint32_t>(bytes);
        case PlyType::Float32:
            return double{As<float>(bytes)};
        case PlyType::Float64:
            break;
        }
        return As<double>(bytes);
    }

    template <class T> static T As(const std::array<char, 8>& bytes) noexcept
    {
        T value;
        std::memcpy(&value, bytes.data(), sizeof(value));
        return value;
    }

    /// Fills the block from the next byte on, of which `size` are needed.
    void Fetch(std::size_t size)
    {
        Need(size);
        m_Block.resize(static_cast<std::size_t>(std::min<std::uint64_t>(s_BlockSize, m_File.GetSize() - m_Offset)));
        m_BlockOffset = m_Offset;
        m_File.ReadAt(m_Offset, m_Block.data(), m_Block.size());
    }
    void Advance(std::uint64_t bytes)
    {
        Need(bytes);
        m_Offset += bytes;
    }
    void Need(std::uint64_t bytes) const
    {
        if (bytes > m_File.GetSize() - m_Offset)
            throw FormatError(AtByte(m_File.GetSize()), "the file ends inside a row or in front of one");
    }

    static constexpr std::uint64_t s_BlockSize = 1 << 20;

    Import& m_Import;
    InputFile& m_File;
    const PlyHeader& m_Header;
    bool m_Swap;
    std::uint64_t m_Offset; // of the next value
    std::uint64_t m_RowOffset = 0;
    std::uint64_t m_BlockOffset = 0;
    std::vector<char> m_Block;
    std::uint64_t m_Rows = 0;
};
} // namespace

PlyRows::~PlyRows() = default;

std::unique_ptr<PlyRows> PlyRows::Create(Import& import, const PlyHeader& header)
{
    if (header.encoding == PlyEncoding::Ascii)
        return std::make_unique<TextRows>(import, header);
    return std::make_unique<BinaryRows>(import, header);
}
} // namespace Formats
