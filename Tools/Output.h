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

// Every text that is not lumvo's own passes one of these before it is printed: texts of files and of modules, file
// names, arguments, messages of libraries and of exceptions. All results are UTF-8, safe for a terminal.

/// Text on one line, shortened to `limit` characters.
[[nodiscard]] std::string Show(std::wstring_view text, std::size_t limit = 200);
/// The same for bytes that should be UTF-8.
[[nodiscard]] std::string Show(std::string_view bytes, std::size_t limit = 200);
/// Bytes that should be UTF-8, whose line feeds stay line feeds.
[[nodiscard]] std::string ShowLines(std::string_view bytes);
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
