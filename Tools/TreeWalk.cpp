#include <Tools/TreeWalk.h>

#include <cstddef>
#include <limits>
#include <utility>

namespace Lumvo {
namespace {

bool IsNode(const Kelvra::AObject& object)
{
    return dynamic_cast<const Kelvra::ASceneNode*>(&object) != nullptr;
}
} // namespace

bool IsPartOfTree(Role role) noexcept
{
    return role == Role::Root || role == Role::Child || role == Role::Entity || role == Role::Member;
}

TreeWalk::TreeWalk(const Roots& roots, std::uint64_t depth)
    : m_Objects(roots), m_Depth(depth == 0 ? std::numeric_limits<std::uint64_t>::max() : depth)
{
    std::vector<Held> held;
    held.reserve(roots.size());
    for (const auto& root : roots)
        held.push_back({Role::Root, root.get()});
    PutAhead(held, 0);
    for (const Kelvra::AObject* const object : m_Objects.objects)
        m_NodesLeft += IsNode(*object) ? 1U : 0U;
}

TreeRow TreeWalk::Next()
{
    TreeRow row = std::move(m_Ahead.back());
    m_Ahead.pop_back();
    row.repeated = !m_Shown.insert(row.object).second;
    if (row.repeated)
        return row;
    m_NodesLeft -= IsNode(*row.object) ? 1U : 0U;
    std::vector<Held> inside;
    for (const Held& held : HeldBy(*row.object)) {
        if (held.object == nullptr || held.role == Role::Item)
            continue;
        // Most nodes share their styles: a row for each again would bury the tree.
        const bool brief = !IsPartOfTree(held.role) && m_Shown.count(held.object) > 0;
        (brief ? row.shownBefore : inside).push_back(held);
    }
    if (row.depth + 1 < m_Depth)
        PutAhead(inside, row.depth + 1);
    else
        row.inside = inside.size();
    return row;
}

std::uint64_t TreeWalk::LabelOf(const Kelvra::AObject& object)
{
    return m_Objects.IsShared(object) ? m_Labels.try_emplace(&object, m_Labels.size() + 1).first->second : 0;
}

void TreeWalk::PutAhead(const std::vector<Held>& held, std::uint64_t depth)
{
    for (std::size_t i = held.size(); i-- > 0;) {
        TreeRow row;
        row.object = held[i].object;
        row.role = held[i].role;
        row.depth = depth;
        row.last = i + 1 == held.size();
        m_Ahead.push_back(std::move(row));
    }
}
} // namespace Lumvo
