#include <Benchmarks/MemoryMeter.h>

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

bool s_Counting = false;
std::ptrdiff_t s_Live = 0;
std::ptrdiff_t s_Peak = 0;

/// What a block takes of the heap: what can be used of it and the word in front.
std::ptrdiff_t SizeOf(void* block)
{
    return static_cast<std::ptrdiff_t>(malloc_usable_size(block) + sizeof(std::size_t));
}

void* Counted(void* block)
{
    if (block == nullptr)
        throw std::bad_alloc();
    if (s_Counting)
        s_Peak = std::max(s_Peak, s_Live += SizeOf(block));
    return block;
}

void Free(void* block)
{
    if (s_Counting && block != nullptr)
        s_Live -= SizeOf(block);
    std::free(block);
}
} // namespace

void* operator new(std::size_t size)
{
    return Counted(std::malloc(size));
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    const auto multiple = static_cast<std::size_t>(alignment);
    return Counted(std::aligned_alloc(multiple, (size + multiple - 1) / multiple * multiple));
}
void operator delete(void* block) noexcept
{
    Free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    Free(block);
}
void operator delete(void* block, std::align_val_t) noexcept
{
    Free(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    Free(block);
}

MemoryMeter::MemoryMeter()
{
    s_Live = s_Peak = 0;
    s_Counting = true;
}
MemoryMeter::~MemoryMeter()
{
    s_Counting = false;
}
std::ptrdiff_t MemoryMeter::Live() const
{
    return s_Live;
}
std::ptrdiff_t MemoryMeter::Peak() const
{
    return s_Peak;
}
