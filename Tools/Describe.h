#pragma once

#include <Tools/Json.h>

#include <LumvoData/Contracts/KelvraData/AObject.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Lumvo {

/// What an object holds of its own, for readers and for programs.
struct Description
{
    std::string text; ///< On one line, fit for a terminal.
    Json fields = Json::object();
    std::vector<std::uint64_t> sharedItems; ///< The labels of an entity's shared items.
};

/// Gives the label of an object that is referred to more than once, 0 for others.
using LabelOf = std::function<std::uint64_t(const Kelvra::AObject&)>;

/// Describes an object, an entity with a summary of its items.
[[nodiscard]] Description Describe(const Kelvra::AObject& object, const LabelOf& labelOf);
} // namespace Lumvo
