#pragma once

#include <LumvoData/Entity/AListEntity.h>

namespace Kelvra {

KELVRA_EXTERN_TEMPLATE(AListEntity<DrawEdgeTrait>);

/// The edges of a body. Its class name is "AListEntity": files and factories carry that name.
class KELVRA_API AEdgeListEntity : public AListEntity<DrawEdgeTrait>
{
    KELVRA_DECLARE_CLASS_ID();
};
} // namespace Kelvra
