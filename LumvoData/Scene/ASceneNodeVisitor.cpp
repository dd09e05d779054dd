#include <LumvoData/Scene/ASceneNodeVisitor.h>

namespace Kelvra {

ASceneNodeVisitor::~ASceneNodeVisitor() = default;
} // namespace Kelvra
