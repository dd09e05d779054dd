#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

#if defined(__BYTE_ORDER__)
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "scene files hold numbers as they lie in memory, little-endian");
#endif
static_assert(sizeof(AMath::Vector3) == 24, "a point is three doubles");
static_assert(sizeof(AMath::Matrix4) == 128, "a matrix is sixteen doubles");

void ASceneRecord::Flag(bool& value)
{
    std::uint8_t byte = value ? 1 : 0;
    Block(byte);
    if (!m_Context.IsStoring()) // other threads may be storing the same object
        value = byte != 0;
}

void ASceneRecord::Text(std::wstring& value)
{
    if (m_Context.IsStoring())
        m_Context.Write(value);
    else
        m_Context.Read(value);
}

void ASceneRecord::Box(AMath::AxisAlignedBox& value)
{
    AMath::Vector3 minimum = value.getMinimum();
    AMath::Vector3 maximum = value.getMaximum();
    Point(minimum);
    Point(maximum);
    if (!m_Context.IsStoring())
        value.setExtents(minimum, maximum);
}

void ASceneRecord::Colour(AMath::ColourValue& value)
{
    struct
    {
        AMath::ColourValue colour;
        float filler[4];
    } block{value, {}};
    static_assert(sizeof block == 32, "a colour block is twice the size of a colour");
    Block(block);
    if (!m_Context.IsStoring())
        value = block.colour;
}
} // namespace Kelvra
