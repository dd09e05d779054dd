#include <LumvoData/Serialize/ASceneLoadObserver.h>

namespace Kelvra {

ASceneLoadObserver::~ASceneLoadObserver() = default;
} // namespace Kelvra
