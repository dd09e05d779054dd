#include <LumvoData/Scene/AGroupSceneNode.h>

#include <LumvoData/Contracts/KelvraService/KvAssert.h>
#include <LumvoData/Entity/ReleaseNested.h>
#include <LumvoData/Scene/ASceneNodeVisitor.h>
#include <LumvoData/Serialize/ASceneRecord.h>

#include <utility>

namespace Kelvra {
namespace {

constexpr const char* s_Source = "..\\Scene\\AGroupSceneNode";
constexpr int s_NullChild = 40;
} // namespace

KELVRA_DEFINE_CLASS_ID(AGroupSceneNode, L"AGroupSceneNode")

AGroupSceneNode::~AGroupSceneNode()
{
    ReleaseNested(m_Children);
}

void AGroupSceneNode::AddChildNode(std::shared_ptr<ASceneNode> child)
{
    if (!KvAssert::Assert(child != nullptr, "SceneNode is NULL!", s_Source, s_NullChild))
        return;
    AMath::AxisAlignedBox childBox = child->GetBBox();
    childBox.transform(child->GetTransform());
    m_Children.push_back(std::move(child));
    AMath::AxisAlignedBox box = GetBBox();
    box.merge(childBox);
    SetBBox(box);
}

void AGroupSceneNode::ClearChildren() noexcept
{
    m_Children.clear();
    AMath::AxisAlignedBox box = GetBBox();
    box.setNull();
    SetBBox(box);
}

void AGroupSceneNode::Serialize(ASceneSerializeContext& context)
{
    ASceneNode::Serialize(context);
    ASceneRecord record(context);
    record.List("children", m_Children);
}

void AGroupSceneNode::Visit(ASceneNodeVisitor* visitor)
{
    visitor->VisitGroupNode(this);
}
} // namespace Kelvra
