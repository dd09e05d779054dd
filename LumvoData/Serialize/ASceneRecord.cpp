#include <LumvoData/Serialize/ASceneRecord.h>

namespace Kelvra {

#if defined(__BYTE_ORDER__)
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "scene files hold numbers as they lie in memory, little-endian");
#endif
static_assert(sizeof(AMath::Vector3) == 24, "a point is three doubles");
static_assert(sizeof(AMath::Matrix4) == 128, "a matrix is sixteen doubles");

void ASceneRecord::Flag(const char* name, bool& value)
{
    if (Visits(name, value))
        return;
    std::uint8_t byte = value ? 1 : 0;
    Block(byte);
    if (!m_Context.IsStoring()) // other threads may be storing the same object
        value = byte != 0;
}

void ASceneRecord::Text(const char* name, std::wstring& value)
{
    if (Visits(name, value))
        return;
    if (m_Context.IsStoring())
        m_Context.Write(value);
    else
        m_Context.Read(value);
}

void ASceneRecord::Box(const char* name, AMath::AxisAlignedBox& value)
{
    if (Visits(name, value))
        return;
    AMath::Vector3 minimum = value.getMinimum();
    AMath::Vector3 maximum = value.getMaximum();
    Block(minimum);
    Block(maximum);
    if (!m_Context.IsStoring())
        value.setExtents(minimum, maximum);
}

void ASceneRecord::Colour(const char* name, AMath::ColourValue& value)
{
    if (Visits(name, value))
        return;
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
