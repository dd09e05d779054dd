#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Formats::Gltf {

/// What a "data:" URI holds.
struct DataUri
{
    std::string mediaType;
    std::string bytes;
};

/// The contents of a URI that begins with "data:", in base64 or percent-encoded; nothing where it is malformed.
[[nodiscard]] std::optional<DataUri> DecodeDataUri(std::string_view uri);
[[nodiscard]] bool IsDataUri(std::string_view uri) noexcept;
/// Whether a URI begins with a scheme, such as "https:".
[[nodiscard]] bool HasScheme(std::string_view uri) noexcept;

/// With each %XX as the byte it stands for; other uses of % stay what they are.
[[nodiscard]] std::string DecodePercent(std::string_view uri);
/// The path of a file, in UTF-8 or whatever bytes it has, as a relative URI.
[[nodiscard]] std::string EncodePercent(std::string_view path);
} // namespace Formats::Gltf
