#include <LumvoData/Scene/ASelectedNode.h>

#include <LumvoData/Entity/ReleaseNested.h>
#include <LumvoData/Scene/ASceneNodeVisitor.h>

#include <utility>

namespace Kelvra {

ASelectedNode::ASelectedNode(std::shared_ptr<ASceneNode> node) : m_SceneNode(std::move(node)) {}

ASelectedNode::~ASelectedNode()
{
    ReleaseNested(m_Children);
}

void ASelectedNode::AddChildNode(std::shared_ptr<ASelectedNode> child)
{
    m_Children.push_back(std::move(child));
}

const std::shared_ptr<ASceneNode>& ASelectedNode::GetLeafSceneNode() const noexcept
{
    const ASelectedNode* record = this;
    while (!record->m_Children.empty())
        record = record->m_Children.front().get();
    return record->m_SceneNode;
}

std::shared_ptr<ASelectedNode> ASelectedNode::FindNode(const std::shared_ptr<ASelectedNode>& root, int id)
{
    if (root->m_nId == id)
        return root;
    for (const std::shared_ptr<ASelectedNode>& child : root->m_Children)
        if (child->m_nId == id)
            return child;
    return nullptr;
}

void ASelectedNode::Visit(ASceneNodeVisitor* visitor)
{
    visitor->VisitSelectedNode(this);
}
} // namespace Kelvra
