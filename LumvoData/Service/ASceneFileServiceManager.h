#pragma once

#include <LumvoData/Contracts/KelvraData/TSingleton.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Service/ASceneFileService.h>
#include <LumvoData/Service/TObjectPtrManager.h>

#include <memory>

namespace Kelvra {

/// The scene file services of the process, by name.
class KELVRA_API ASceneFileServiceManager : public TObjectPtrManager<std::shared_ptr<ASceneFileService>>,
                                            public TSingleton<ASceneFileServiceManager>
{
public:
    ASceneFileServiceManager();
    virtual ~ASceneFileServiceManager();
};

template <> KELVRA_API ASceneFileServiceManager& TSingleton<ASceneFileServiceManager>::Instance();
} // namespace Kelvra
