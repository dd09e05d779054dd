#include <LumvoData/Scene/ATopoSceneNode.h>

#include <LumvoData/Scene/ASceneNodeVisitor.h>

namespace Kelvra {

void ATopoSceneNode::Visit(ASceneNodeVisitor* visitor)
{
    visitor->VisitTopoNode(this);
}
} // namespace Kelvra
