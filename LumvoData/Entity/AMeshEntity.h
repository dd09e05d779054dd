#pragma once

#include <LumvoData/Entity/ASimpleEntity.h>

namespace Kelvra {

KELVRA_EXTERN_TEMPLATE(ASimpleEntity<DrawMeshTrait>);

/// One mesh.
class KELVRA_API AMeshEntity : public ASimpleEntity<DrawMeshTrait>
{
    KELVRA_DECLARE_CLASS_ID();
};
} // namespace Kelvra
