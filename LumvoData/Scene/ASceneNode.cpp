#include <LumvoData/Scene/ASceneNode.h>

#include <LumvoData/Contracts/KelvraService/KvAssert.h>
#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {
namespace {

constexpr const char* s_Source = "..\\Scene\\ASceneNode";
constexpr int s_WrongStyleCount = 58;
} // namespace

KELVRA_DEFINE_CLASS_ID(ASceneNode, L"ASceneNode")

template class TScenePtrCollector<std::shared_ptr<ASceneNode>>;

void ASceneNode::SetStyles(const std::vector<std::shared_ptr<ANodeStyle>>& styles)
{
    if (!KvAssert::Assert(styles.size() == StyleCount, "Size is incorrect!", s_Source, s_WrongStyleCount))
        return;
    m_Styles = styles;
}

void ASceneNode::Serialize(ASceneSerializeContext& context)
{
    ASceneRecord record(context);
    record.Number("id", m_nId);
    record.Flag("visible", m_bVisible);
    record.Matrix("transform", m_Transform);
    record.Box("box", m_BBox);
    record.Vector("styles", m_Styles);
}
} // namespace Kelvra
