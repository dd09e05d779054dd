#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/AScenePtrCollector.h>
#include <LumvoData/Serialize/ASceneReports.h>

#include <map>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Kelvra {

class ASceneSerializeContext;

/// The pointer collectors of one run, found by the class name of the type that the pointers share.
///
/// The member templates need the whole type `T` and TScenePtrCollector.h.
///
/// - Ownership: shares its collectors, and they every object of the run; a copy shares the same collectors.
/// - Errors: reported to the assertion service. Without a collector nothing is written or read.
class KELVRA_API ASceneSerializeCollector
{
public:
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
        if (SceneReports::Check(collector != nullptr, SceneReports::CollectorOfOtherType))
            m_Known.push_back({&typeid(Collector), collector});
        return collector;
    }

    /// Stores one reference through the collector of `T`.
    template <class T> void WritePtr(const std::shared_ptr<T>& p, ASceneSerializeContext& context)
    {
        auto* const collector = GetCollector<T>();
        if (SceneReports::Check(collector != nullptr, SceneReports::NothingWritten))
            collector->Write(p, context);
    }

    /// Loads one reference through the collector of `T`; a result that is empty leaves `p` as it was.
    template <class T> void ReadPtr(std::shared_ptr<T>& p, ASceneSerializeContext& context)
    {
        auto* const collector = GetCollector<T>();
        if (!SceneReports::Check(collector != nullptr, SceneReports::NothingRead))
            return;
        std::shared_ptr<T> loaded;
        collector->Read(loaded, context);
        if (loaded)
            p = std::move(loaded);
    }

private:
    /// A collector whose type has been checked, so that each pointer need not be looked up by name.
    struct Known
    {
        const std::type_info* type;
        AScenePtrCollector* collector;
    };

    const std::shared_ptr<AScenePtrCollector>* Find(const std::wstring& className) const;

    std::map<std::wstring, std::shared_ptr<AScenePtrCollector>> m_Collectors;
    std::vector<Known> m_Known;
};
} // namespace Kelvra
