#pragma once

#include <LumvoData/Contracts/KelvraData/AObject.h>
#include <LumvoData/Contracts/KelvraData/TObjectCreator.h>
#include <LumvoData/Contracts/KelvraData/TObjectFactory.h>
#include <LumvoData/Contracts/KelvraData/TSingleton.h>

#include <string>

namespace Kelvra {

/// The class factory of the process: makes storable objects by class name.
class KELVRADATA_API AClassFactory : public TObjectFactory<std::wstring, TObjectCreatorBase<AObject>>,
                                     public TSingleton<AClassFactory>
{
public:
    AClassFactory();
    ~AClassFactory() override;
};

template <> KELVRADATA_API AClassFactory& TSingleton<AClassFactory>::Instance();
} // namespace Kelvra
