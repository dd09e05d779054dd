#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

/// \file
/// What the `--json` outputs have in common. Keys keep their order; numbers that are not finite are null;
/// everything but ASCII is escaped, so that no text from a file reaches a terminal as it is.
namespace Lumvo {

using Json = nlohmann::ordered_json;

[[nodiscard]] Json ToJson(float number); ///< With the fewest digits that mean the same float.
[[nodiscard]] Json ToJson(const AMath::Vector3& point);
[[nodiscard]] Json ToJson(const AMath::ColourValue& colour);
[[nodiscard]] Json ToJson(const AMath::Matrix4& matrix);
/// {"minimum": [x, y, z], "maximum": [x, y, z]}; null for a box that holds nothing, or all of space.
[[nodiscard]] Json ToJson(const AMath::AxisAlignedBox& box);
[[nodiscard]] Json ToJson(std::wstring_view text);
[[nodiscard]] Json PathToJson(const std::filesystem::path& path);

/// Prints one document to standard output.
void PrintJson(const Json& document);
/// Prints one object that has an array among its members, without keeping the elements.
/// \param before the members before the array, at least one.
/// \param next the next element; nothing at the end.
/// \param after the members after the array, at least one, which are asked for behind the last element.
void PrintJson(const Json& before, std::string_view array, const std::function<std::optional<Json>()>& next,
               const std::function<Json()>& after);
/// Prints the results of one file as they are, and those of several as an array.
void PrintJson(const std::vector<Json>& results);
} // namespace Lumvo
