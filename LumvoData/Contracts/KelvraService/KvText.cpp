#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <type_traits>

namespace Kelvra::KvText {
namespace {

constexpr char32_t s_Replacement = 0xFFFD;
constexpr char32_t s_LastCharacter = 0x10FFFF;
constexpr char32_t s_EscapedByte = 0xDC00; // plus the byte, 0x80 to 0xFF

constexpr bool IsHighSurrogate(char32_t c) noexcept
{
    return c >= 0xD800 && c <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char32_t c) noexcept
{
    return c >= 0xDC00 && c <= 0xDFFF;
}
constexpr bool IsSurrogate(char32_t c) noexcept
{
    return c >= 0xD800 && c <= 0xDFFF;
}
constexpr bool IsEscapedByte(char32_t c) noexcept
{
    return c >= s_EscapedByte + 0x80 && c <= s_EscapedByte + 0xFF;
}

/// Takes the next character from UTF-16 or UTF-32 text, joining surrogate pairs; `at` moves behind it.
template <class Char> char32_t NextCharacter(std::basic_string_view<Char> text, std::size_t& at) noexcept
{
    const auto unit = [&](std::size_t i) {
        return static_cast<char32_t>(static_cast<std::make_unsigned_t<wchar_t>>(text[i]));
    };
    const char32_t first = unit(at++);
    if (IsHighSurrogate(first) && at < text.size() && IsLowSurrogate(unit(at)))
        return 0x10000 + ((first - 0xD800) << 10) + (unit(at++) - 0xDC00);
    return first;
}

void AppendUtf16(std::u16string& units, char32_t c)
{
    if (c > s_LastCharacter)
        c = s_Replacement;
    if (c > 0xFFFF) {
        units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
        units += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else
        units += static_cast<char16_t>(c);
}

void AppendWide(std::wstring& text, char32_t c)
{
    if constexpr (sizeof(wchar_t) == 2) {
        std::u16string units;
        AppendUtf16(units, c);
        text.append(units.begin(), units.end());
    } else
        text += static_cast<wchar_t>(c);
}

void AppendUtf8(std::string& bytes, char32_t c)
{
    const auto add = [&](char32_t byte) { bytes += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (c > s_LastCharacter || IsSurrogate(c))
        c = s_Replacement;
    if (c < 0x80)
        add(c);
    else if (c < 0x800) {
        add(0xC0 | (c >> 6));
        add(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        add(0xE0 | (c >> 12));
        add(0x80 | ((c >> 6) & 0x3F));
        add(0x80 | (c & 0x3F));
    } else {
        add(0xF0 | (c >> 18));
        add(0x80 | ((c >> 12) & 0x3F));
        add(0x80 | ((c >> 6) & 0x3F));
        add(0x80 | (c & 0x3F));
    }
}

/// Takes the next character from UTF-8; false, one byte further, where the byte begins no character.
bool NextUtf8(std::string_view bytes, std::size_t& at, char32_t& c) noexcept
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(at);
    const std::size_t length = lead < 0x80             ? 1
                               : (lead & 0xE0) == 0xC0 ? 2
                               : (lead & 0xF0) == 0xE0 ? 3
                               : (lead & 0xF8) == 0xF0 ? 4
                                                       : 0;
    if (length == 0 || length > bytes.size() - at) {
        ++at;
        return false;
    }
    static constexpr unsigned char s_LeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    static constexpr char32_t s_Smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    c = lead & s_LeadBits[length];
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80) {
            ++at;
            return false;
        }
        c = (c << 6) | (byte(at + i) & 0x3F);
    }
    if (c < s_Smallest[length] || c > s_LastCharacter || IsSurrogate(c)) {
        ++at;
        return false;
    }
    at += length;
    return true;
}

/// Converts character by character: almost all text in blocks of `convertBlock`, and where that answers false, because
/// something is among it that takes a pair on one side, one `convertOne` after the other.
template <class From, class To, class ConvertBlock, class ConvertOne>
void Convert(std::basic_string_view<From> from, std::basic_string<To>& to, ConvertBlock convertBlock,
             ConvertOne convertOne)
{
    to.clear();
    to.reserve(from.size());
    for (std::size_t at = 0; at < from.size();) {
        constexpr std::size_t blockSize = 64;
        To block[blockSize];
        const std::size_t size = std::min(from.size() - at, blockSize);
        if (convertBlock(from.substr(at, size), block)) {
            to.append(block, size);
            at += size;
        } else
            for (const std::size_t end = at + size; at < end;) // what a pair makes may end behind it
                convertOne(at);
    }
}

// The compiler turns this loop, and the one of ToUtf16Units, into steps as wide as the processor has.
bool FromUtf16Units(std::u16string_view units, wchar_t* text) noexcept
{
    std::uint16_t surrogates = 0;
    for (std::size_t i = 0; i < units.size(); ++i) {
        text[i] = static_cast<wchar_t>(units[i]);
        surrogates = static_cast<std::uint16_t>(surrogates | ((units[i] & 0xF800) == 0xD800 ? 1 : 0));
    }
    return sizeof(wchar_t) == 2 || surrogates == 0;
}

bool IsPlain(char32_t c) noexcept
{
    const bool control = c < 0x20 || (c >= 0x7F && c < 0xA0);
    const bool direction =
        c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
    const bool noncharacter = (c & 0xFFFE) == 0xFFFE || (c >= 0xFDD0 && c <= 0xFDEF) || c > s_LastCharacter;
    return !control && !direction && !noncharacter && !IsSurrogate(c);
}
} // namespace

bool ToUtf16Units(std::wstring_view text, char16_t* units) noexcept
{
    std::uint32_t all = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        units[i] = static_cast<char16_t>(text[i]);
        all |= static_cast<std::uint32_t>(text[i]);
    }
    return sizeof(wchar_t) == 2 || all <= 0xFFFF;
}

void ToUtf16(std::wstring_view text, std::u16string& units)
{
    Convert(text, units, ToUtf16Units, [&](std::size_t& at) { AppendUtf16(units, static_cast<char32_t>(text[at++])); });
}

void FromUtf16(std::u16string_view units, std::wstring& text)
{
    Convert(units, text, FromUtf16Units,
            [&](std::size_t& at) { text += static_cast<wchar_t>(NextCharacter(units, at)); });
}

std::u32string ToUtf32(std::wstring_view text)
{
    std::u32string characters;
    characters.reserve(text.size());
    for (std::size_t at = 0; at < text.size();)
        characters += NextCharacter(text, at);
    return characters;
}

std::string ToUtf8(std::wstring_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size();)
        AppendUtf8(bytes, NextCharacter(text, at));
    return bytes;
}

std::wstring FromUtf8(std::string_view bytes)
{
    std::wstring text;
    text.reserve(bytes.size());
    for (std::size_t at = 0; at < bytes.size();) {
        char32_t c = 0;
        AppendWide(text, NextUtf8(bytes, at, c) ? c : s_Replacement);
    }
    return text;
}

std::filesystem::path ToPath(std::wstring_view fileName)
{
#if defined(_WIN32)
    return std::filesystem::path(fileName);
#else
    std::string bytes;
    for (std::size_t at = 0; at < fileName.size();) {
        const char32_t c = NextCharacter(fileName, at);
        if (IsEscapedByte(c))
            bytes += static_cast<char>(static_cast<unsigned char>(c - s_EscapedByte));
        else
            AppendUtf8(bytes, c);
    }
    return std::filesystem::path(bytes);
#endif
}

std::wstring FromPath(const std::filesystem::path& path)
{
#if defined(_WIN32)
    return path.native();
#else
    const std::string& bytes = path.native();
    std::wstring fileName;
    for (std::size_t at = 0; at < bytes.size();) {
        const unsigned char lead = static_cast<unsigned char>(bytes[at]);
        char32_t c = 0;
        AppendWide(fileName, NextUtf8(bytes, at, c) ? c : s_EscapedByte + lead);
    }
    return fileName;
#endif
}

std::string Printable(std::wstring_view text, std::size_t limit)
{
    std::string bytes;
    std::size_t shown = 0;
    std::size_t at = 0;
    for (; at < text.size() && shown < limit; ++shown) {
        const char32_t c = NextCharacter(text, at);
        if (IsPlain(c)) {
            AppendUtf8(bytes, c);
            continue;
        }
        char escape[16];
        std::snprintf(escape, sizeof escape, "\\x%04X", static_cast<unsigned>(c));
        bytes += escape;
    }
    if (at < text.size())
        bytes += "... (" + std::to_string(text.size()) + " characters)";
    return bytes;
}
} // namespace Kelvra::KvText
