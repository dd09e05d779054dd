#pragma once

#include <cstddef>

/// Counts the memory that `operator new` hands out in the whole program while one exists; otherwise it costs a branch.
class MemoryMeter
{
public:
    MemoryMeter();
    ~MemoryMeter();
    MemoryMeter(const MemoryMeter&) = delete;
    MemoryMeter& operator=(const MemoryMeter&) = delete;

    /// Bytes that are in use now, and that were at most, beyond those at the start.
    [[nodiscard]] std::ptrdiff_t Live() const;
    [[nodiscard]] std::ptrdiff_t Peak() const;
};
