#include <LumvoData/Serialize/AScenePtrCollector.h>

namespace Kelvra {

AScenePtrCollector::~AScenePtrCollector() = default;
} // namespace Kelvra
