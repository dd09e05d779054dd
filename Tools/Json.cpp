#include <Tools/Json.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <array>
#include <charconv>
#include <cmath>
#include <iostream>

namespace Lumvo {
namespace {

std::string Dump(const Json& json)
{
    return json.dump(2, ' ', true);
}

/// The same for what stands two levels deep.
std::string DumpInside(const Json& json)
{
    std::string text;
    for (const char letter : Dump(json)) {
        text += letter;
        if (letter == '\n') // of the layout: those of strings are escaped
            text += "    ";
    }
    return text;
}
} // namespace

Json ToJson(float number)
{
    if (!std::isfinite(number))
        return nullptr;
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.begin(), text.end(), number).ptr;
    double nearest = 0;
    std::from_chars(text.begin(), end, nearest);
    return nearest;
}

Json ToJson(const AMath::Vector3& point)
{
    return Json::array({point.x, point.y, point.z});
}

Json ToJson(const AMath::ColourValue& colour)
{
    return Json::array({ToJson(colour.r), ToJson(colour.g), ToJson(colour.b), ToJson(colour.a)});
}

Json ToJson(const AMath::Matrix4& matrix)
{
    Json elements = Json::array();
    for (std::size_t k = 0; k < 16; ++k)
        elements.push_back(matrix[k]);
    return elements;
}

Json ToJson(const AMath::AxisAlignedBox& box)
{
    if (!box.isFinite())
        return nullptr;
    return {{"minimum", ToJson(box.getMinimum())}, {"maximum", ToJson(box.getMaximum())}};
}

Json ToJson(std::wstring_view text)
{
    return Kelvra::KvText::ToUtf8(text);
}

Json PathToJson(const std::filesystem::path& path)
{
    return Kelvra::KvText::ToUtf8(Kelvra::KvText::FromPath(path));
}

void PrintJson(const Json& document)
{
    std::cout << Dump(document) << '\n';
}

void PrintJson(const Json& before, std::string_view array, const std::function<std::optional<Json>()>& next,
               const std::function<Json()>& after)
{
    const std::string first = Dump(before);
    std::cout << std::string_view(first).substr(0, first.size() - 2) << ",\n  \"" << array << "\": [";
    const char* separator = "";
    for (std::optional<Json> element = next(); element; element = next()) {
        std::cout << separator << "\n    " << DumpInside(*element);
        separator = ",";
    }
    std::cout << (*separator == '\0' ? "]," : "\n  ],") << Dump(after()).substr(1) << '\n';
}

void PrintJson(const std::vector<Json>& results)
{
    PrintJson(results.size() == 1 ? results.front() : Json(results));
}
} // namespace Lumvo
