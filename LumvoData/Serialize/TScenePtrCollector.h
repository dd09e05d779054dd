#pragma once

#include <LumvoData/Contracts/KelvraData/AClassFactory.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/AAddressTable.h>
#include <LumvoData/Serialize/AScenePtrCollector.h>
#include <LumvoData/Serialize/ASceneReports.h>
#include <LumvoData/Serialize/ASceneSerializeCollector.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
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
/// - Errors: reported to the assertion service. An unknown class, an object that is no `T`, and a reference
///   nested more than ASceneSerializeContext::MaxNesting deep read as empty, their records left unread. An
///   object that holds itself, and one nested too deeply, are written as empty references.
template <class T> class KELVRA_TEMPLATE_API TScenePtrCollector<std::shared_ptr<T>> : public AScenePtrCollector
{
public:
    /// Stores one reference.
    void Write(const std::shared_ptr<T>& p, ASceneSerializeContext& context)
    {
        if (!p)
            return WriteKey(0, context);
        std::uint32_t& key = m_Keys.KeyOf(p.get());
        if (key != 0) {
            // The object is recorded when its record is complete: until then it is being written further out.
            const bool complete = m_Objects[key - 1] != nullptr;
            if (!complete)
                SceneReports::Fail(SceneReports::HoldsItself, p->GetRuntimeClassId().GetName());
            return WriteKey(complete ? key : 0, context);
        }
        if (!context.CanNest()) {
            SceneReports::Fail(SceneReports::WrittenTooDeep, p->GetRuntimeClassId().GetName());
            return WriteKey(0, context);
        }
        m_Objects.emplace_back();
        const std::uint32_t newKey = static_cast<std::uint32_t>(m_Objects.size());
        key = newKey;
        WriteKey(newKey, context);
        const std::wstring& className = p->GetRuntimeClassId().GetName();
        context.Write(className);
        const ASceneSerializeContext::Nesting nesting(context);
        try {
            p->Serialize(context);
        } catch (...) {
            m_Objects[newKey - 1] = p; // the run is lost, but its address must not come to mean another object
            throw;
        }
        m_Objects[newKey - 1] = p;
    }

    /// Loads one reference into `p`: the empty reference leaves it as it was, one that cannot be loaded
    /// empties it.
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
        p = Find(key);
        if (p)
            return;
        std::wstring& className = context.ClassNameBuffer();
        className.clear();
        context.Read(className);
        if (!context.CanNest())
            return SceneReports::Fail(SceneReports::ReadTooDeep, className);
        std::unique_ptr<AObject> created(TSingleton<AClassFactory>::Instance().CreateObject(className));
        if (!created)
            SceneReports::Fail(SceneReports::ObjectNotCreated, className);
        T* const typed = dynamic_cast<T*>(created.get());
        if (typed == nullptr)
            return SceneReports::Fail(SceneReports::ObjectOfOtherType, T::GetClassId().GetName());
        static_cast<void>(created.release()); // owned by the shared pointer from here on
        std::shared_ptr<T> object(typed);
        if (static_cast<std::uint32_t>(key) == m_Objects.size() + 1)
            m_Objects.emplace_back();
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

    /// The object recorded in this run under `key`, or an empty pointer.
    [[nodiscard]] std::shared_ptr<T> Find(long key) const
    {
        const auto number = static_cast<std::uint32_t>(key);
        if (static_cast<std::int32_t>(number) != key)
            return nullptr;
        if (number - 1 < m_Objects.size() && m_Objects[number - 1])
            return m_Objects[number - 1];
        const auto found = m_Others.find(number);
        return found == m_Others.end() ? nullptr : found->second;
    }

private:
    static void WriteKey(std::uint32_t key, ASceneSerializeContext& context)
    {
        context.Write(&key, static_cast<int>(sizeof key));
    }

    void Record(std::int32_t key, const std::shared_ptr<T>& object)
    {
        const auto number = static_cast<std::uint32_t>(key);
        std::shared_ptr<T>& recorded = number - 1 < m_Objects.size() ? m_Objects[number - 1] : m_Others[number];
        if (recorded) // a damaged file that uses a key again within its own record
            m_Replaced.push_back(recorded);
        recorded = object;
    }

    AAddressTable m_Keys;                                 // storing: from an object's address to its key
    std::vector<std::shared_ptr<T>> m_Objects;            // by key - 1; empty while the record is incomplete
    std::map<std::uint32_t, std::shared_ptr<T>> m_Others; // loading: keys that do not count from 1
    std::vector<std::shared_ptr<T>> m_Replaced;           // loading: kept alive until the run ends
};
} // namespace Kelvra
