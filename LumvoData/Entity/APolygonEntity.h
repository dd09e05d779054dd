#pragma once

#include <LumvoData/Entity/ASimpleEntity.h>

namespace Kelvra {

KELVRA_EXTERN_TEMPLATE(ASimpleEntity<DrawPolygonTrait>);

/// One flat polygon.
class KELVRA_API APolygonEntity : public ASimpleEntity<DrawPolygonTrait>
{
    KELVRA_DECLARE_CLASS_ID();
};
} // namespace Kelvra
