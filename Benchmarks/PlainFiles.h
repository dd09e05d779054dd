#pragma once

#include <Benchmarks/PlainScene.h>

#include <filesystem>
#include <memory>

/// \file
/// The contestants that store the plain model: the limit, and those of the peers that were found when the build was
/// configured.

namespace Limit {
/// Numbers the shared objects of a scene, so that saving need not look them up.
void Prepare(const std::shared_ptr<Plain::Node>& root);
void Save(const std::shared_ptr<Plain::Node>& root, const std::filesystem::path& path);
std::shared_ptr<Plain::Node> Load(const std::filesystem::path& path);
} // namespace Limit

namespace Cereal {
void Save(const std::shared_ptr<Plain::Node>& root, const std::filesystem::path& path);
std::shared_ptr<Plain::Node> Load(const std::filesystem::path& path);
} // namespace Cereal

namespace Boost {
void Save(const std::shared_ptr<Plain::Node>& root, const std::filesystem::path& path);
std::shared_ptr<Plain::Node> Load(const std::filesystem::path& path);
} // namespace Boost
