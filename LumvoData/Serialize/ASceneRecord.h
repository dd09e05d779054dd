#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraMath/Matrix4.h>
#include <LumvoData/Contracts/KelvraMath/Vector3.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/AEntitySerializer.h>
#include <LumvoData/Serialize/ASceneElements.h>
#include <LumvoData/Serialize/ASceneFieldVisitor.h>
#include <LumvoData/Serialize/ASceneNodeSerializer.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kelvra {

/// The fields of one object's record. A class's Serialize is a list of them, the same whether they are stored, loaded or
/// handed to a field visitor.
///
/// - Names: a field has the same name in every file and every visitor; names are unique within a class.
/// - Record: each function documents its bytes. If the file ends early, a field keeps its value, except that a box
///   becomes finite and that a text or a buffer gets its full count of elements.
/// - Errors: Text, Buffer and the fields of references throw `std::length_error` for counts that a hostile file made up
///   and for counts too large to be stored; see ReadElements and WriteElements.
/// - Ownership: refers to the context, which outlives it.
class KELVRA_API ASceneRecord
{
public:
    explicit ASceneRecord(ASceneSerializeContext& context) noexcept
        : m_Context(context), m_Visitor(context.GetFieldVisitor())
    {}

    /// A 32-bit integer, a float or a double: its own size in bytes.
    template <class T> void Number(const char* name, T& value)
    {
        static_assert(std::is_same_v<T, std::int32_t> || std::is_same_v<T, float> || std::is_same_v<T, double>,
                      "files hold 32-bit integers, floats and doubles; a bool goes through Flag");
        if (!Visits(name, value))
            Block(value);
    }
    /// 1 byte: 1 for true, 0 for false; anything but 0 reads as true.
    void Flag(const char* name, bool& value);
    /// A count of UTF-16 code units, then the units; a count of 0 leaves the text unchanged.
    void Text(const char* name, std::wstring& value);
    /// 24 bytes: x, y, z as doubles.
    void Point(const char* name, AMath::Vector3& value)
    {
        if (!Visits(name, value))
            Block(value);
    }
    /// 128 bytes: the 16 doubles in storage order.
    void Matrix(const char* name, AMath::Matrix4& value)
    {
        if (!Visits(name, value))
            Block(value);
    }
    /// 48 bytes: the corners, minimum first, each as a Point. The state is not stored: a box that was loaded is finite.
    void Box(const char* name, AMath::AxisAlignedBox& value);
    /// 32 bytes: red, green, blue, alpha as floats, then 16 bytes without meaning, zero when stored.
    void Colour(const char* name, AMath::ColourValue& value);
    /// A count of elements, then the elements; a count of 0 or less leaves the buffer unchanged. If the file ends first,
    /// the buffer still gets the full count: the elements read so far, then its previous ones, then zeros. A count of
    /// more than 16 MiB that are not there throws `std::length_error` instead.
    template <class T> void Buffer(const char* name, std::vector<T>& elements)
    {
        static_assert(std::is_same_v<T, float> || std::is_same_v<T, std::uint32_t>,
                      "buffers hold floats or 32-bit unsigned integers");
        if (Visits(name, elements))
            return;
        if (m_Context.IsStoring())
            return WriteElements(elements.data(), elements.size(), m_Context);
        std::int32_t count = 0;
        Block(count);
        if (count > 0)
            ReadElements(elements, count, m_Context);
    }
    /// An object reference; an empty one leaves the pointer unchanged.
    template <class T> void Pointer(const char* name, std::shared_ptr<T>& pointer)
    {
        if (VisitsReferences<T, T>(name, ASceneFieldKind::Reference, &pointer, &pointer + 1, 1))
            return;
        if (m_Context.IsStoring())
            m_Context.Collector().WritePtr<T>(pointer, m_Context);
        else
            m_Context.Collector().ReadPtr<T>(pointer, m_Context);
    }
    /// An object reference of the collector of `TBase`. Loading always replaces the pointer, by null if the object is
    /// not a `TItem`.
    template <class TBase, class TItem> void PointerAs(const char* name, std::shared_ptr<TItem>& pointer)
    {
        if (VisitsReferences<TBase, TItem>(name, ASceneFieldKind::Reference, &pointer, &pointer + 1, 1))
            return;
        if (m_Context.IsStoring())
            m_Context.Collector().WritePtr<TBase>(pointer, m_Context);
        else
            ReadPtrAs<TItem, TBase>(pointer, m_Context);
    }
    /// A list of references of the collector of `T`.
    template <class T> void List(const char* name, std::list<std::shared_ptr<T>>& list)
    {
        if (VisitsReferences<T, T>(name, ASceneFieldKind::List, list.begin(), list.end(), list.size()))
            return;
        if (m_Context.IsStoring())
            WriteList<T>(list, m_Context);
        else
            ReadList(list, m_Context);
    }
    /// A list of references of the collector of `TBase`, in which only objects of `TItem` are kept.
    template <class TBase, class TItem> void ListAs(const char* name, std::list<std::shared_ptr<TItem>>& list)
    {
        if (VisitsReferences<TBase, TItem>(name, ASceneFieldKind::List, list.begin(), list.end(), list.size()))
            return;
        if (m_Context.IsStoring())
            WriteList<TBase>(list, m_Context);
        else
            ReadListAs<TItem, TBase>(list, m_Context);
    }
    /// A vector of references of the collector of `T`.
    template <class T> void Vector(const char* name, std::vector<std::shared_ptr<T>>& vector)
    {
        if (VisitsReferences<T, T>(name, ASceneFieldKind::Vector, vector.begin(), vector.end(), vector.size()))
            return;
        if (m_Context.IsStoring())
            WriteVector(vector, m_Context);
        else
            ReadVector(vector, m_Context);
    }

private:
    /// Hands the field to the visitor, if the context has one.
    template <class T> bool Visits(const char* name, T& value)
    {
        if (m_Visitor == nullptr)
            return false;
        m_Visitor->OnField({name, &value});
        return true;
    }
    /// Hands the references to the visitor, if the context has one.
    template <class TBase, class TItem, class Iterator>
    bool VisitsReferences(const char* name, ASceneFieldKind kind, Iterator begin, Iterator end, std::size_t count)
    {
        if (m_Visitor == nullptr)
            return false;
        const ASceneReferenceField field{name, kind, &TBase::GetClassId(), &TItem::GetClassId()};
        m_Visitor->OnReferences(field, count);
        for (Iterator reference = begin; reference != end; ++reference) {
            std::shared_ptr<AObject> object = *reference;
            m_Visitor->OnReference(field, object);
            if (object == *reference)
                continue;
            std::shared_ptr<TItem> replacement = std::dynamic_pointer_cast<TItem>(object);
            if (replacement != nullptr || object == nullptr)
                *reference = std::move(replacement);
        }
        return true;
    }

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
    ASceneFieldVisitor* const m_Visitor;
};
} // namespace Kelvra
