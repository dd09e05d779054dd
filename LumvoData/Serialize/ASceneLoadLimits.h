#pragma once

#include <cstdint>
#include <limits>

namespace Kelvra {

/// Bounds that a caller sets for one load, for files that it trusts less, or memory that it has less of, than the
/// library assumes. They tighten the library's own bounds, which hold in any case. How deep references may nest
/// is set on the context, for both directions: ASceneSerializeContext::SetNestingLimit.
///
/// - Units: bytes as they stand in the file, not as they come to lie in memory: a text may take twice as much
///   there, and every object adds what its class and its bookkeeping take.
struct ASceneLoadLimits
{
    static constexpr std::uint64_t Unlimited = std::numeric_limits<std::uint64_t>::max();

    /// Size of the file. Of a larger one nothing is read: Begin answers false, and GetError says that the file is
    /// too large.
    std::uint64_t fileBytes = Unlimited;
    /// Objects that the file may bring, in all collectors together, those that cannot be made included. The first
    /// one beyond raises `std::length_error`.
    std::uint64_t objects = Unlimited;
    /// Bytes of one text or one buffer. A count beyond raises `std::length_error` before anything is allocated.
    std::uint64_t blockBytes = Unlimited;
};
} // namespace Kelvra
