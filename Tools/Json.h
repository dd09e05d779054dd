#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>

#include <nlohmann/json.hpp>

#include <filesystem>
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
/// Prints the results of one file as they are, and those of several as an array.
void PrintJson(const std::vector<Json>& results);

/// Prints one object to standard output piece by piece, as PrintJson would.
///
/// For what grows with the scene: a Json of many elements takes much memory, and more of it to be destroyed.
class JsonPrinter
{
public:
    JsonPrinter(); ///< Begins the object.
    JsonPrinter(const JsonPrinter&) = delete;
    JsonPrinter& operator=(const JsonPrinter&) = delete;

    JsonPrinter& BeginObject(); ///< As the next element of an array.
    JsonPrinter& BeginArray(std::string_view key);
    JsonPrinter& Add(const Json& element);       ///< To an array.
    JsonPrinter& AddMembers(const Json& object); ///< All of its members, to an object.
    JsonPrinter& End();                          ///< Ends what was begun last.

private:
    struct Level
    {
        char end;
        bool empty;
    };

    JsonPrinter& Open(char begin, char end);
    JsonPrinter& Print(const Json& value);
    void PrintKey(std::string_view key);
    void Separate();
    void BreakLine() const;

    std::vector<Level> m_Levels;
};
} // namespace Lumvo
