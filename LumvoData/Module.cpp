#include <LumvoData/Contracts/KelvraData/AClassFactory.h>
#include <LumvoData/LumvoData.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Kelvra {
namespace {

/// Registers the library's classes and collectors while the library is being loaded.
///
/// The creators' code goes with the library, so what it registered with the class factory, which may outlive
/// it, is withdrawn when it is unloaded.
struct ARegistrations
{
    ARegistrations()
    {
        RegisterCollector<AEntity>();
        RegisterClass<AGroupEntity>();
        RegisterClass<AMeshListEntity>();
        RegisterClass<AEdgeListEntity>(); // under "AListEntity"
        RegisterClass<ATextListEntity>();
        RegisterClass<APolygonListEntity>();
        RegisterClass<AMeshEntity>();
        RegisterClass<AEdgeEntity>();
        RegisterClass<APolygonEntity>();
        RegisterClass<ASubEdge>();
        RegisterCollector<ASubEntity>();
        RegisterClass<ASubMesh>();
        RegisterClass<ASubPolygon>();
        RegisterClass<ASubText>();
        RegisterClass<ATopoEntity>();
        RegisterClass<AGroupSceneNode>();
        RegisterClass<AEntitySceneNode>();
        RegisterCollector<ASceneNode>();
        RegisterClass<AMaterial>();
        RegisterCollector<AMaterial>();
        RegisterCollector<ANodeStyle>();
        RegisterClass<ALineStyle>();
        RegisterClass<AFaceStyle>();
        RegisterClass<ATexture>();
        RegisterCollector<ATexture>();
    }

    ~ARegistrations()
    {
        for (const std::wstring& name : m_Classes)
            TSingleton<AClassFactory>::Instance().UnRegisterObject(name);
    }

    template <class X> void RegisterClass()
    {
        const std::wstring& name = X::GetClassId().GetName();
        auto creator = std::make_shared<TObjectCreator<X, TObjectCreatorBase<AObject>>>();
        if (TSingleton<AClassFactory>::Instance().RegisterObject(name, std::move(creator)))
            m_Classes.push_back(name);
    }

    template <class T> void RegisterCollector()
    {
        using Collector = TScenePtrCollector<std::shared_ptr<T>>;
        auto creator = std::make_shared<TObjectCreator<Collector, TObjectCreatorBase<AScenePtrCollector>>>();
        TSingleton<AScenePtrCollectorFactory>::Instance().RegisterObject(T::GetClassId().GetName(), std::move(creator));
    }

    std::vector<std::wstring> m_Classes; // registered here, and not by someone else before
};

const ARegistrations s_Registrations;
} // namespace
} // namespace Kelvra
