#include <Formats/Gltf/Json.h>

#include <Formats/Support/FormatError.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace Formats::Gltf {
namespace {

constexpr std::size_t s_LongestPath = 200;
constexpr double s_MostInteger = 9007199254740992.0; // 2^53: all below are exact

const char* NameOf(JsonKind kind)
{
    constexpr const char* names[] = {"null", "true or false", "a number", "a text", "an array", "an object"};
    return names[static_cast<int>(kind)];
}
} // namespace

std::string Plain(const std::string& name)
{
    const auto plain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    };
    return name.size() <= 60 && std::all_of(name.begin(), name.end(), plain) ? name : Quote(name);
}

/// Receives the parts of the text in their order.
class JsonDocument::Builder : public nlohmann::json_sax<nlohmann::json>
{
public:
    Builder(JsonDocument& document, std::uint64_t offset) : m_Document(document), m_Offset(offset) {}

    bool null() override
    {
        Add(JsonKind::Null);
        return true;
    }
    bool boolean(bool value) override { return AddNumber(JsonKind::Flag, value ? 1 : 0); }
    bool number_integer(number_integer_t value) override
    {
        return AddNumber(JsonKind::Number, static_cast<double>(value));
    }
    bool number_unsigned(number_unsigned_t value) override
    {
        return AddNumber(JsonKind::Number, static_cast<double>(value));
    }
    bool number_float(number_float_t value, const string_t& /*text*/) override
    {
        return AddNumber(JsonKind::Number, value);
    }
    bool string(string_t& value) override
    {
        if (JsonNode* const node = Add(JsonKind::Text)) {
            node->text = m_Document.m_Texts.size();
            m_Document.m_Texts.push_back(std::move(value));
        }
        return true;
    }
    bool binary(binary_t& /*value*/) override { return false; } // JSON has none
    bool start_object(std::size_t /*count*/) override { return Open(JsonKind::Object); }
    bool start_array(std::size_t /*count*/) override { return Open(JsonKind::Array); }
    bool end_object() override
    {
        if (m_SkippedLevels > 0)
            return EndSkipped();
        const auto name = [&](std::uint32_t node) -> const std::string& { return *m_Document.m_Nodes[node].name; };
        const auto first = m_Pending.begin() + static_cast<std::ptrdiff_t>(m_Levels.back().firstPending);
        std::sort(first, m_Pending.end(), [&](auto a, auto b) { return name(a) < name(b); });
        const auto twice =
            std::adjacent_find(first, m_Pending.end(), [&](auto a, auto b) { return name(a) == name(b); });
        if (twice != m_Pending.end())
            throw FormatError(m_Document.PathOf(*twice), "is there twice");
        return Close();
    }
    bool end_array() override { return m_SkippedLevels > 0 ? EndSkipped() : Close(); }
    bool key(string_t& value) override
    {
        if (m_SkippedLevels > 0)
            return true;
        m_Skipping = value == "extras";
        auto name = m_Document.m_Names.find(value);
        if (name == m_Document.m_Names.end())
            name = m_Document.m_Names.insert(std::move(value)).first;
        m_Name = &*name;
        return true;
    }
    bool parse_error(std::size_t position, const std::string& token, const nlohmann::json::exception& error) override
    {
        const bool range = dynamic_cast<const nlohmann::json::out_of_range*>(&error) != nullptr;
        throw FormatError(AtByte(m_Offset + (position > 0 ? position - 1 : 0)),
                          (range ? "a number beyond all bounds: " : "no valid JSON ends with ") + Quote(token));
    }

private:
    struct Level
    {
        std::uint32_t node;
        std::size_t firstPending;
    };

    /// A new value; null inside a member that is left out.
    JsonNode* Add(JsonKind kind)
    {
        if (m_SkippedLevels > 0)
            return nullptr;
        if (std::exchange(m_Skipping, false)) {
            ++m_Document.m_Extras;
            return nullptr;
        }
        auto& nodes = m_Document.m_Nodes;
        if (nodes.size() == std::numeric_limits<std::uint32_t>::max())
            throw FormatError({}, "the JSON text has more than " + std::to_string(nodes.size()) + " values");
        const auto index = static_cast<std::uint32_t>(nodes.size());
        JsonNode& node = nodes.emplace_back();
        node.kind = kind;
        if (!m_Levels.empty()) {
            node.parent = m_Levels.back().node;
            m_Pending.push_back(index);
            if (nodes[node.parent].kind == JsonKind::Object)
                node.name = m_Name;
        }
        return &node;
    }
    bool AddNumber(JsonKind kind, double number)
    {
        if (JsonNode* const node = Add(kind))
            node->number = number;
        return true;
    }
    bool Open(JsonKind kind)
    {
        if (m_Levels.size() + m_SkippedLevels == s_MostLevels)
            throw FormatError(m_Levels.empty() ? std::string() : m_Document.PathOf(m_Levels.back().node),
                              "arrays and objects are nested deeper than " + std::to_string(s_MostLevels) + " levels");
        if (Add(kind) != nullptr)
            m_Levels.push_back({static_cast<std::uint32_t>(m_Document.m_Nodes.size() - 1), m_Pending.size()});
        else
            ++m_SkippedLevels;
        return true;
    }
    bool Close()
    {
        const Level level = m_Levels.back();
        m_Levels.pop_back();
        const auto first = m_Pending.begin() + static_cast<std::ptrdiff_t>(level.firstPending);
        auto& all = m_Document.m_Children;
        m_Document.m_Nodes[level.node].children = {static_cast<std::uint32_t>(all.size()),
                                                   static_cast<std::uint32_t>(m_Pending.end() - first)};
        all.insert(all.end(), first, m_Pending.end());
        m_Pending.erase(first, m_Pending.end());
        return true;
    }
    bool EndSkipped()
    {
        --m_SkippedLevels;
        return true;
    }

    JsonDocument& m_Document;
    std::uint64_t m_Offset;
    std::vector<Level> m_Levels;
    std::vector<std::uint32_t> m_Pending; // values of the open arrays and objects
    const std::string* m_Name = nullptr;
    bool m_Skipping = false; // the next value is left out
    std::size_t m_SkippedLevels = 0;
};

JsonDocument::JsonDocument(std::string_view text, std::uint64_t offset)
{
    Builder builder(*this, offset);
    nlohmann::json::sax_parse(text, &builder);
}

std::string JsonDocument::PathOf(std::uint32_t node) const
{
    std::string path;
    for (; node != 0; node = m_Nodes[node].parent) {
        const JsonNode& value = m_Nodes[node];
        if (value.name != nullptr) {
            path.insert(0, (value.parent == 0 ? "" : ".") + Plain(*value.name));
        } else {
            // Counted, because an array knows its elements only when it is complete.
            const auto same = [&](const JsonNode& other) { return other.parent == value.parent; };
            const auto before = std::count_if(m_Nodes.begin() + value.parent + 1, m_Nodes.begin() + node, same);
            path.insert(0, "[" + std::to_string(before) + "]");
        }
    }
    if (path.size() > s_LongestPath)
        path.replace(s_LongestPath / 2, path.size() - s_LongestPath, "...");
    return path.empty() ? "the JSON text" : path;
}

std::string JsonValue::GetPath() const
{
    return m_Document->PathOf(m_Node);
}

void JsonValue::Fail(const std::string& problem) const
{
    throw FormatError(GetPath(), problem);
}

const JsonNode& JsonValue::Expect(JsonKind kind) const
{
    const JsonNode& node = m_Document->m_Nodes[m_Node];
    if (node.kind != kind)
        Fail(std::string("should be ") + NameOf(kind) + " and is " + NameOf(node.kind));
    return node;
}

double JsonValue::AsNumber() const
{
    const double number = Expect(JsonKind::Number).number;
    if (std::fabs(number) > static_cast<double>(std::numeric_limits<float>::max()))
        Fail("is beyond what a float holds");
    return number;
}

std::uint64_t JsonValue::AsInteger() const
{
    const double number = AsNumber();
    if (!(number >= 0 && number <= s_MostInteger) || std::floor(number) != number)
        Fail("should be a whole number from 0 on");
    return static_cast<std::uint64_t>(number);
}

std::uint32_t JsonValue::AsIndex(std::size_t count, const char* things) const
{
    const std::uint64_t index = AsInteger();
    if (index >= count)
        Fail("is " + std::to_string(index) + ", there are " + std::to_string(count) + " " + things);
    return static_cast<std::uint32_t>(index);
}

bool JsonValue::AsFlag() const
{
    return Expect(JsonKind::Flag).number != 0;
}

const std::string& JsonValue::AsText() const
{
    return m_Document->m_Texts[static_cast<std::size_t>(Expect(JsonKind::Text).text)];
}

std::vector<JsonValue> JsonValue::AsList() const
{
    return ChildrenOf(Expect(JsonKind::Array));
}

std::vector<JsonValue> JsonValue::AsMembers() const
{
    return ChildrenOf(Expect(JsonKind::Object));
}

std::vector<JsonValue> JsonValue::ChildrenOf(const JsonNode& node) const
{
    std::vector<JsonValue> values;
    values.reserve(node.children.count);
    for (std::size_t k = 0; k < node.children.count; ++k)
        values.push_back({*m_Document, m_Document->m_Children[node.children.first + k]});
    return values;
}

std::vector<JsonValue> JsonValue::ListOf(std::size_t count) const
{
    const std::size_t found = Expect(JsonKind::Array).children.count;
    if (found != count)
        Fail("should have " + std::to_string(count) + " numbers and has " + std::to_string(found));
    return AsList();
}

const std::string& JsonValue::GetName() const
{
    return *m_Document->m_Nodes[m_Node].name;
}

std::optional<JsonValue> JsonValue::Find(std::string_view name) const
{
    const auto& children = Expect(JsonKind::Object).children;
    const auto& nodes = m_Document->m_Nodes;
    const auto first = m_Document->m_Children.begin() + children.first;
    const auto last = first + children.count;
    const auto found = std::lower_bound(
        first, last, name, [&](std::uint32_t node, std::string_view wanted) { return *nodes[node].name < wanted; });
    if (found == last || *nodes[*found].name != name)
        return std::nullopt;
    return JsonValue(*m_Document, *found);
}

JsonValue JsonValue::At(std::string_view name) const
{
    const std::optional<JsonValue> member = Find(name);
    if (!member)
        throw FormatError((m_Node == 0 ? "" : GetPath() + ".") + std::string(name), "is missing");
    return *member;
}

std::optional<JsonValue> JsonValue::FindExtension(std::string_view name) const
{
    const std::optional<JsonValue> extensions = Find("extensions");
    return extensions ? extensions->Find(name) : std::nullopt;
}

float JsonValue::Float(std::string_view name, float otherwise) const
{
    const std::optional<JsonValue> member = Find(name);
    return member ? member->AsFloat() : otherwise;
}

std::uint64_t JsonValue::Integer(std::string_view name, std::uint64_t otherwise) const
{
    const std::optional<JsonValue> member = Find(name);
    return member ? member->AsInteger() : otherwise;
}

bool JsonValue::Flag(std::string_view name, bool otherwise) const
{
    const std::optional<JsonValue> member = Find(name);
    return member ? member->AsFlag() : otherwise;
}

std::string JsonValue::Text(std::string_view name) const
{
    const std::optional<JsonValue> member = Find(name);
    return member ? member->AsText() : std::string();
}

std::vector<JsonValue> JsonValue::List(std::string_view name) const
{
    const std::optional<JsonValue> member = Find(name);
    return member ? member->AsList() : std::vector<JsonValue>();
}
} // namespace Formats::Gltf
