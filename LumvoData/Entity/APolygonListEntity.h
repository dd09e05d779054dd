#pragma once

#include <LumvoData/Entity/AListEntity.h>

namespace Kelvra {

KELVRA_EXTERN_TEMPLATE(AListEntity<DrawPolygonTrait>);

/// Any number of flat polygons.
class KELVRA_API APolygonListEntity : public AListEntity<DrawPolygonTrait>
{
    KELVRA_DECLARE_CLASS_ID();
};
} // namespace Kelvra
