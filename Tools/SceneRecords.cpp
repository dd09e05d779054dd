#include <Tools/SceneRecords.h>

#include <Tools/FileError.h>
#include <Tools/Output.h>

#include <LumvoData/LumvoData.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Lumvo {
namespace {

constexpr std::int32_t s_Header[] = {Kelvra::ASceneSerializeContext::FileIdentifier,
                                     Kelvra::ASceneSerializeContext::FormatVersion};

void WriteRoots(const Roots& roots, Kelvra::ASceneSerializeContext& context)
{
    for (const std::shared_ptr<Kelvra::ASceneNode>& root : roots)
        context.Collector().WritePtr(root, context);
}

class CountContext : public RecordContext
{
public:
    [[nodiscard]] std::uint64_t GetCount() const noexcept { return m_Count; }

private:
    void Put(const void* /*data*/, std::size_t count) override { m_Count += count; }

    std::uint64_t m_Count = 0;
};

/// Writes a file and reports progress.
class StoreContext : public RecordContext
{
public:
    StoreContext(OutputFile& output, const std::function<void(std::uint64_t)>& progress)
        : m_Output(output), m_Progress(progress)
    {}

private:
    static constexpr std::uint64_t s_Step = 1 << 20;

    void Put(const void* data, std::size_t count) override
    {
        m_Output.Write(data, count);
        if (m_Progress && m_Output.GetSize() >= m_Reported + s_Step) {
            m_Reported = m_Output.GetSize();
            m_Progress(m_Reported);
        }
    }

    OutputFile& m_Output;
    const std::function<void(std::uint64_t)>& m_Progress;
    std::uint64_t m_Reported = 0;
};
} // namespace

RecordContext::RecordContext() : ASceneSerializeContext({}, true)
{
    Collector().Begin();
}

void RecordContext::Write(const void* data, int count)
{
    if (count > 0)
        Put(data, static_cast<std::size_t>(count));
}

std::optional<std::uint64_t> SizeOfSceneFile(const Roots& roots)
{
    bool whole = true;
    const Kelvra::KvAssertScope listening([&](const Kelvra::KvReport&) { whole = false; });
    CountContext context;
    WriteRoots(roots, context);
    return whole ? std::optional(sizeof(s_Header) + context.GetCount()) : std::nullopt;
}

std::uint64_t WriteSceneFile(const Roots& roots, OutputFile& output, const std::function<void(std::uint64_t)>& progress)
{
    const std::filesystem::path& file = output.GetFile();
    std::string report; // the first
    const Kelvra::KvAssertScope listening([&](const Kelvra::KvReport& failed) {
        if (report.empty())
            report = Show(failed.message);
    });
    try {
        output.Write(s_Header, sizeof(s_Header));
        StoreContext context(output, progress);
        WriteRoots(roots, context);
        context.End();
        output.Flush();
        if (!report.empty())
            throw FileError(ExitCannotWrite, file, std::nullopt, "cannot be written whole: " + report,
                            "A scene file nests " + std::to_string(Kelvra::ASceneSerializeContext::MaxNesting) +
                                " levels at most: nest groups less deeply, and use classes that scene files can hold.");
        return output.GetSize();
    } catch (const std::system_error& error) {
        FailToWrite(file, error.code());
    } catch (const std::length_error& error) {
        throw FileError(ExitCannotWrite, file, std::nullopt, error.what(), "Divide the scene into smaller pieces.");
    }
}
} // namespace Lumvo
