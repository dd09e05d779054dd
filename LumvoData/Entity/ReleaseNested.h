#pragma once

#include <list>
#include <memory>
#include <utility>

namespace Kelvra {

/// Releases the members of a list whose members hold further members, for the destructors of groups.
///
/// A member that nothing else shares hands its own members up before it goes. Destroyed one within the other, they
/// would take a level of the stack for each level of nesting. `nested` gives a member's own list, or null where the
/// member holds none.
template <class T, class Nested> void ReleaseNested(std::list<std::shared_ptr<T>>& members, Nested nested)
{
    while (!members.empty()) {
        const std::shared_ptr<T> member = std::move(members.front());
        members.pop_front();
        std::list<std::shared_ptr<T>>* const further = member.use_count() == 1 ? nested(*member) : nullptr;
        if (further != nullptr)
            members.splice(members.end(), *further);
    }
}
} // namespace Kelvra
