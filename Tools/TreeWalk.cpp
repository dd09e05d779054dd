#include <Tools/TreeWalk.h>

#include <LumvoData/Entity/AEntity.h>
#include <LumvoData/Entity/ASubEntity.h>

#include <cstddef>
#include <limits>
#include <utility>

namespace Lumvo {
namespace {

using namespace Kelvra;

bool IsNode(const AObject& object)
{
    return dynamic_cast<const ASceneNode*>(&object) != nullptr;
}
} // namespace

bool IsPartOfTree(const Reference& reference) noexcept
{
    const AClassId* const collector = reference.field.collector;
    return collector == reference.field.kept &&
           (collector == &ASceneNode::GetClassId() || collector == &AEntity::GetClassId());
}

TreeWalk::TreeWalk(const Roots& roots, std::uint64_t depth)
    : m_Objects(roots), m_Depth(depth == 0 ? std::numeric_limits<std::uint64_t>::max() : depth)
{
    std::vector<Reference> references;
    references.reserve(roots.size());
    for (const auto& root : roots)
        references.push_back(RootReference(root.get(), references.size()));
    PutAhead(references, 0);
    for (const AObject* const object : m_Objects.objects)
        m_NodesLeft += IsNode(*object) ? 1U : 0U;
}

TreeRow TreeWalk::Next()
{
    TreeRow row = std::move(m_Ahead.back());
    m_Ahead.pop_back();
    const AObject& object = *row.reference.object;
    row.repeated = !m_Shown.insert(&object).second;
    if (row.repeated)
        return row;
    m_NodesLeft -= IsNode(object) ? 1U : 0U;
    std::vector<Reference> inside;
    for (const Reference& reference : ReferencesOf(object)) {
        if (reference.object == nullptr || reference.field.collector == &ASubEntity::GetClassId())
            continue;
        // Most nodes share their styles: a row for each again would bury the tree.
        const bool brief = !IsPartOfTree(reference) && m_Shown.count(reference.object) > 0;
        (brief ? row.shownBefore : inside).push_back(reference);
    }
    if (row.depth + 1 < m_Depth)
        PutAhead(inside, row.depth + 1);
    else
        row.inside = inside.size();
    return row;
}

std::uint64_t TreeWalk::LabelOf(const AObject& object)
{
    return m_Objects.IsShared(object) ? m_Labels.try_emplace(&object, m_Labels.size() + 1).first->second : 0;
}

void TreeWalk::PutAhead(const std::vector<Reference>& references, std::uint64_t depth)
{
    for (std::size_t i = references.size(); i-- > 0;) {
        TreeRow row;
        row.reference = references[i];
        row.depth = depth;
        row.last = i + 1 == references.size();
        m_Ahead.push_back(std::move(row));
    }
}
} // namespace Lumvo
