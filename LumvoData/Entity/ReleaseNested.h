#pragma once

#include <list>
#include <memory>
#include <utility>

namespace Kelvra {

/// Releases the members of a list whose members hold lists of their own, for the destructors of groups.
///
/// Destroyed one within the other, groups would take a level of the stack for each level of nesting. Instead the
/// destructor that comes first releases all that is below it: those that run meanwhile hand their members to it, and
/// they go, one after the other, when the group that held them has gone.
template <class T> void ReleaseNested(std::list<std::shared_ptr<T>>& members) noexcept
{
    thread_local std::list<std::shared_ptr<T>>* s_Outermost = nullptr;
    if (s_Outermost != nullptr)
        return s_Outermost->splice(s_Outermost->end(), members);
    s_Outermost = &members;
    while (!members.empty()) {
        const std::shared_ptr<T> member = std::move(members.front());
        members.pop_front();
    }
    s_Outermost = nullptr;
}
} // namespace Kelvra
