#include <LumvoData/Entity/AEdgeEntity.h>

namespace Kelvra {

template class ASimpleEntity<DrawEdgeTrait>;

KELVRA_DEFINE_CLASS_ID(AEdgeEntity, L"AEdgeEntity")
} // namespace Kelvra
