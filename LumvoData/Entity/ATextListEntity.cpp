#include <LumvoData/Entity/ATextListEntity.h>

namespace Kelvra {

template class AListEntity<DrawTextTrait>;

KELVRA_DEFINE_CLASS_ID(ATextListEntity, L"ATextListEntity")
} // namespace Kelvra
