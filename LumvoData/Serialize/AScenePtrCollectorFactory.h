#pragma once

#include <LumvoData/Contracts/KelvraData/TObjectCreator.h>
#include <LumvoData/Contracts/KelvraData/TObjectFactory.h>
#include <LumvoData/Contracts/KelvraData/TSingleton.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Serialize/AScenePtrCollector.h>

#include <string>

namespace Kelvra {

/// The collector factory of the process: makes one pointer collector of each kind for every run, by the class
/// name of the type that the pointers share.
class KELVRA_API AScenePtrCollectorFactory
    : public TObjectFactory<std::wstring, TObjectCreatorBase<AScenePtrCollector>>,
      public TSingleton<AScenePtrCollectorFactory>
{
public:
    AScenePtrCollectorFactory();
    ~AScenePtrCollectorFactory() override;
};

template <> KELVRA_API AScenePtrCollectorFactory& TSingleton<AScenePtrCollectorFactory>::Instance();
} // namespace Kelvra
