#pragma once

#include <LumvoData/Contracts/KelvraData/AClassId.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/AScenePtrCollector.h>
#include <LumvoData/Serialize/ASceneReports.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Kelvra {

class AObject;
class ASceneFieldVisitor;
class ASceneSerializeContext;

/// The pointer collectors of one run, found by the class name of the type that the pointers share, and the count of
/// what persistence reports in that run.
///
/// The member templates need the whole type `T` and TScenePtrCollector.h.
///
/// - Ownership: shares its collectors, and they every object of the run; a copy shares the same collectors.
/// - Errors: reported to the assertion service. Without a collector nothing is written or read.
class KELVRA_API ASceneSerializeCollector
{
public:
    /// \param visitor receives the references instead of the collectors; null for a file. It outlives the set.
    explicit ASceneSerializeCollector(ASceneFieldVisitor* visitor = nullptr) noexcept : m_Visitor(visitor) {}

    /// Makes a fresh collector of every kind in the collector factory.
    void Begin();
    /// Releases every collector, and with them the objects that only they held.
    void End();

    /// The collector of `T`; null, and reported, when there is none.
    template <class T> TScenePtrCollector<std::shared_ptr<T>>* GetCollector()
    {
        using Collector = TScenePtrCollector<std::shared_ptr<T>>;
        for (const Known& known : m_Known)
            if (known.type == &typeid(Collector))
                return static_cast<Collector*>(known.collector);
        const std::shared_ptr<AScenePtrCollector>* const found = Find(T::GetClassId().GetName());
        if (found == nullptr)
            return nullptr;
        Collector* const collector = dynamic_cast<Collector*>(found->get());
        if (Check(collector != nullptr, SceneReports::CollectorOfOtherType))
            m_Known.push_back({&typeid(Collector), collector});
        return collector;
    }

    /// Stores one reference through the collector of `T`.
    template <class T> void WritePtr(const std::shared_ptr<T>& p, ASceneSerializeContext& context)
    {
        if (m_Visitor != nullptr)
            return Visit(T::GetClassId(), p);
        auto* const collector = GetCollector<T>();
        if (Check(collector != nullptr, SceneReports::NothingWritten))
            collector->Write(p, context);
    }

    /// Loads one reference through the collector of `T`; a result that is empty leaves `p` as it was.
    template <class T> void ReadPtr(std::shared_ptr<T>& p, ASceneSerializeContext& context)
    {
        auto* const collector = GetCollector<T>();
        if (!Check(collector != nullptr, SceneReports::NothingRead))
            return;
        std::shared_ptr<T> loaded;
        collector->Read(loaded, context);
        if (loaded)
            p = std::move(loaded);
    }

    /// The visitor that receives the references; null for a file.
    [[nodiscard]] ASceneFieldVisitor* GetVisitor() const noexcept { return m_Visitor; }

    /// How many reports were made through this set since it was made; neither Begin nor End sets it back.
    [[nodiscard]] std::size_t GetReportCount() const noexcept { return m_ReportCount; }
    /// Reports to the assertion service, and counts, a condition that is false.
    /// \returns the condition.
    bool Check(bool condition, const ASceneReport& report) { return condition || Report(report); }
    /// Reports and counts a message followed directly by a class name. A name that has room for the message is not
    /// copied.
    void Fail(const ASceneReport& report, std::wstring className);
    /// Reports a class that the class factory has no creator for: an object of it, written now, cannot be loaded. Each
    /// such class name is reported once per run.
    void CheckCreatable(const AClassId& id)
    {
        // Within a run an address means one identity, so that most objects cost one comparison.
        const AClassId*& checked = m_Checked[reinterpret_cast<std::uintptr_t>(&id) / sizeof id % m_Checked.size()];
        if (checked != &id) {
            checked = &id;
            CheckCreatableName(id.GetName());
        }
    }

private:
    /// A collector whose type has been checked, so that each pointer need not be looked up by name.
    struct Known
    {
        const std::type_info* type;
        AScenePtrCollector* collector;
    };

    /// Passes a reference that has no name to the visitor.
    void Visit(const AClassId& collector, std::shared_ptr<AObject> object);
    const std::shared_ptr<AScenePtrCollector>* Find(const std::wstring& className);
    void Forget();
    bool Report(const ASceneReport& report);
    void CheckCreatableName(const std::wstring& className);

    ASceneFieldVisitor* m_Visitor;
    std::map<std::wstring, std::shared_ptr<AScenePtrCollector>> m_Collectors;
    std::vector<Known> m_Known;
    std::array<const AClassId*, 32> m_Checked{}; // identities that were checked lately, by their addresses
    std::set<std::wstring> m_NotCreatable;       // class names that were reported
    std::size_t m_ReportCount = 0;
};
} // namespace Kelvra
