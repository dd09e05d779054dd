#pragma once

#include <LumvoData/Serialize/ASceneElements.h>
#include <LumvoData/Serialize/ASceneReports.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>
#include <LumvoData/Serialize/TScenePtrCollector.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>

/// \file
/// Lists of shared pointers in the scene file.
///
/// Record of a list: the count as an integer, then each element as an object reference of the collector of
/// its type. Reading appends to what the list holds; an element that reads as empty is reported and left out.
namespace Kelvra {

class ASceneNode;

/// Loads the count of a container; 0 where the file ends first.
inline std::int32_t ReadCount(ASceneSerializeContext& context)
{
    std::int32_t count = 0;
    context.Read(&count, static_cast<int>(sizeof count));
    return count;
}

/// Counts the elements of a container of references while they are loaded.
///
/// Of a count that the rest of the file cannot hold, as many elements are tried as could stand there, and
/// MissingElements more, so that short files still report each missing element. Containers nest, so the elements
/// that all of them try behind the end of the file are limited too.
class AReferenceCounter
{
public:
    static constexpr std::int32_t MissingElements = 1024;

    /// Made for a count as it was read, in front of the first element.
    AReferenceCounter(std::int32_t count, ASceneSerializeContext& context) noexcept : m_Context(context)
    {
        const std::uint64_t most = context.GetBytesLeft() / sizeof(std::int32_t) + MissingElements;
        m_Left = count <= 0 ? 0 : std::min<std::uint64_t>(static_cast<std::uint64_t>(count), most);
    }

    /// Counts one element.
    /// \returns false when no more are to be tried.
    [[nodiscard]] bool Next() noexcept
    {
        if (m_Left == 0 || !m_Context.CanTryReference())
            return false;
        --m_Left;
        return true;
    }

private:
    ASceneSerializeContext& m_Context;
    std::uint64_t m_Left;
};

/// Loads a list of which `read` loads one element into an empty pointer.
template <class T, class ReadElement>
void ReadListWith(std::list<std::shared_ptr<T>>& list, ASceneSerializeContext& context, const ASceneReport& missing,
                  ReadElement read)
{
    AReferenceCounter counter(ReadCount(context), context);
    while (counter.Next()) {
        std::shared_ptr<T> element;
        read(element);
        if (!context.Collector().Check(element != nullptr, missing))
            continue;
        list.push_back(std::move(element));
    }
}

/// Stores a list whose elements go through the collector of `TBase`, the items' type or a base class of it.
template <class TBase, class TItem>
void WriteList(const std::list<std::shared_ptr<TItem>>& list, ASceneSerializeContext& context)
{
    WriteCount(list.size(), context);
    for (const std::shared_ptr<TItem>& element : list)
        context.Collector().WritePtr<TBase>(element, context);
}

/// Loads a list through the collector of `T`.
template <class T> void ReadList(std::list<std::shared_ptr<T>>& list, ASceneSerializeContext& context)
{
    constexpr ASceneReport missing =
        std::is_same_v<T, ASceneNode> ? SceneReports::ChildNotRead : SceneReports::ItemNotRead;
    ReadListWith(list, context, missing,
                 [&](std::shared_ptr<T>& element) { context.Collector().ReadPtr<T>(element, context); });
}

/// Loads one reference through the collector of `TBase`; an object that is no `TItem`, like an empty
/// reference, leaves `p` empty.
template <class TItem, class TBase> void ReadPtrAs(std::shared_ptr<TItem>& p, ASceneSerializeContext& context)
{
    std::shared_ptr<TBase> loaded;
    context.Collector().ReadPtr<TBase>(loaded, context);
    const TBase* const object = loaded.get();
    if (object != nullptr && typeid(*object) == typeid(TItem)) // most are, and comparing is cheaper than casting
        p = std::static_pointer_cast<TItem>(loaded);
    else
        p = std::dynamic_pointer_cast<TItem>(loaded);
}

/// Loads a list through the collector of `TBase`; an object that is no `TItem` counts as empty.
template <class TItem, class TBase>
void ReadListAs(std::list<std::shared_ptr<TItem>>& list, ASceneSerializeContext& context)
{
    ReadListWith(list, context, SceneReports::ItemNotReadAs,
                 [&](std::shared_ptr<TItem>& element) { ReadPtrAs<TItem, TBase>(element, context); });
}
} // namespace Kelvra
