#include <LumvoData/Scene/AEntitySceneNode.h>

#include <LumvoData/Scene/ASceneNodeVisitor.h>
#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

KELVRA_DEFINE_CLASS_ID(AEntitySceneNode, L"AEntitySceneNode")

void AEntitySceneNode::SetEntity(const std::shared_ptr<AEntity>& entity)
{
    m_Entity = entity;
    if (m_Entity)
        SetBBox(m_Entity->GetBBox());
}

void AEntitySceneNode::Serialize(ASceneSerializeContext& context)
{
    ASceneNode::Serialize(context);
    ASceneRecord record(context);
    record.Pointer("entity", m_Entity);
}

void AEntitySceneNode::Visit(ASceneNodeVisitor* visitor)
{
    visitor->VisitEntityNode(this);
}
} // namespace Kelvra
