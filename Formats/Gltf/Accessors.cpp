#include <Formats/Gltf/Accessors.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>

namespace Formats::Gltf {
namespace {

constexpr std::size_t s_BlockSize = std::size_t{256} << 10U;

enum ComponentType : std::uint32_t
{
    TypeByte = 5120,
    TypeUnsignedByte = 5121,
    TypeShort = 5122,
    TypeUnsignedShort = 5123,
    TypeUnsignedInt = 5125,
    TypeFloat = 5126,
};

/// 0 for a type that there is not.
std::size_t SizeOf(std::uint64_t type) noexcept
{
    switch (type) {
    case TypeByte:
    case TypeUnsignedByte:
        return 1;
    case TypeShort:
    case TypeUnsignedShort:
        return 2;
    case TypeUnsignedInt:
    case TypeFloat:
        return 4;
    default:
        return 0;
    }
}

/// A component type that is fit for `To`: indices are unsigned integers, and no vector has 32-bit integers.
template <class To> std::uint32_t ComponentTypeOf(const JsonValue& value)
{
    const std::uint64_t type = value.AsInteger();
    const bool fits = std::is_same_v<To, float>
                          ? type != TypeUnsignedInt
                          : type == TypeUnsignedByte || type == TypeUnsignedShort || type == TypeUnsignedInt;
    if (SizeOf(type) == 0 || !fits)
        value.Fail("is " + std::to_string(type) + ", which is no component type " +
                   (std::is_same_v<To, float> ? "of vectors" : "of indices"));
    return static_cast<std::uint32_t>(type);
}

template <class From, class To> To Converted(From number, bool normalized) noexcept
{
    if constexpr (std::is_same_v<To, float> && std::is_integral_v<From>) {
        constexpr auto most = static_cast<float>(std::numeric_limits<From>::max());
        return normalized ? std::max(static_cast<float>(number) / most, -1.0F) : static_cast<float>(number);
    } else {
        return static_cast<To>(number);
    }
}

/// Elements as they are in a file.
struct Block
{
    std::vector<char> bytes;
    std::size_t stride;
    std::size_t width;
    bool normalized;
};

/// \returns the end of what is written.
template <class From, class To> To* Convert(const Block& block, std::size_t count, To* out) noexcept
{
    for (std::size_t k = 0; k < count; ++k)
        for (std::size_t c = 0; c < block.width; ++c) {
            From number;
            std::memcpy(&number, block.bytes.data() + k * block.stride + c * sizeof(From), sizeof(From));
            *out++ = Converted<From, To>(number, block.normalized);
        }
    return out;
}

/// The bits tell without a branch, so that the loop runs over several floats at once.
bool AllFinite(const std::vector<float>& numbers) noexcept
{
    constexpr std::uint32_t exponent = 0x7F800000;
    std::uint32_t found = 0;
    for (const float number : numbers) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &number, sizeof(bits));
        found |= static_cast<std::uint32_t>((bits & exponent) == exponent);
    }
    return found == 0;
}
} // namespace

struct Accessors::Layout
{
    JsonValue value; // the accessor
    std::uint64_t count;
    std::size_t width;
    std::uint32_t type = 0;
    bool normalized = false;
    std::optional<Buffers::View> view = {}; // zeros without one
    std::uint64_t offset = 0;
    std::size_t stride = 0;
};

std::size_t Accessors::GetCount(std::uint32_t accessor) const
{
    const JsonValue count = m_Values[accessor].At("count");
    if (count.AsInteger() == 0)
        count.Fail("should be at least 1");
    return static_cast<std::size_t>(count.AsInteger());
}

Accessors::Layout Accessors::Describe(std::uint32_t accessor, const char* type, std::size_t width) const
{
    const JsonValue value = m_Values[accessor];
    const JsonValue found = value.At("type");
    if (found.AsText() != type)
        found.Fail(std::string("should be ") + type + " and is " + Quote(found.AsText()));
    Layout layout{value, GetCount(accessor), width};
    layout.normalized = value.Flag("normalized", false);
    return layout;
}

/// Fills in where the elements are, by members of `value`, which is the accessor or a part of it.
void Accessors::Place(Layout& layout, const JsonValue& value)
{
    const std::size_t size = SizeOf(layout.type);
    const std::size_t elementSize = size * layout.width;
    layout.offset = value.Integer("byteOffset", 0);
    const std::optional<JsonValue> index = value.Find("bufferView");
    if (!index)
        return;
    const Buffers::View view = m_Buffers.GetView(*index);
    layout.view = view;
    layout.stride = view.stride != 0 ? static_cast<std::size_t>(view.stride) : elementSize;
    if (layout.stride < elementSize)
        value.Fail("elements of " + std::to_string(elementSize) + " bytes overlap at a stride of " +
                   std::to_string(layout.stride));
    if (layout.offset % size != 0 || (view.offset + layout.offset) % size != 0)
        value.Fail("does not begin at a multiple of its components' size, " + std::to_string(size));
    // Neither product nor sum wraps: numbers are at most 2^53, and a stride is at most 252.
    const std::uint64_t end = layout.offset + (layout.count - 1) * layout.stride + elementSize;
    if (end > view.length)
        value.Fail(std::to_string(layout.count) + " elements end at byte " + std::to_string(end) +
                   " of a buffer view of " + std::to_string(view.length));
}

template <class To> std::vector<To> Accessors::Read(const Layout& layout)
{
    m_Job.Spend(layout.count * layout.width * sizeof(To));
    std::vector<To> numbers(static_cast<std::size_t>(layout.count * layout.width));
    if (!layout.view)
        return numbers;
    const std::size_t elementSize = SizeOf(layout.type) * layout.width;
    const bool same = layout.type == (std::is_same_v<To, float> ? TypeFloat : TypeUnsignedInt);
    if (same && layout.stride == elementSize) {
        m_Buffers.Read(*layout.view, layout.offset, numbers.data(), numbers.size() * sizeof(To));
        return numbers;
    }

    Block block{std::vector<char>(s_BlockSize), layout.stride, layout.width, layout.normalized};
    const std::size_t most = s_BlockSize / layout.stride;
    To* out = numbers.data();
    for (std::uint64_t done = 0; done < layout.count;) {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(most, layout.count - done));
        m_Buffers.Read(*layout.view, layout.offset + done * layout.stride, block.bytes.data(),
                       (count - 1) * layout.stride + elementSize);
        switch (layout.type) {
        case TypeByte:
            out = Convert<std::int8_t>(block, count, out);
            break;
        case TypeUnsignedByte:
            out = Convert<std::uint8_t>(block, count, out);
            break;
        case TypeShort:
            out = Convert<std::int16_t>(block, count, out);
            break;
        case TypeUnsignedShort:
            out = Convert<std::uint16_t>(block, count, out);
            break;
        case TypeUnsignedInt:
            out = Convert<std::uint32_t>(block, count, out);
            break;
        default:
            out = Convert<float>(block, count, out);
        }
        done += count;
    }
    return numbers;
}

/// Puts the elements in that a sparse accessor gives others for.
template <class To> void Accessors::Substitute(const Layout& layout, std::vector<To>& numbers)
{
    const std::optional<JsonValue> sparse = layout.value.Find("sparse");
    if (!sparse)
        return;
    const JsonValue count = sparse->At("count");
    const JsonValue indices = sparse->At("indices");
    const JsonValue values = sparse->At("values");
    if (count.AsInteger() == 0 || count.AsInteger() > layout.count)
        count.Fail("is " + std::to_string(count.AsInteger()) + ", the accessor has " + std::to_string(layout.count) +
                   " elements");
    Layout where{layout.value, count.AsInteger(), 1};
    where.type = ComponentTypeOf<std::uint32_t>(indices.At("componentType"));
    (void)indices.At("bufferView");
    Place(where, indices);
    Layout what = layout;
    what.count = where.count;
    (void)values.At("bufferView");
    Place(what, values);

    const std::vector<std::uint32_t> places = Read<std::uint32_t>(where);
    const std::vector<To> replacements = Read<To>(what);
    for (std::size_t k = 0; k < places.size(); ++k) {
        if (places[k] >= layout.count || (k > 0 && places[k] <= places[k - 1]))
            indices.Fail("number " + std::to_string(k) + " is " + std::to_string(places[k]) +
                         ": they should rise and be less than " + std::to_string(layout.count));
        std::copy_n(replacements.begin() + static_cast<std::ptrdiff_t>(k * layout.width), layout.width,
                    numbers.begin() + static_cast<std::ptrdiff_t>(places[k] * layout.width));
    }
}

std::vector<float> Accessors::ReadVectors(std::uint32_t accessor, std::size_t width)
{
    Layout layout = Describe(accessor, width == 2 ? "VEC2" : "VEC3", width);
    layout.type = ComponentTypeOf<float>(layout.value.At("componentType"));
    Place(layout, layout.value);
    std::vector<float> numbers = Read<float>(layout);
    Substitute(layout, numbers);
    if (!AllFinite(numbers)) {
        const auto bad = std::find_if_not(numbers.begin(), numbers.end(), [](float x) { return std::isfinite(x); });
        layout.value.Fail("element " + std::to_string(static_cast<std::size_t>(bad - numbers.begin()) / width) +
                          " is not finite");
    }
    return numbers;
}

std::vector<std::uint32_t> Accessors::ReadIndices(const JsonValue& user, std::size_t vertices)
{
    Layout layout = Describe(IndexOf(user), "SCALAR", 1);
    layout.type = ComponentTypeOf<std::uint32_t>(layout.value.At("componentType"));
    Place(layout, layout.value);
    std::vector<std::uint32_t> indices = Read<std::uint32_t>(layout);
    Substitute(layout, indices);
    // The greatest number of a type restarts strips elsewhere and is no index here.
    const std::uint64_t restart = (std::uint64_t{1} << (8 * SizeOf(layout.type))) - 1;
    const std::uint64_t limit = std::min<std::uint64_t>(vertices, restart);
    const std::uint32_t greatest = *std::max_element(indices.begin(), indices.end());
    if (greatest >= limit) {
        const auto bad = std::find_if(indices.begin(), indices.end(), [&](auto index) { return index >= limit; });
        user.Fail("index " + std::to_string(bad - indices.begin()) + " is " + std::to_string(*bad) +
                  (*bad == restart ? ", which restarts strips and is not allowed"
                                   : ", there are " + std::to_string(vertices) + " vertices"));
    }
    return indices;
}
} // namespace Formats::Gltf
