#pragma once

#include <Formats/Support/ExportService.h>

#include <charconv>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace Formats::Gltf {

/// Puts a text together from pieces and numbers; floating-point numbers get as many digits as give the same number
/// back.
class JsonText
{
public:
    template <class T> JsonText& operator<<(T number)
    {
        char digits[32];
        const auto end = std::to_chars(std::begin(digits), std::end(digits), number);
        m_Text.append(digits, end.ptr);
        return *this;
    }
    JsonText& operator<<(const char* text) { return *this << std::string_view(text); }
    JsonText& operator<<(std::string_view text)
    {
        m_Text += text;
        return *this;
    }
    /// Any text, in quotes.
    JsonText& Quoted(const std::string& utf8) { return *this << std::string_view(nlohmann::json(utf8).dump()); }
    /// The elements of something that has begin and end, in brackets.
    template <class Numbers> JsonText& Array(const Numbers& numbers)
    {
        const char* before = "[";
        for (const auto number : numbers) {
            *this << before << number;
            before = ",";
        }
        return *this << "]";
    }

    [[nodiscard]] const std::string& Get() const noexcept { return m_Text; }

private:
    std::string m_Text;
};

/// An array of the document.
class JsonArray
{
public:
    /// Begins an element.
    JsonText& Add()
    {
        m_Elements << (m_Count++ == 0 ? "\n" : ",\n");
        return m_Elements;
    }
    [[nodiscard]] std::uint32_t GetCount() const noexcept { return m_Count; }
    /// A further member of the document that holds the array, which must not be there when it is empty.
    void AppendTo(OutputStream& document, const char* name) const
    {
        if (m_Count == 0)
            return;
        document.Write(",\n\"" + std::string(name) + "\":[");
        document.Write(m_Elements.Get());
        document.Write("]");
    }

private:
    JsonText m_Elements;
    std::uint32_t m_Count = 0;
};
} // namespace Formats::Gltf
