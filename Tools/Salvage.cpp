#include <Tools/Salvage.h>

#include <Tools/FileError.h>
#include <Tools/LoadedScene.h>
#include <Tools/OutputFile.h>
#include <Tools/SceneGraph.h>
#include <Tools/SceneRecords.h>

#include <LumvoData/Scene/ASceneNode.h>
#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <algorithm>
#include <fstream>
#include <system_error>
#include <utility>
#include <vector>

namespace Lumvo {
namespace {

using namespace Kelvra;
namespace fs = std::filesystem;

/// How the part of a file that is in step becomes a whole file: it is copied up to `end`, the counts of lists that
/// were cut short are replaced, and zeros follow: the references, lists and vectors that are missing, which are empty.
struct Repair
{
    struct Patch
    {
        std::uint64_t offset;
        std::int32_t count;
    };

    std::uint64_t end = 0;
    std::uint64_t zeros = 0;    // integers
    std::vector<Patch> patches; // in the order of their offsets

    explicit Repair(const WalkEnd& walk)
    {
        if (walk.inStep) {
            end = walk.offset;
            return;
        }
        // Innermost first: a record can be closed when the walk ended among its references, which stand last.
        bool inner = false; // the one inside is kept
        for (auto open = walk.open.rbegin(); open != walk.open.rend(); ++open) {
            if (!open->inReferences && !EndsInCount(*open))
                continue; // its fields are not complete: nothing of it is kept
            if (!inner)
                end = open->inReferences ? open->completeEnd : open->countOffset;
            Close(*open, inner);
            inner = true;
        }
        std::reverse(patches.begin(), patches.end());
    }

private:
    static FieldKind KindOf(const OpenRecord& open) { return open.record->fields[open.field].kind; }
    /// True where a record's list is cut before its first reference, and with it all that follows in the record, which
    /// is references too.
    static bool EndsInCount(const OpenRecord& open)
    {
        return open.record != nullptr && (KindOf(open) == FieldKind::List || KindOf(open) == FieldKind::Vector);
    }
    void Close(const OpenRecord& open, bool inner)
    {
        if (open.record == nullptr)
            return;
        const std::uint64_t kept = open.complete + (inner ? 1 : 0);
        if (!open.inReferences)
            zeros += KindOf(open) == FieldKind::Vector ? 2U : 1U; // its count, and of a vector that of its tag
        else if (KindOf(open) == FieldKind::List ||
                 (KindOf(open) == FieldKind::Vector && open.wanted != ASceneNode::StyleCount))
            patches.push_back({open.countOffset, static_cast<std::int32_t>(kept)});
        else
            zeros += open.wanted - kept;
        zeros += open.record->fields.size() - open.field - 1; // pointers, and lists whose count it is
    }
};

void CopyRepaired(const fs::path& damaged, const Repair& repair, OutputFile& to)
{
    static constexpr std::uint64_t s_HeaderSize = 8;
    static constexpr std::uint64_t s_BlockSize = 1 << 20;
    std::ifstream from(damaged, std::ios::binary);
    from.seekg(s_HeaderSize);
    const std::int32_t header[] = {ASceneSerializeContext::FileIdentifier, ASceneSerializeContext::FormatVersion};
    to.Write(header, sizeof header);
    std::vector<char> block;
    const auto copyTo = [&](std::uint64_t end) {
        while (to.GetSize() < end) {
            block.resize(static_cast<std::size_t>(std::min(s_BlockSize, end - to.GetSize())));
            from.read(block.data(), static_cast<std::streamsize>(block.size()));
            if (!from)
                throw FileError(ExitCannotRead, damaged, to.GetSize(), "cannot be read",
                                "Copy the file to another disk and try again.");
            to.Write(block.data(), block.size());
        }
    };
    for (const Repair::Patch& patch : repair.patches) {
        copyTo(patch.offset);
        to.Write(&patch.count, sizeof patch.count);
        from.seekg(sizeof patch.count, std::ios::cur);
    }
    copyTo(repair.end);
    const std::int32_t zero = 0;
    for (std::uint64_t i = 0; i < repair.zeros; ++i)
        to.Write(&zero, sizeof zero);
    to.Flush();
}
} // namespace

Salvaged Salvage(const fs::path& damaged, const fs::path& out)
{
    Findings damages;
    const WalkEnd walk = SceneWalk(damaged, damages).Run(true);
    const Repair repair(walk);
    if (damages.Count(Severity::Error) > 0 && walk.objects == 0 && repair.patches.empty() && repair.zeros == 0)
        throw FileError(ExitCannotRead, damaged, std::nullopt, "nothing of it can be saved",
                        "No record in it is complete.");
    try {
        OutputFile inStep(out); // never committed
        OutputFile output(out);
        if (output.IsStraight())
            throw FileError(ExitCannotWrite, out, std::nullopt, "cannot be checked: it is a device or a pipe",
                            "Name a regular file.");
        CopyRepaired(damaged, repair, inStep);
        const LoadedScene scene = LoadScene(inStep.GetWrittenFile());

        Salvaged salvaged;
        salvaged.bytes = WriteSceneFile(scene.roots, output);
        Findings findings;
        SceneWalk(output.GetWrittenFile(), findings).Run();
        if (findings.Count(Severity::Error) > 0)
            throw FileError(ExitCannotWrite, out, std::nullopt, "was not written: what was saved is not valid",
                            "This is a fault of lumvo: report it, with the damaged file.");
        salvaged.roots = scene.roots.size();
        salvaged.objects = SceneObjects(scene.roots).objects.size();
        salvaged.dropped = scene.messages.GetCount();
        for (const Loss& loss : scene.losses) // a scene file can lose nothing else
            salvaged.styles += loss.count;
        salvaged.lostOffset = repair.end;
        salvaged.lostBytes = fs::file_size(damaged) - repair.end; // before `out` takes its place, if it is to
        output.Commit();
        return salvaged;
    } catch (const std::system_error& error) {
        FailToWrite(out, error.code());
    }
}
} // namespace Lumvo
