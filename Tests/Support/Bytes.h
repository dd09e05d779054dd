#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

/// Bytes of a scene file, put together by hand: each call appends one item in the file's own encoding.
class Bytes
{
public:
    Bytes() = default;
    explicit Bytes(std::string data) : m_Data(std::move(data)) {}

    Bytes& Byte(unsigned value) { return Fill(1, value); }
    Bytes& Int(std::int64_t value); ///< 4 bytes; takes a wide type so that 0xFFFFFFFF can be written.
    Bytes& Float(float value) { return Raw(&value, sizeof value); }
    Bytes& Double(double value) { return Raw(&value, sizeof value); }
    /// Count and code units of text without characters beyond U+FFFF; lone surrogates may be among them.
    Bytes& Text(std::u16string_view units);
    Bytes& Fill(std::size_t count, unsigned value = 0);
    Bytes& Add(const Bytes& bytes) { return Raw(bytes.m_Data.data(), bytes.m_Data.size()); }

    /// The header of a scene file: 2011 and 3.
    static Bytes Header() { return Bytes().Int(2011).Int(3); }
    /// The three fields that begin every entity's and sub-entity's record.
    Bytes& EntityHeader(int tag, double minimum = 0, double maximum = 0);
    /// The fields of a scene node from its id to the tag of its style vector, with the identity transform, a
    /// box of zeros and `styles` as the count of styles.
    Bytes& NodeFields(int id, int styles = 4);
    /// Four floats and 16 bytes of filler.
    Bytes& Colour(float r, float g, float b, float a, unsigned filler = 0);

    [[nodiscard]] const std::string& Data() const noexcept { return m_Data; }
    [[nodiscard]] std::size_t Size() const noexcept { return m_Data.size(); }
    [[nodiscard]] Bytes First(std::size_t count) const { return Bytes(m_Data.substr(0, count)); }

    friend bool operator==(const Bytes& a, const Bytes& b) { return a.m_Data == b.m_Data; }
    /// Prints in hexadecimal.
    friend std::ostream& operator<<(std::ostream& out, const Bytes& bytes);

private:
    Bytes& Raw(const void* data, std::size_t size);

    std::string m_Data;
};
