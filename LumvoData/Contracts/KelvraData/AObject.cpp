#include <LumvoData/Contracts/KelvraData/AObject.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(AObject, L"AObject")

AObject::~AObject() = default;

void AObject::Serialize(AIStreamXML& /*stream*/) {}

void AObject::Serialize(AOStreamXML& /*stream*/) {}
} // namespace Kelvra
