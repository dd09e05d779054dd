#pragma once

#include <Tools/SceneGraph.h>

#include <LumvoData/Style/ANodeStyle.h>

#include <cstdint>
#include <memory>

namespace Lumvo {

/// A pipe flange bolted to a base plate, with labels, centre lines and a name plate, and a spare bolt beside
/// it: every class that a scene file can carry, and most of them shared.
///
/// - Units: millimetres, z pointing up.
struct DemoScene
{
    Roots roots; ///< The assembly, then the spare bolt.
    /// What highlights the nodes at first: a plain style, which a file cannot give back.
    std::shared_ptr<Kelvra::ANodeStyle> highlight;

    DemoScene();
    /// Puts a face style of the same colour wherever the plain highlight style is.
    /// \returns the number of nodes that changed.
    std::uint64_t ReplaceHighlight();
};
} // namespace Lumvo
