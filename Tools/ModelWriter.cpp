#include <Tools/ModelWriter.h>

#include <Tools/FileError.h>
#include <Tools/Output.h>

#include <Formats/Support/FormatListener.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace Lumvo {
namespace {

using namespace Kelvra;
namespace fs = std::filesystem;

class Job : public Formats::Export
{
public:
    Job(const Roots& roots, OutputFiles& files) : Export(roots, files.GetMain().GetFile()), m_Files(files) {}

    fs::path ReserveCompanion(const fs::path& wanted, const Mention& mention) override
    {
        m_Companions.push_back(&m_Files.MakeCompanion(wanted, mention));
        return m_Companions.back()->GetFile();
    }
    Formats::OutputStream& Open(const fs::path& file) override
    {
        for (OutputFile* const companion : m_Companions)
            if (companion->GetFile() == file)
                return *companion;
        return m_Files.GetMain();
    }
    /// \returns the size of all files.
    std::uint64_t Finish()
    {
        std::uint64_t size = m_Files.GetMain().GetSize();
        m_Files.GetMain().Flush();
        for (OutputFile* const companion : m_Companions) {
            companion->Flush();
            size += companion->GetSize();
        }
        return size;
    }

private:
    OutputFiles& m_Files;
    std::vector<OutputFile*> m_Companions;
};

class Listener : public Formats::FormatListener
{
public:
    Listener(std::vector<Loss>& losses, Progress& progress) : m_Losses(losses), m_Progress(progress) {}

private:
    void OnError(const fs::path& /*file*/, const Formats::FormatError& /*error*/) override {} // writers throw theirs
    void OnLoss(const fs::path& /*file*/, const std::string& what, std::uint64_t count) override
    {
        m_Losses.push_back({Show(KvText::FromUtf8(what)), count});
    }
    void OnProgress(const fs::path& /*file*/, std::uint64_t done, std::uint64_t total) override
    {
        m_Progress.Update(done, total);
    }

    std::vector<Loss>& m_Losses;
    Progress& m_Progress;
};
} // namespace

WrittenModel WriteModel(const Formats::ExportService& service, const Roots& roots, OutputFiles& files,
                        Progress& progress)
{
    const fs::path& file = files.GetMain().GetFile();
    WrittenModel written;
    Listener listener(written.losses, progress);
    const Formats::FormatListenerScope listening(listener);
    try {
        Job job(roots, files);
        service.Write(job);
        written.bytes = job.Finish();
        return written;
    } catch (const Formats::FormatError& error) {
        throw FileError(ExitCannotWrite, file, error.GetPlace(), error.GetProblem(),
                        "Nothing was written; a scene file can hold all of the scene.");
    } catch (const std::system_error& error) {
        FailToWrite(file, error.code());
    }
}
} // namespace Lumvo
