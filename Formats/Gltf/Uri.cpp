#include <Formats/Gltf/Uri.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace Formats::Gltf {
namespace {

constexpr std::string_view s_Data = "data:";
constexpr std::string_view s_Base64 = ";base64";

bool IsLetter(char c) noexcept
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

int HexDigit(char c) noexcept
{
    if (IsDigit(c))
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// The six bits of each character of base64, -1 for others. Both alphabets are taken.
std::array<std::int8_t, 256> MakeSextets() noexcept
{
    std::array<std::int8_t, 256> sextets{};
    sextets.fill(-1);
    std::int8_t next = 0;
    for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"))
        sextets[static_cast<unsigned char>(c)] = next++;
    sextets['-'] = 62;
    sextets['_'] = 63;
    return sextets;
}

std::optional<std::string> DecodeBase64(std::string_view text)
{
    static const std::array<std::int8_t, 256> sextets = MakeSextets();
    while (!text.empty() && text.back() == '=')
        text.remove_suffix(1);
    if (text.size() % 4 == 1)
        return std::nullopt;
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        const std::int8_t sextet = sextets[static_cast<unsigned char>(c)];
        if (sextet < 0)
            return std::nullopt;
        bits = bits << 6U | static_cast<std::uint32_t>(sextet);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> static_cast<unsigned>(count) & 0xFFU);
        }
    }
    return bytes;
}
} // namespace

bool IsDataUri(std::string_view uri) noexcept
{
    return uri.substr(0, s_Data.size()) == s_Data;
}

bool HasScheme(std::string_view uri) noexcept
{
    const auto end = std::find_if_not(
        uri.begin(), uri.end(), [](char c) { return IsLetter(c) || IsDigit(c) || c == '+' || c == '-' || c == '.'; });
    return end != uri.end() && end != uri.begin() && *end == ':' && IsLetter(uri.front());
}

std::optional<DataUri> DecodeDataUri(std::string_view uri)
{
    const std::size_t comma = uri.find(',');
    if (!IsDataUri(uri) || comma == std::string_view::npos)
        return std::nullopt;
    std::string_view type = uri.substr(s_Data.size(), comma - s_Data.size());
    const std::string_view contents = uri.substr(comma + 1);
    const bool base64 = type.size() >= s_Base64.size() && type.substr(type.size() - s_Base64.size()) == s_Base64;
    std::optional<std::string> bytes = base64 ? DecodeBase64(contents) : DecodePercent(contents);
    if (!bytes)
        return std::nullopt;
    return DataUri{std::string(type.substr(0, type.find(';'))), std::move(*bytes)};
}

std::string DecodePercent(std::string_view uri)
{
    std::string bytes;
    bytes.reserve(uri.size());
    for (std::size_t k = 0; k < uri.size(); ++k) {
        const int high = uri[k] == '%' && k + 2 < uri.size() ? HexDigit(uri[k + 1]) : -1;
        const int low = high >= 0 ? HexDigit(uri[k + 2]) : -1;
        if (low >= 0)
            k += 2;
        bytes += low >= 0 ? static_cast<char>(high * 16 + low) : uri[k];
    }
    return bytes;
}

std::string EncodePercent(std::string_view path)
{
    constexpr const char* digits = "0123456789ABCDEF";
    std::string uri;
    for (const char c : path) {
        if (IsLetter(c) || IsDigit(c) || std::string_view("-._~/").find(c) != std::string_view::npos) {
            uri += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            uri += {'%', digits[byte >> 4U], digits[byte & 15U]};
        }
    }
    return uri;
}
} // namespace Formats::Gltf
