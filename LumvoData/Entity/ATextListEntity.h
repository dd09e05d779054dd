#pragma once

#include <LumvoData/Entity/AListEntity.h>

namespace Kelvra {

KELVRA_EXTERN_TEMPLATE(AListEntity<DrawTextTrait>);

/// Any number of text labels.
class KELVRA_API ATextListEntity : public AListEntity<DrawTextTrait>
{
    KELVRA_DECLARE_CLASS_ID();
};
} // namespace Kelvra
