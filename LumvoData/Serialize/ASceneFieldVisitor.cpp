#include <LumvoData/Serialize/ASceneFieldVisitor.h>

namespace Kelvra {

static_assert(std::variant_size_v<ASceneField::Value> == static_cast<std::size_t>(ASceneFieldKind::Reference),
              "a kind for each type of value, then those of references");

ASceneFieldVisitor::~ASceneFieldVisitor() = default;

void ASceneFieldVisitor::OnField(const ASceneField& /*field*/) {}

void ASceneFieldVisitor::OnReferences(const ASceneReferenceField& /*field*/, std::size_t /*count*/) {}

void ASceneFieldVisitor::OnReference(const ASceneReferenceField& /*field*/, std::shared_ptr<AObject>& /*object*/) {}

void ASceneFieldVisitor::OnBytes(const void* /*data*/, std::size_t /*count*/) {}
} // namespace Kelvra
