#include <Tools/SceneRecords.h>

#include <Tools/FileError.h>
#include <Tools/Output.h>
#include <Tools/OutputFile.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/LumvoData.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Lumvo {
namespace {

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

/// Writes a file and tells how far it is.
class StoreContext : public Kelvra::ASceneSerializeContext
{
public:
    StoreContext(const std::wstring& fileName, const std::function<void(std::uint64_t)>& progress)
        : ASceneSerializeContext(fileName, true), m_Progress(progress)
    {}

    using ASceneSerializeContext::Write;
    void Write(const void* data, int count) override
    {
        ASceneSerializeContext::Write(data, count);
        if (m_Progress && GetPosition() >= m_Told + s_Step) {
            m_Told = GetPosition();
            m_Progress(m_Told);
        }
    }

private:
    static constexpr std::uint64_t s_Step = 1 << 20;

    const std::function<void(std::uint64_t)>& m_Progress;
    std::uint64_t m_Told = 0;
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
    static constexpr std::uint64_t s_HeaderSize = 8;
    bool whole = true;
    const Kelvra::KvAssertScope listening([&](const Kelvra::KvReport&) { whole = false; });
    CountContext context;
    WriteRoots(roots, context);
    return whole ? std::optional(s_HeaderSize + context.GetCount()) : std::nullopt;
}

std::uint64_t WriteSceneFile(const Roots& roots, const std::filesystem::path& written,
                             const std::filesystem::path& file, const std::function<void(std::uint64_t)>& progress)
{
    std::string report; // the first
    const Kelvra::KvAssertScope listening([&](const Kelvra::KvReport& failed) {
        if (report.empty())
            report = Show(failed.message);
    });
    try {
        StoreContext context(Kelvra::KvText::FromPath(written), progress);
        if (!context.Begin())
            FailToWrite(file, context.GetError());
        WriteRoots(roots, context);
        const std::uint64_t size = context.GetPosition();
        context.End();
        if (!report.empty())
            throw FileError(ExitCannotWrite, file, std::nullopt, "cannot be written whole: " + report,
                            "A scene file nests " + std::to_string(Kelvra::ASceneSerializeContext::MaxNesting) +
                                " levels at most: let fewer groups stand inside each other.");
        return size;
    } catch (const std::system_error& error) {
        FailToWrite(file, error.code());
    } catch (const std::length_error& error) {
        throw FileError(ExitCannotWrite, file, std::nullopt, error.what(), "Divide the scene into smaller pieces.");
    }
}
} // namespace Lumvo
