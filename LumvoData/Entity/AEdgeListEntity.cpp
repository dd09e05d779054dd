#include <LumvoData/Entity/AEdgeListEntity.h>

namespace Kelvra {

template class AListEntity<DrawEdgeTrait>;

KELVRA_DEFINE_CLASS_ID(AEdgeListEntity, L"AListEntity")
} // namespace Kelvra
