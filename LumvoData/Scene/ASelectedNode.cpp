#include <LumvoData/Scene/ASelectedNode.h>

#include <LumvoData/Entity/ReleaseNested.h>
#include <LumvoData/Scene/ASceneNodeVisitor.h>

#include <algorithm>
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
    for (const ASelectedNode* record = this;;) {
        const auto& children = record->m_Children;
        const auto first =
            std::find_if(children.begin(), children.end(), [](const auto& child) { return child != nullptr; });
        if (first == children.end())
            return record->m_SceneNode;
        record = first->get();
    }
}

std::shared_ptr<ASelectedNode> ASelectedNode::FindNode(const std::shared_ptr<ASelectedNode>& root, int id)
{
    if (root->m_nId == id)
        return root;
    for (const std::shared_ptr<ASelectedNode>& child : root->m_Children)
        if (child && child->m_nId == id)
            return child;
    return nullptr;
}

void ASelectedNode::Visit(ASceneNodeVisitor* visitor)
{
    visitor->VisitSelectedNode(this);
}
} // namespace Kelvra
