#include <LumvoData/Entity/APolygonEntity.h>

namespace Kelvra {

template class ASimpleEntity<DrawPolygonTrait>;

KELVRA_DEFINE_CLASS_ID(APolygonEntity, L"APolygonEntity")
} // namespace Kelvra
