#pragma once

#include <LumvoData/Entity/AListEntity.h>

namespace Kelvra {

KELVRA_EXTERN_TEMPLATE(AListEntity<DrawMeshTrait>);

/// The faces of a body, as meshes.
class KELVRA_API AMeshListEntity : public AListEntity<DrawMeshTrait>
{
    KELVRA_DECLARE_CLASS_ID();
};
} // namespace Kelvra
