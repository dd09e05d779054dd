#include <Tools/Json.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <array>
#include <charconv>
#include <cmath>
#include <iostream>

namespace Lumvo {
namespace {

constexpr int s_Indent = 2;

/// Bytes that are not UTF-8 become U+FFFD.
std::string Dump(const Json& json)
{
    return json.dump(s_Indent, ' ', true, Json::error_handler_t::replace);
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

JsonPrinter::JsonPrinter()
{
    Open('{', '}');
}

JsonPrinter& JsonPrinter::BeginObject()
{
    Separate();
    return Open('{', '}');
}

JsonPrinter& JsonPrinter::BeginArray(std::string_view key)
{
    PrintKey(key);
    return Open('[', ']');
}

JsonPrinter& JsonPrinter::Add(const Json& element)
{
    Separate();
    return Print(element);
}

JsonPrinter& JsonPrinter::AddMembers(const Json& object)
{
    for (const auto& [key, value] : object.items()) {
        PrintKey(key);
        Print(value);
    }
    return *this;
}

JsonPrinter& JsonPrinter::End()
{
    const Level level = m_Levels.back();
    m_Levels.pop_back();
    if (!level.empty)
        BreakLine();
    std::cout << level.end;
    if (m_Levels.empty())
        std::cout << '\n';
    return *this;
}

JsonPrinter& JsonPrinter::Open(char begin, char end)
{
    std::cout << begin;
    m_Levels.push_back({end, true});
    return *this;
}

JsonPrinter& JsonPrinter::Print(const Json& value)
{
    for (const char letter : Dump(value))
        if (letter == '\n') // of the layout: those of strings are escaped
            BreakLine();
        else
            std::cout << letter;
    return *this;
}

void JsonPrinter::PrintKey(std::string_view key)
{
    Separate();
    std::cout << Dump(std::string(key)) << ": ";
}

void JsonPrinter::Separate()
{
    if (!m_Levels.back().empty)
        std::cout << ',';
    m_Levels.back().empty = false;
    BreakLine();
}

void JsonPrinter::BreakLine() const
{
    std::cout << '\n' << std::string(m_Levels.size() * s_Indent, ' ');
}

void PrintJson(const std::vector<Json>& results)
{
    PrintJson(results.size() == 1 ? results.front() : Json(results));
}
} // namespace Lumvo
