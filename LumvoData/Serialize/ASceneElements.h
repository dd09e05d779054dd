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

/// Looks at a count of elements of so many bytes each before anything is allocated for them.
/// \returns true when the file ends before they do; `std::length_error` is raised where they would then take more than
///          MissingElementsLimit, or all of them more than the limits of the load allow.
inline bool AreElementsMissing(std::int32_t count, std::size_t size, const ASceneSerializeContext& context)
{
    const auto total = static_cast<std::size_t>(count);
    const auto fail = [&](const char* problem) {
        throw std::length_error("a count of " + std::to_string(count) + " elements of " + std::to_string(size) +
                                " bytes before byte " + std::to_string(context.GetPosition()) + problem);
    };
    if (total > context.GetLimits().blockBytes / size)
        fail(" is beyond the limit of this load");
    const bool missing = total > context.GetBytesLeft() / size;
    if (missing && total > MissingElementsLimit / size)
        fail(" reaches beyond the end of the file");
    return missing;
}

/// Loads `count` elements, more than 0, into a container of contiguous elements, which gets exactly that size.
///
/// Where the file ends first the elements that were not read keep what they held, new ones are zero. Nothing is changed
/// where AreElementsMissing raises an exception.
template <class Container> void ReadElements(Container& elements, std::int32_t count, ASceneSerializeContext& context)
{
    constexpr std::size_t size = sizeof(typename Container::value_type);
    const auto total = static_cast<std::size_t>(count);
    const bool missing = AreElementsMissing(count, size, context);
    if (missing || total <= ElementBlockSize / size) {
        elements.resize(total);
        context.Read(elements.data(), static_cast<int>(total * size));
        return;
    }
    elements.reserve(total);
    PrefaultMemory(elements.data(), total * size);
    for (std::size_t done = 0; done < total;) {
        const std::size_t block = std::min(total - done, ElementBlockSize / size);
        elements.resize(done + block);
        context.Read(elements.data() + done, static_cast<int>(block * size));
        done += block;
    }
}

/// Stores a count as an integer. One that does not fit raises `std::length_error`; nothing is stored then.
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
