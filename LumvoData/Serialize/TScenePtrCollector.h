#pragma once

#include <LumvoData/Contracts/KelvraData/AClassFactory.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/AControlBlocks.h>
#include <LumvoData/Serialize/AScenePtrCollector.h>
#include <LumvoData/Serialize/ASceneReports.h>
#include <LumvoData/Serialize/ASceneSerializeCollector.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>
#include <LumvoData/Serialize/TBlockList.h>
#include <LumvoData/Serialize/TPlaceTable.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Kelvra {

/// The shared pointers to `T` of one run, by reference key: each object is stored once and loaded once.
///
/// Record of a reference: the key, 0 for an empty pointer; at the object's first occurrence then its class
/// name and its own record. Keys count from 1 in the order of first occurrence, so that equal scenes give
/// equal bytes; a reader accepts any nonzero key.
///
/// - Ownership: shares every object that was stored or loaded until the run ends, so that no address and no
///   key is met twice with another meaning.
/// - Errors: reported to the assertion service and counted by the context. An unknown class, an object that is not a
///   `T`, and a reference nested deeper than the context's limit read as null, their records left unread. An object
///   that holds itself and one nested too deeply are written as null references. An object whose class the class
///   factory cannot create is written, and reported once for each class name.
template <class T> class KELVRA_TEMPLATE_API TScenePtrCollector<std::shared_ptr<T>> : public AScenePtrCollector
{
public:
    /// Stores one reference.
    void Write(const std::shared_ptr<T>& p, ASceneSerializeContext& context)
    {
        if (!p)
            return WriteKey(0, context);
        if (const std::uint32_t key = m_Stored.Find(p.get()); key != 0) {
            if (IsOpen(key))
                context.Collector().Fail(SceneReports::HoldsItself, p->GetRuntimeClassId().GetName());
            return WriteKey(IsOpen(key) ? 0 : key, context);
        }
        WriteObject(p, context);
    }

    /// Loads one reference into `p`: the empty reference and an exception leave it as it was, one that cannot be
    /// loaded empties it.
    void Read(std::shared_ptr<T>& p, ASceneSerializeContext& context)
    {
        ASceneLoadObserver* const observer = context.GetObserver();
        const std::uint64_t keyOffset = observer != nullptr ? context.GetPosition() : 0;
        std::int32_t key = 0;
        context.Read(&key, static_cast<int>(sizeof key));
        if (observer != nullptr)
            observer->OnReference(key, keyOffset);
        if (key == 0)
            return;
        if (std::shared_ptr<T> known = Find(key)) {
            p = std::move(known);
            return;
        }
        ReadObject(p, key, keyOffset, context);
    }

    /// The object recorded in this run under `key`, or null.
    [[nodiscard]] std::shared_ptr<T> Find(long key) const
    {
        const auto number = static_cast<std::uint32_t>(key);
        if (static_cast<std::int32_t>(number) != key)
            return nullptr;
        if (number - 1 < m_Objects.size() && m_Objects[number - 1])
            return m_Objects[number - 1];
        if (number - 1 < m_Open.size())
            return IsOpen(number) ? nullptr : m_Stored[number];
        const std::uint32_t place = m_Others.Find(number);
        return place == 0 ? nullptr : m_Others[place].second;
    }

private:
    static void WriteKey(std::uint32_t key, ASceneSerializeContext& context)
    {
        context.Write(&key, static_cast<int>(sizeof key));
    }

    /// Stores the first occurrence of an object.
    void WriteObject(const std::shared_ptr<T>& p, ASceneSerializeContext& context)
    {
        const AClassId& classId = p->GetRuntimeClassId();
        if (!context.CanNest()) {
            context.Collector().Fail(SceneReports::WrittenTooDeep, classId.GetName());
            return WriteKey(0, context);
        }
        context.Collector().CheckCreatable(classId);
        // Kept from here on, whatever stops its record: its address must not come to mean another object.
        const std::uint32_t key = m_Stored.Add(p);
        m_Open.resize(key, 1);
        WriteKey(key, context);
        context.Write(classId.GetName());
        const ASceneSerializeContext::Nesting nesting(context);
        try {
            p->Serialize(context);
        } catch (...) {
            m_Open[key - 1] = 0;
            throw;
        }
        m_Open[key - 1] = 0;
    }

    /// Loads the first occurrence of an object, of which the key has been read.
    void ReadObject(std::shared_ptr<T>& p, std::int32_t key, std::uint64_t keyOffset, ASceneSerializeContext& context)
    {
        ASceneLoadObserver* const observer = context.GetObserver();
        std::wstring& className = context.ClassNameBuffer();
        className.clear();
        context.Read(className);
        if (!context.CanNest()) {
            context.Collector().Fail(SceneReports::ReadTooDeep, std::move(className));
            return p.reset();
        }
        context.CountObject();
        std::shared_ptr<T> object = Create(className, context.Collector());
        if (!object)
            return p.reset();
        context.Heap().Follow(object.get());
        if (static_cast<std::uint32_t>(key) == m_Objects.size() + 1)
            m_Objects.push_back(nullptr);
        const ASceneSerializeContext::Nesting nesting(context);
        if (observer != nullptr)
            observer->OnObjectBegin(*object, keyOffset, context.GetPosition());
        object->Serialize(context);
        if (observer != nullptr)
            observer->OnObjectEnd(*object, context.GetPosition());
        // The key is recorded last, because the record may hold references itself.
        Record(key, object);
        p = std::move(object);
    }

    /// Makes an object; null, and reported, if the class is unknown or is not a `T`. Consumes the name of an unknown
    /// class.
    std::shared_ptr<T> Create(std::wstring& className, ASceneSerializeCollector& reports)
    {
        if (!m_Creator || className != m_CreatorName)
            ChangeCreator(className);
        std::unique_ptr<AObject> created(m_Creator ? m_Creator->Create() : nullptr);
        if (!created)
            reports.Fail(SceneReports::ObjectNotCreated, std::move(className));
        T* const typed = CastCreated(created.get());
        if (typed == nullptr) {
            reports.Fail(SceneReports::ObjectOfOtherType, T::GetClassId().GetName());
            return nullptr;
        }
        static_cast<void>(created.release());
        return m_ControlBlocks.Share(std::unique_ptr<T>(typed));
    }

    /// Finds the creator of a class that is not the last one; null if there is none. Objects of one class follow each
    /// other, or those of two take turns, so the last two classes are remembered.
    void ChangeCreator(const std::wstring& className)
    {
        m_Creator.swap(m_FormerCreator);
        m_CreatorName.swap(m_FormerCreatorName);
        if (m_Creator && className == m_CreatorName)
            return;
        m_Creator.reset();
        auto creator = TSingleton<AClassFactory>::Instance().FindCreator(className);
        if (creator) // the name of an unknown class may be as long as a file makes it
            m_CreatorName = className;
        m_Creator = std::move(creator);
    }

    /// The checked cast of a new object. Within all objects of one class `T` lies at the same distance.
    T* CastCreated(AObject* created)
    {
        if (created == nullptr)
            return nullptr;
        char* const start = reinterpret_cast<char*>(created);
        const std::type_info& type = typeid(*created);
        if (m_CreatedType != nullptr && *m_CreatedType == type)
            return reinterpret_cast<T*>(start + m_CastDistance);
        T* const typed = dynamic_cast<T*>(created);
        if (typed != nullptr) {
            m_CreatedType = &type;
            m_CastDistance = reinterpret_cast<char*>(typed) - start;
        }
        return typed;
    }

    /// True while the record of the object is being written.
    bool IsOpen(std::uint32_t key) const { return key - 1 < m_Open.size() && m_Open[key - 1] != 0; }

    void Record(std::int32_t key, const std::shared_ptr<T>& object)
    {
        const auto number = static_cast<std::uint32_t>(key);
        std::shared_ptr<T>& recorded = number - 1 < m_Objects.size() ? m_Objects[number - 1] : Other(number);
        if (recorded) // a damaged file that uses a key again within its own record
            m_Replaced.push_back(recorded);
        recorded = object;
    }

    std::shared_ptr<T>& Other(std::uint32_t key)
    {
        const std::uint32_t place = m_Others.Find(key);
        return m_Others[place != 0 ? place : m_Others.Add({key, nullptr})].second;
    }

    // Loading: the last class that was met, its name and creator, its type and where `T` lies in its objects.
    std::wstring m_CreatorName;
    std::shared_ptr<TObjectCreatorBase<AObject>> m_Creator;
    std::wstring m_FormerCreatorName; // of the class before the last one
    std::shared_ptr<TObjectCreatorBase<AObject>> m_FormerCreator;
    const std::type_info* m_CreatedType = nullptr;
    std::ptrdiff_t m_CastDistance = 0;

    TPlaceTable<std::shared_ptr<T>> m_Stored; // storing: the place of an object is its key
    std::vector<std::uint8_t> m_Open;         // storing: by key - 1, 1 while the record is being written

    AControlBlocks m_ControlBlocks;
    TBlockList<std::shared_ptr<T>> m_Objects;                           // loading: by key - 1; empty while incomplete
    TPlaceTable<std::pair<std::uint32_t, std::shared_ptr<T>>> m_Others; // loading: those whose keys do not count from 1
    std::vector<std::shared_ptr<T>> m_Replaced;                         // loading: kept alive until the run ends
};
} // namespace Kelvra
