#pragma once

#include <LumvoData/Contracts/KelvraData/TSingleton.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>
#include <LumvoData/Service/AMeshFileService.h>
#include <LumvoData/Service/TObjectPtrManager.h>

#include <memory>

namespace Kelvra {

/// The mesh file services of the process, by name.
class KELVRA_API AMeshFileServiceManager : public TObjectPtrManager<std::shared_ptr<AMeshFileService>>,
                                           public TSingleton<AMeshFileServiceManager>
{
public:
    AMeshFileServiceManager();
    virtual ~AMeshFileServiceManager();
};

template <> KELVRA_API AMeshFileServiceManager& TSingleton<AMeshFileServiceManager>::Instance();
} // namespace Kelvra
