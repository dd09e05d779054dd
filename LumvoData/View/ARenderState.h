#pragma once

#include <cstdint>

namespace Kelvra {

/// A small record of render settings. The library copies it and reads none of its fields; their meaning is up
/// to the renderer.
class ARenderState
{
public:
    std::int32_t m_nFirstSetting = 21;
    std::int32_t m_nSecondSetting = 15;
    std::int32_t m_nThirdSetting = 0;
    bool m_bFlag = true;
};
} // namespace Kelvra
