#pragma once

#include <LumvoData/Contracts/KelvraMath/AxisAlignedBox.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>

/// \file
/// Subdivision of boxes. The box is taken as finite; the parts are finite.
namespace GrphUtil {

/// Halves a box across its longest axis, the lower part first; of equally long ones z counts as the longest.
/// \param box what is halved.
/// \param out room for 2 boxes.
KELVRA_API void SubBox2(const AMath::AxisAlignedBox& box, AMath::AxisAlignedBox* out);

/// Divides a box into its eight octants. With `-` for the lower and `+` for the upper half along x, y and z, they
/// come in the order --- +++ +-- -+- ++- +-+ -++ --+.
/// \param box what is divided.
/// \param out room for 8 boxes.
KELVRA_API void SubBox8(const AMath::AxisAlignedBox& box, AMath::AxisAlignedBox* out);
} // namespace GrphUtil
