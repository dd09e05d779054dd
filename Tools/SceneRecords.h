#pragma once

#include <Tools/OutputFile.h>
#include <Tools/SceneGraph.h>

#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <cstdint>
#include <functional>
#include <optional>

/// \file
/// Storing scenes: into a file, or only to learn what would be stored.
namespace Lumvo {

/// A storing context without a file: what is stored goes to `Put`.
class RecordContext : public Kelvra::ASceneSerializeContext
{
public:
    RecordContext();

    using ASceneSerializeContext::Write;
    void Write(const void* data, int count) override;

private:
    virtual void Put(const void* data, std::size_t count) = 0;
};

/// The size of the scene file that holds these roots; none where no file can hold them.
[[nodiscard]] std::optional<std::uint64_t> SizeOfSceneFile(const Roots& roots);

/// Writes a scene file, its roots as references, back to back.
/// \param output is flushed, and neither closed nor committed.
/// \param progress is called now and then with the bytes written so far.
/// \returns the size of the file.
/// Throws FileError with ExitCannotWrite, also where the scene is nested deeper than a scene file can be.
std::uint64_t WriteSceneFile(const Roots& roots, OutputFile& output,
                             const std::function<void(std::uint64_t)>& progress = {});
} // namespace Lumvo
