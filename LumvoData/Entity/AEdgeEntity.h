#pragma once

#include <LumvoData/Entity/ASimpleEntity.h>

namespace Kelvra {

KELVRA_EXTERN_TEMPLATE(ASimpleEntity<DrawEdgeTrait>);

/// One edge.
class KELVRA_API AEdgeEntity : public ASimpleEntity<DrawEdgeTrait>
{
    KELVRA_DECLARE_CLASS_ID();
};
} // namespace Kelvra
