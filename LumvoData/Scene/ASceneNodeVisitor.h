#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

namespace Kelvra {

class AEntitySceneNode;
class AGroupSceneNode;
class ASceneNode;
class ASelectedNode;
class ATopoSceneNode;

/// The caller's hook for telling the kinds of scene node apart: ASceneNode::Visit calls the operation of the
/// node's class. A visitor that wants the whole tree walks AGroupSceneNode::GetChildNodes itself.
///
/// The pointers are never null and belong to whoever holds the nodes.
class KELVRA_API ASceneNodeVisitor
{
public:
    ASceneNodeVisitor() = default;
    ASceneNodeVisitor(const ASceneNodeVisitor&) = default;
    ASceneNodeVisitor& operator=(const ASceneNodeVisitor&) = default;
    virtual ~ASceneNodeVisitor();

    virtual void VisitSelectedNode(ASelectedNode* node) = 0;
    virtual void VisitTopoNode(ATopoSceneNode* node) = 0;
    virtual void VisitGroupNode(AGroupSceneNode* node) = 0;
    virtual void VisitEntityNode(AEntitySceneNode* node) = 0;
    /// For kinds of node that callers add; no node of the library calls it.
    virtual void VisitOtherNode(ASceneNode* node) = 0;
};
} // namespace Kelvra
