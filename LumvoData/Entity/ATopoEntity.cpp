#include <LumvoData/Entity/ATopoEntity.h>

#include <LumvoData/Contracts/KelvraService/KvAssert.h>
#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {
namespace {

constexpr const char* s_Source = "..\\Entity\\ATopoEntity";
constexpr int s_NullFaces = 38;
constexpr int s_NullEdges = 50;

/// Hands every item of a list to the visitor if its filter asks for them, whatever it returns. The list is taken
/// by value, because the visitor may replace it.
template <class Trait> void VisitAll(std::shared_ptr<AListEntity<Trait>> list, AEntityVisitor& visitor)
{
    if (!list || (visitor.GetFilter() & Trait::Filter) == 0)
        return;
    for (auto item = list->GetItems().begin(); item != list->GetItems().end();) {
        const auto kept = *item++; // the visitor may remove it from the list
        Trait::Visit(visitor, kept);
    }
}
} // namespace

KELVRA_DEFINE_CLASS_ID(ATopoEntity, L"ATopoEntity")

void ATopoEntity::SetFaces(const std::shared_ptr<AMeshListEntity>& faces)
{
    if (!KvAssert::Assert(faces != nullptr, "Faces are NULL!", s_Source, s_NullFaces))
        return;
    m_Faces = faces;
    GrowBBox(*m_Faces);
}

void ATopoEntity::SetEdges(const std::shared_ptr<AEdgeListEntity>& edges)
{
    if (!KvAssert::Assert(edges != nullptr, "Edges are NULL!", s_Source, s_NullEdges))
        return;
    m_Edges = edges;
    GrowBBox(*m_Edges);
}

void ATopoEntity::Serialize(ASceneSerializeContext& context)
{
    AEntity::Serialize(context);
    ASceneRecord record(context);
    record.PointerAs<AEntity>("faces", m_Faces);
    record.PointerAs<AEntity>("edges", m_Edges);
}

bool ATopoEntity::Visit(AEntityVisitor& visitor)
{
    VisitAll<DrawMeshTrait>(m_Faces, visitor);
    VisitAll<DrawEdgeTrait>(m_Edges, visitor);
    return true;
}

void ATopoEntity::GrowBBox(const AEntity& entity) noexcept
{
    AMath::AxisAlignedBox box = GetBBox();
    box.merge(entity.GetBBox());
    SetBBox(box);
}
} // namespace Kelvra
