#include <Tests/Support/Bytes.h>

Bytes& Bytes::Raw(const void* data, std::size_t size)
{
    m_Data.append(static_cast<const char*>(data), size);
    return *this;
}

Bytes& Bytes::Int(std::int64_t value)
{
    for (int shift = 0; shift < 32; shift += 8)
        Byte(static_cast<unsigned>(value >> shift) & 0xFF);
    return *this;
}

Bytes& Bytes::Text(std::u16string_view units)
{
    Int(static_cast<std::int64_t>(units.size()));
    for (const char16_t unit : units)
        Byte(unit & 0xFFU).Byte(static_cast<unsigned>(unit) >> 8);
    return *this;
}

Bytes& Bytes::Fill(std::size_t count, unsigned value)
{
    m_Data.append(count, static_cast<char>(static_cast<unsigned char>(value)));
    return *this;
}

Bytes& Bytes::EntityHeader(int tag, double minimum, double maximum)
{
    return Int(tag).Double(minimum).Double(minimum).Double(minimum).Double(maximum).Double(maximum).Double(maximum);
}

Bytes& Bytes::NodeFields(int id, int styles)
{
    Int(id).Byte(1);
    for (int k = 0; k < 16; ++k)
        Double(k % 5 == 0 ? 1 : 0);
    return Fill(48).Int(styles).Text(u"vector");
}

Bytes& Bytes::Colour(float r, float g, float b, float a, unsigned filler)
{
    return Float(r).Float(g).Float(b).Float(a).Fill(16, filler);
}

std::ostream& operator<<(std::ostream& out, const Bytes& bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    out << bytes.Size() << " bytes:";
    for (const char c : bytes.m_Data) {
        const std::size_t byte = static_cast<unsigned char>(c);
        out << ' ' << digits[byte >> 4] << digits[byte & 0xF];
    }
    return out;
}
