#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Formats::Gltf {

class JsonDocument;

/// A name for messages: as it is where it is an identifier, in quotes otherwise.
[[nodiscard]] std::string Plain(const std::string& name);

enum class JsonKind : std::uint8_t
{
    Null,
    Flag,
    Number,
    Text,
    Array,
    Object,
};

/// How a JsonDocument keeps a value.
struct JsonNode
{
    struct Range
    {
        std::uint32_t first;
        std::uint32_t count;
    };

    const std::string* name = nullptr; // of a member of an object
    union
    {
        double number; // of a flag too
        std::uint64_t text;
        Range children{};
    };
    std::uint32_t parent = 0;
    JsonKind kind = JsonKind::Null;
};

/// A value of a JsonDocument. Every access checks what it meets and names the value's place, such as
/// "meshes[2].primitives[0].mode", where it is not what it should be.
///
/// - Ownership: none, lives no longer than its document.
/// - Errors: FormatError.
class JsonValue
{
public:
    [[nodiscard]] std::string GetPath() const;
    [[noreturn]] void Fail(const std::string& problem) const;

    /// A number within the range of floats.
    [[nodiscard]] double AsNumber() const;
    [[nodiscard]] float AsFloat() const { return static_cast<float>(AsNumber()); }
    /// A whole number from 0 to 2^53.
    [[nodiscard]] std::uint64_t AsInteger() const;
    /// An integer below `count`, the number of `things`.
    [[nodiscard]] std::uint32_t AsIndex(std::size_t count, const char* things) const;
    [[nodiscard]] bool AsFlag() const;
    [[nodiscard]] const std::string& AsText() const;
    /// The elements of an array.
    [[nodiscard]] std::vector<JsonValue> AsList() const;
    /// The members of an object, in the order of their names.
    [[nodiscard]] std::vector<JsonValue> AsMembers() const;
    /// The name of a member of an object.
    [[nodiscard]] const std::string& GetName() const;

    /// A member of an object; `At` requires it.
    [[nodiscard]] std::optional<JsonValue> Find(std::string_view name) const;
    [[nodiscard]] JsonValue At(std::string_view name) const;
    /// A member of the member "extensions", if there are both.
    [[nodiscard]] std::optional<JsonValue> FindExtension(std::string_view name) const;

    // Members that may be missing.
    [[nodiscard]] float Float(std::string_view name, float otherwise) const;
    [[nodiscard]] std::uint64_t Integer(std::string_view name, std::uint64_t otherwise) const;
    [[nodiscard]] bool Flag(std::string_view name, bool otherwise) const;
    [[nodiscard]] std::string Text(std::string_view name) const;
    [[nodiscard]] std::vector<JsonValue> List(std::string_view name) const;
    /// Exactly as many numbers as there are in `numbers`, which keep their values where the member is missing.
    /// \returns whether it is there.
    template <class T, std::size_t N> bool Numbers(std::string_view name, T (&numbers)[N]) const
    {
        const std::optional<JsonValue> member = Find(name);
        if (!member)
            return false;
        const std::vector<JsonValue> elements = member->ListOf(N);
        for (std::size_t k = 0; k < N; ++k)
            if constexpr (std::is_same_v<T, float>)
                numbers[k] = elements[k].AsFloat();
            else
                numbers[k] = elements[k].AsNumber();
        return true;
    }

private:
    friend class JsonDocument;

    JsonValue(const JsonDocument& document, std::uint32_t node) : m_Document(&document), m_Node(node) {}
    const JsonNode& Expect(JsonKind kind) const;
    [[nodiscard]] std::vector<JsonValue> ChildrenOf(const JsonNode& node) const;
    [[nodiscard]] std::vector<JsonValue> ListOf(std::size_t count) const;

    const JsonDocument* m_Document;
    std::uint32_t m_Node;
};

/// A parsed JSON text. Members named "extras" are left out and counted.
///
/// - Units: 24 bytes per value, 4 per element or member, and the texts.
/// - Errors: FormatError for what is no JSON, with the byte; for a name that an object has twice; for arrays and
///   objects nested deeper than s_MostLevels.
class JsonDocument
{
public:
    static constexpr std::size_t s_MostLevels = 200;

    /// \param offset where the text begins in its file.
    JsonDocument(std::string_view text, std::uint64_t offset);
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;

    [[nodiscard]] JsonValue GetRoot() const { return {*this, 0}; }
    [[nodiscard]] std::uint64_t GetExtras() const noexcept { return m_Extras; }

private:
    friend class JsonValue;
    class Builder;

    [[nodiscard]] std::string PathOf(std::uint32_t node) const;

    std::deque<JsonNode> m_Nodes; // the root first
    std::deque<std::uint32_t> m_Children;
    std::deque<std::string> m_Texts;
    std::set<std::string, std::less<>> m_Names;
    std::uint64_t m_Extras = 0;
};
} // namespace Formats::Gltf
