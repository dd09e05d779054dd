#include <LumvoData/Entity/AMeshListEntity.h>

namespace Kelvra {

template class AListEntity<DrawMeshTrait>;

KELVRA_DEFINE_CLASS_ID(AMeshListEntity, L"AMeshListEntity")
} // namespace Kelvra
