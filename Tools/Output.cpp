#include <Tools/Output.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <langinfo.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <optional>

namespace Lumvo {
namespace {

std::optional<bool> s_Colours; // what the user asked for
} // namespace

void SetColours(const std::string& when)
{
    s_Colours = when == "auto" ? std::nullopt : std::optional(when == "always");
}

Screen Screen::OfStandardOutput()
{
    const bool terminal = isatty(STDOUT_FILENO) != 0;
    const char* const noColour = std::getenv("NO_COLOR");
    const char* const kind = std::getenv("TERM");
    Screen screen;
    screen.colours = s_Colours.value_or(terminal && (noColour == nullptr || *noColour == '\0') &&
                                        (kind == nullptr || std::string_view(kind) != "dumb"));
    screen.boxDrawing = terminal && std::string_view(nl_langinfo(CODESET)) == "UTF-8";
    return screen;
}

std::string Screen::Paint(Ink ink, std::string_view text) const
{
    static constexpr std::array s_Codes = {"\x1B[1m", "\x1B[36m", "\x1B[2m"};
    if (!colours)
        return std::string(text);
    return std::string(s_Codes.at(ink)).append(text).append("\x1B[0m");
}

std::string Show(std::wstring_view text, std::size_t limit)
{
    return Kelvra::KvText::Printable(text, limit);
}

std::string Show(std::string_view bytes, std::size_t limit)
{
    return Show(Kelvra::KvText::FromUtf8(bytes), limit);
}

std::string ShowLines(std::string_view bytes)
{
    static constexpr std::size_t s_MostOfLine = 2000;
    std::string shown;
    for (std::size_t at = 0; at <= bytes.size();) {
        const std::size_t end = std::min(bytes.find('\n', at), bytes.size());
        shown += (at > 0 ? "\n" : "") + Show(bytes.substr(at, end - at), s_MostOfLine);
        at = end + 1;
    }
    return shown;
}

std::string ShowPath(const std::filesystem::path& path)
{
    return Kelvra::KvText::Printable(Kelvra::KvText::FromPath(path), std::numeric_limits<std::size_t>::max());
}

std::string Show(std::uint64_t count)
{
    std::string digits = std::to_string(count);
    for (std::size_t at = digits.size(); at > 3;) {
        at -= 3;
        digits.insert(at, 1, ',');
    }
    return digits;
}

std::string Show(double number)
{
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.begin(), text.end(), number, std::chars_format::general, 6).ptr;
    return {text.begin(), end};
}

std::string Show(const AMath::Vector3& point)
{
    return "(" + Show(point.x) + ", " + Show(point.y) + ", " + Show(point.z) + ")";
}

std::string Show(const AMath::AxisAlignedBox& box)
{
    if (!box.isFinite())
        return box.isNull() ? "none" : "all of space";
    return Show(box.getMinimum()) + " to " + Show(box.getMaximum());
}

std::string Show(const AMath::ColourValue& colour)
{
    return "(" + Show(static_cast<double>(colour.r)) + ", " + Show(static_cast<double>(colour.g)) + ", " +
           Show(static_cast<double>(colour.b)) + ", " + Show(static_cast<double>(colour.a)) + ")";
}

std::string Plural(std::uint64_t count, std::string_view one, std::string_view many)
{
    return Show(count).append(" ").append(count == 1 ? one : many);
}

std::string Plural(std::uint64_t count, std::string_view one)
{
    return Plural(count, one, std::string(one) + "s");
}
} // namespace Lumvo
