#pragma once

#include <LumvoData/Contracts/Host/HostMemory.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

namespace Kelvra {

/// Elements are read in blocks of this many bytes, each put into a container that has just grown by them, so
/// that memory is touched once while it is in the processor's cache.
inline constexpr std::size_t ElementBlockSize = std::size_t{256} * 1024;
/// How many bytes of elements that the file does not hold a container may still be sized for.
inline constexpr std::size_t MissingElementsLimit = std::size_t{16} * 1024 * 1024;

/// Throws `std::length_error` for a count of elements of so many bytes each.
[[noreturn]] inline void FailCount(std::int32_t count, std::size_t size, const ASceneSerializeContext& context,
                                   const char* problem)
{
    throw std::length_error("a count of " + std::to_string(count) + " elements of " + std::to_string(size) +
                            " bytes before byte " + std::to_string(context.GetPosition()) + problem);
}

/// Loads `count` elements, more than 0, into a container of contiguous elements, which gets exactly that size.
///
/// If the file ends first, the elements that were not read keep what they held, and new ones are zero. Throws
/// `std::length_error`, with nothing changed, if the elements are beyond the limits of the load, or if the file does not
/// hold them and they take more than MissingElementsLimit. If the bytes do not come from the file, more elements than
/// are known to be left are read block by block, and `std::length_error` is thrown once more than MissingElementsLimit
/// of them were zero.
template <class Container> void ReadElements(Container& elements, std::int32_t count, ASceneSerializeContext& context)
{
    using Element = typename Container::value_type;
    constexpr std::size_t size = sizeof(Element);
    constexpr std::size_t largestBlock = ElementBlockSize / size, mostMissing = MissingElementsLimit / size;
    constexpr const char* beyondTheEnd = " reaches beyond the end of the file";
    const auto total = static_cast<std::size_t>(count);
    if (total > context.GetLimits().blockBytes / size)
        FailCount(count, size, context, " is beyond the limit of this load");
    const bool small = total <= largestBlock;
    const bool known = small || total <= context.GetBytesLeft() / size;
    if (small || (!known && total <= mostMissing)) {
        elements.resize(total);
        context.Read(elements.data(), static_cast<int>(total * size));
        return;
    }
    if (!known && context.IsFromFile())
        FailCount(count, size, context, beyondTheEnd);
    elements.resize(std::min(elements.size(), total));
    if (known) {
        elements.reserve(total);
        PrefaultMemory(elements.data(), total * size);
    }
    std::size_t zeros = 0; // that may stand for elements that are missing
    for (std::size_t done = 0; done < total;) {
        const std::size_t block = std::min(total - done, largestBlock);
        elements.resize(std::max(elements.size(), done + block));
        Element* const first = elements.data() + done;
        context.Read(first, static_cast<int>(block * size));
        if (!known && std::all_of(first, first + block, [](Element element) { return element == Element(); }))
            zeros += block;
        if (zeros > mostMissing)
            FailCount(count, size, context, beyondTheEnd);
        done += block;
    }
}

/// Stores a count as an integer. Throws `std::length_error` for one that does not fit, with nothing stored.
inline void WriteCount(std::size_t count, ASceneSerializeContext& context)
{
    if (count > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        throw std::length_error("a container of " + std::to_string(count) + " elements is too large for a scene file");
    const auto stored = static_cast<std::int32_t>(count);
    context.Write(&stored, static_cast<int>(sizeof stored));
}

/// Stores the count of elements and, where there are any, the elements behind it.
template <class T> void WriteElements(const T* elements, std::size_t count, ASceneSerializeContext& context)
{
    constexpr std::size_t largestBlock = std::numeric_limits<int>::max() / sizeof(T);
    WriteCount(count, context);
    for (std::size_t done = 0; done < count;) {
        const std::size_t block = std::min(count - done, largestBlock);
        context.Write(elements + done, static_cast<int>(block * sizeof(T)));
        done += block;
    }
}
} // namespace Kelvra
