#pragma once

#include <LumvoData/LumvoData.h>

#include <memory>
#include <typeinfo>
#include <vector>

/// What the test module answers, to be compared with what the program sees itself.
struct ModuleView
{
    std::vector<const void*> singletons;
    std::vector<const std::type_info*> types;
    std::shared_ptr<Kelvra::AEntity> list;
};

/// The view of the library that includes this header.
inline ModuleView ViewFromHere()
{
    using namespace Kelvra;
    return {{&TSingleton<AClassFactory>::Instance(), &TSingleton<AScenePtrCollectorFactory>::Instance(),
             &TSingleton<ASystemMaterialTable>::Instance(), &AMeshListEntity::GetClassId(), &AEntity::GetClassId()},
            {&typeid(AEntity), &typeid(AListEntity<DrawMeshTrait>), &typeid(ASimpleEntity<DrawEdgeTrait>),
             &typeid(TScenePtrCollector<std::shared_ptr<AEntity>>), &typeid(TObjectCreatorBase<AObject>)},
            std::make_shared<AMeshListEntity>()};
}

/// The function that the module exports.
using GetViewFunction = void(ModuleView& view);
