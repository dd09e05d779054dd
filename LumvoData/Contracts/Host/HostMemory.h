#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <cstddef>

namespace Kelvra {

/// Asks the system to provide the pages of a large block of memory, which is about to be filled, all at once: one by
/// one, as each is touched first, they can take as long as filling them. The block's content stays what it is. Where the
/// system has no such request nothing happens.
KELVRAHOST_API void PrefaultMemory(void* block, std::size_t size) noexcept;
} // namespace Kelvra
