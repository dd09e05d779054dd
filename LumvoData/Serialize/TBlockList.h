#pragma once

#include <LumvoData/Contracts/Host/HostMemory.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace Kelvra {

/// A sequence that only grows, in blocks: what it holds is neither copied nor moved once there is more than a block of
/// it, and its memory is touched once.
template <class T> class TBlockList
{
public:
    [[nodiscard]] std::size_t size() const noexcept { return m_Size; }
    [[nodiscard]] T& operator[](std::size_t i) { return m_Blocks[i / s_BlockSize][i % s_BlockSize]; }
    [[nodiscard]] const T& operator[](std::size_t i) const { return m_Blocks[i / s_BlockSize][i % s_BlockSize]; }

    void push_back(T value)
    {
        if (m_Size == m_Blocks.size() * s_BlockSize)
            AddBlock();
        m_Blocks.back().push_back(std::move(value));
        ++m_Size;
    }

private:
    /// A power of two, which makes places cheap to find.
    static constexpr std::size_t BlockSize() noexcept
    {
        std::size_t size = 1;
        while (size * sizeof(T) < 128 * std::size_t{1024})
            size *= 2;
        return size;
    }
    static constexpr std::size_t s_BlockSize = BlockSize();

    void AddBlock()
    {
        std::vector<T> block;
        if (!m_Blocks.empty()) { // few need all of the first one
            block.reserve(s_BlockSize);
            PrefaultMemory(block.data(), s_BlockSize * sizeof(T));
        }
        m_Blocks.push_back(std::move(block));
    }

    std::vector<std::vector<T>> m_Blocks;
    std::size_t m_Size = 0;
};
} // namespace Kelvra
