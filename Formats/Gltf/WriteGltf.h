#pragma once

#include <Formats/Support/ExportService.h>

namespace Formats::Gltf {

/// Writes a scene as one .glb file.
void WriteGlb(Export& job);
/// Writes a scene as a .gltf file, and its numbers into a .bin file beside it.
void WriteGltf(Export& job);
} // namespace Formats::Gltf
