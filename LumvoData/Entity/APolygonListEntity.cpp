#include <LumvoData/Entity/APolygonListEntity.h>

namespace Kelvra {

template class AListEntity<DrawPolygonTrait>;

KELVRA_DEFINE_CLASS_ID(APolygonListEntity, L"APolygonListEntity")
} // namespace Kelvra
