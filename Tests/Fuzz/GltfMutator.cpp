#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using Json = nlohmann::ordered_json;
using Random = std::minstd_rand;

constexpr std::uint32_t s_Magic = 0x46546C67;  // "glTF"
constexpr std::uint32_t s_Json = 0x4E4F534A;   // "JSON"
constexpr std::uint32_t s_Binary = 0x004E4942; // "BIN\0"

/// The text of a .gltf file; or the text and the binary chunk of a .glb file.
struct Document
{
    bool binary = false;
    std::string text;
    std::string bytes;

    explicit Document(std::string_view file) : text(file)
    {
        std::array<std::uint32_t, 5> head{};
        if (file.size() < sizeof head)
            return;
        std::memcpy(head.data(), file.data(), sizeof head);
        if (head[0] != s_Magic || head[4] != s_Json || head[3] > file.size() - sizeof head)
            return;
        binary = true;
        text = file.substr(sizeof head, head[3]);
        const std::size_t behind = sizeof head + head[3] + 8;
        if (behind < file.size())
            bytes = file.substr(behind);
    }

    [[nodiscard]] std::string ToFile() const
    {
        if (!binary)
            return text;
        const auto pad = [](std::string chunk, char with) {
            chunk.append((4 - chunk.size() % 4) % 4, with);
            return chunk;
        };
        const auto number = [](std::size_t value) {
            const auto narrow = static_cast<std::uint32_t>(value);
            std::string packed(sizeof narrow, '\0');
            std::memcpy(packed.data(), &narrow, sizeof narrow);
            return packed;
        };
        const std::string json = pad(text, ' ');
        const std::string binaryPart = pad(bytes, '\0');
        const std::string chunks =
            number(json.size()) + number(s_Json) + json +
            (binaryPart.empty() ? "" : number(binaryPart.size()) + number(s_Binary) + binaryPart);
        return number(s_Magic) + number(2) + number(chunks.size() + 12) + chunks;
    }
};

void Collect(Json& json, std::vector<Json*>& found)
{
    found.push_back(&json);
    if (json.is_structured())
        for (Json& element : json)
            Collect(element, found);
}

/// Changes one value of a document, or the members of one object or array.
void Change(Json& json, Random& random)
{
    static const std::array<Json, 18> s_Values = {0,          1,           2,     3,       -1,     4,
                                                  5121,       5123,        5125,  5126,    1e30,   0.5,
                                                  2147483647, 4294967295U, false, nullptr, "VEC3", Json::object()};
    std::vector<Json*> all;
    Collect(json, all);
    Json& target = *all[random() % all.size()];
    const Json other = *all[random() % all.size()];
    switch (random() % 5) {
    case 0:
        target = other;
        break;
    case 1:
        if (target.is_array() && !target.empty())
            target.push_back(target[random() % target.size()]);
        else if (target.is_object() && !target.empty() && other.is_object())
            target.update(other);
        break;
    case 2:
        if (target.is_array() && !target.empty())
            target.erase(random() % target.size());
        else if (target.is_object() && !target.empty())
            target.erase(std::next(target.begin(), static_cast<std::ptrdiff_t>(random() % target.size())));
        break;
    case 3:
        if (target.is_number_integer())
            target = target.get<std::int64_t>() + (random() % 2 == 0 ? 1 : -1);
        break;
    default:
        target = s_Values[random() % s_Values.size()];
        break;
    }
}
} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed)
{
    Random random(seed);
    const auto way = random() % 8;
    if (way == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    Document document({reinterpret_cast<const char*>(data), size});
    const auto mutateBytes = [&](std::string& bytes) {
        const std::size_t former = bytes.size();
        bytes.resize(maxSize);
        bytes.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(bytes.data()), former, maxSize));
    };
    Json json = Json::parse(document.text, nullptr, false);
    if (way == 1 || json.is_discarded())
        mutateBytes(document.text);
    else if (way == 2 && document.binary)
        mutateBytes(document.bytes);
    else {
        Change(json, random);
        document.text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    }
    const std::string file = document.ToFile();
    if (file.size() > maxSize)
        return LLVMFuzzerMutate(data, size, maxSize);
    std::copy(file.begin(), file.end(), data);
    return file.size();
}
