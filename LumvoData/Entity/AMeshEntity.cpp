#include <LumvoData/Entity/AMeshEntity.h>

namespace Kelvra {

template class ASimpleEntity<DrawMeshTrait>;

KELVRA_DEFINE_CLASS_ID(AMeshEntity, L"AMeshEntity")
} // namespace Kelvra
