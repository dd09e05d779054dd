#pragma once

#include <LumvoData/Serialize/ASceneElements.h>
#include <LumvoData/Serialize/ASceneReports.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>
#include <LumvoData/Serialize/TScenePtrCollector.h>

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
/// Of a count that the rest of the file cannot hold, as many elements are tried as could be there, and MissingElements
/// more, so that short files still report each missing element. Containers nest, so the elements that all of them try
/// after the end of the file are limited too. An element is known to be missing once it has read as null and no bytes
/// are left, wherever the bytes come from.
class AReferenceCounter
{
public:
    static constexpr std::int32_t MissingElements = 1024;

    /// Made for a count as it was read, which may be negative.
    AReferenceCounter(std::int32_t count, ASceneSerializeContext& context) noexcept : m_Context(context), m_Left(count)
    {}

    /// Counts one element that is about to be read.
    /// \returns false when no more are to be tried.
    [[nodiscard]] bool Next() noexcept
    {
        return m_Left-- > 0 && m_Missing < MissingElements && m_Context.CanMissElements();
    }
    /// Takes note that the element read as null.
    void WasNull() noexcept
    {
        if (m_Context.GetBytesLeft() > 0)
            return;
        ++m_Missing;
        m_Context.CountMissingElement();
    }

private:
    ASceneSerializeContext& m_Context;
    std::int64_t m_Left;
    std::int32_t m_Missing = 0;
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
        if (context.Collector().Check(element != nullptr, missing))
            list.push_back(std::move(element));
        else
            counter.WasNull();
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

/// True where a pointer to `TBase` may be cast to one to `TItem` without a check: not where the base is a virtual one.
template <class TItem, class TBase, class = void> struct IsStaticDowncast : std::false_type
{
};
template <class TItem, class TBase>
struct IsStaticDowncast<TItem, TBase, std::void_t<decltype(static_cast<TItem*>(std::declval<TBase*>()))>>
    : std::true_type
{
};

/// Loads one reference through the collector of `TBase`; an object that is not a `TItem`, like a null reference, leaves
/// `p` null.
template <class TItem, class TBase> void ReadPtrAs(std::shared_ptr<TItem>& p, ASceneSerializeContext& context)
{
    std::shared_ptr<TBase> loaded;
    context.Collector().ReadPtr<TBase>(loaded, context);
    if constexpr (IsStaticDowncast<TItem, TBase>::value) {
        const TBase* const object = loaded.get();
        if (object != nullptr && typeid(*object) == typeid(TItem)) { // most are, and comparing is cheaper than casting
            p = std::static_pointer_cast<TItem>(loaded);
            return;
        }
    }
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
