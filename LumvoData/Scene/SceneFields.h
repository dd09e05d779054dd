#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

namespace Kelvra {

class AClassId;
class AObject;
class ASceneFieldVisitor;

/// Hands the fields of one object to a visitor, in the order of its record.
/// \returns false for an object that scene files do not hold: one that is neither a node, an entity, a sub-entity, a
///          style, a material nor a texture.
KELVRA_API bool VisitFields(AObject& object, ASceneFieldVisitor& visitor);

/// The base class whose collector stores an object, such as AEntity; null where scene files do not hold it.
[[nodiscard]] KELVRA_API const AClassId* FindCollectorClass(const AObject& object);
} // namespace Kelvra
