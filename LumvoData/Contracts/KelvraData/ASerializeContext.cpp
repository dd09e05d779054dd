#include <LumvoData/Contracts/KelvraData/ASerializeContext.h>

namespace Kelvra {

ASerializeContext::~ASerializeContext() = default;
} // namespace Kelvra
