#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/AEntitySerializer.h>
#include <LumvoData/Serialize/ASceneElements.h>
#include <LumvoData/Serialize/ASceneNodeSerializer.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace Kelvra {

/// The fields of one object's record, each stored or loaded by a verb: a class's Serialize is a list of them,
/// the same for both directions.
///
/// - Record: each verb names its bytes. Where the file ends early, a field keeps what it held, except that a box
///   becomes finite and that a text or a buffer gets its full count of elements.
/// - Errors: Text, Buffer and what holds references raise `std::length_error` for counts that a hostile file makes
///   up and for ones that are too large to be stored; see ReadElements and WriteElements.
/// - Ownership: refers to the context, which outlives it.
class KELVRA_API ASceneRecord
{
public:
    explicit ASceneRecord(ASceneSerializeContext& context) noexcept : m_Context(context) {}

    /// A 32-bit integer, a float or a double: its own size in bytes.
    template <class T> void Number(T& value)
    {
        static_assert(std::is_same_v<T, std::int32_t> || std::is_same_v<T, float> || std::is_same_v<T, double>,
                      "files hold 32-bit integers, floats and doubles; a bool goes through Flag");
        Block(value);
    }
    /// 1 byte: 1 for true, 0 for false; anything but 0 reads as true.
    void Flag(bool& value);
    /// A count of UTF-16 code units, then the units; a count of 0 leaves the text as it was.
    void Text(std::wstring& value);
    /// 24 bytes: x, y, z as doubles.
    void Point(AMath::Vector3& value) { Block(value); }
    /// 128 bytes: the 16 doubles in storage order.
    void Matrix(AMath::Matrix4& value) { Block(value); }
    /// 48 bytes: the corners, minimum first, each as a Point. The state is not stored: a box that was loaded
    /// is finite.
    void Box(AMath::AxisAlignedBox& value);
    /// 32 bytes: red, green, blue, alpha as floats, then 16 bytes without meaning, zero when stored.
    void Colour(AMath::ColourValue& value);
    /// A count of elements, then the elements; a count of 0 or less leaves the buffer as it was. Where the file
    /// ends first, the buffer still gets the full count: the elements that were there, then those it held, then
    /// zeros; a count of more than 16 MiB that are not there raises `std::length_error` instead.
    template <class T> void Buffer(std::vector<T>& elements)
    {
        static_assert(std::is_arithmetic_v<T> && sizeof(T) == 4, "buffers hold floats or 32-bit integers");
        if (m_Context.IsStoring())
            return WriteElements(elements.data(), elements.size(), m_Context);
        std::int32_t count = 0;
        Number(count);
        if (count > 0)
            ReadElements(elements, count, m_Context);
    }
    /// An object reference; one that reads as empty leaves the pointer as it was.
    template <class T> void Pointer(std::shared_ptr<T>& pointer)
    {
        if (m_Context.IsStoring())
            m_Context.Collector().WritePtr<T>(pointer, m_Context);
        else
            m_Context.Collector().ReadPtr<T>(pointer, m_Context);
    }
    /// An object reference of the collector of `TBase`; whatever is read replaces the pointer, an object that
    /// is no `TItem` by an empty one.
    template <class TBase, class TItem> void PointerAs(std::shared_ptr<TItem>& pointer)
    {
        if (m_Context.IsStoring())
            m_Context.Collector().WritePtr<TBase>(pointer, m_Context);
        else
            ReadPtrAs<TItem, TBase>(pointer, m_Context);
    }
    /// A list of references of the collector of `T`.
    template <class T> void List(std::list<std::shared_ptr<T>>& list)
    {
        if (m_Context.IsStoring())
            WriteList<T>(list, m_Context);
        else
            ReadList(list, m_Context);
    }
    /// A list of references of the collector of `TBase`, in which only objects of `TItem` are kept.
    template <class TBase, class TItem> void ListAs(std::list<std::shared_ptr<TItem>>& list)
    {
        if (m_Context.IsStoring())
            WriteList<TBase>(list, m_Context);
        else
            ReadListAs<TItem, TBase>(list, m_Context);
    }
    /// A vector of references of the collector of `T`.
    template <class T> void Vector(std::vector<std::shared_ptr<T>>& vector)
    {
        if (m_Context.IsStoring())
            WriteVector(vector, m_Context);
        else
            ReadVector(vector, m_Context);
    }

private:
    /// The bytes of a value as they lie in memory, in one transfer.
    template <class T> void Block(T& value)
    {
        static_assert(std::is_trivially_copyable_v<T>, "a block is stored as its bytes");
        if (m_Context.IsStoring())
            m_Context.Write(&value, static_cast<int>(sizeof value));
        else
            m_Context.Read(&value, static_cast<int>(sizeof value));
    }

    ASceneSerializeContext& m_Context;
};
} // namespace Kelvra
