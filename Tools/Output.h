#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Lumvo {

/// What the reader's screen can show.
struct Screen
{
    bool colours = false;
    bool boxDrawing = false; ///< Line-drawing characters, and so UTF-8.

    /// Of standard output: colours as SetColours says, lines on a UTF-8 terminal.
    static Screen OfStandardOutput();

    enum Ink
    {
        Strong,
        Label,
        Faint,
    };
    /// The text in an ink, or as it is where there are no colours.
    [[nodiscard]] std::string Paint(Ink ink, std::string_view text) const;
};

/// "always", "never", or "auto": on a terminal unless NO_COLOR is set, which is so from the start.
void SetColours(const std::string& when);

/// Text from a file or a file name on one line, safe for a terminal, shortened to `limit` characters.
[[nodiscard]] std::string Show(std::wstring_view text, std::size_t limit = 200);
[[nodiscard]] std::string ShowPath(const std::filesystem::path& path);

// Numbers for readers; none depends on the locale.
[[nodiscard]] std::string Show(std::uint64_t count); ///< 12,345
[[nodiscard]] std::string Show(double number);       ///< Six significant digits.
[[nodiscard]] std::string Show(const AMath::Vector3& point);
[[nodiscard]] std::string Show(const AMath::AxisAlignedBox& box);
[[nodiscard]] std::string Show(const AMath::ColourValue& colour);
/// "1 node", "2 nodes".
[[nodiscard]] std::string Plural(std::uint64_t count, std::string_view one, std::string_view many);
[[nodiscard]] std::string Plural(std::uint64_t count, std::string_view one); ///< Many take an "s".
} // namespace Lumvo
