#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace Fuzz {

/// A path in a folder of this process, in the folder for temporary files, which ./fuzz keeps in memory.
[[nodiscard]] std::filesystem::path PathOf(const std::string& name);
/// Makes a file of these bytes, in place of the one that is there.
void PutFile(const std::filesystem::path& path, const std::uint8_t* data, std::size_t size);
[[nodiscard]] std::string GetFile(const std::filesystem::path& path);
/// Ends the process, for the fuzzer to keep its input, unless `condition` is true.
void Require(bool condition, const std::string& what);
} // namespace Fuzz
