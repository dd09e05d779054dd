#include <Tools/ModelWriter.h>

#include <Tools/FileError.h>
#include <Tools/Output.h>

#include <Formats/Support/FormatListener.h>

#include <LumvoData/Contracts/Host/CFile.h>
#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

namespace Lumvo {
namespace {

using namespace Kelvra;
namespace fs = std::filesystem;

class Stream : public Formats::OutputStream
{
public:
    explicit Stream(const OutputFile& file)
    {
        if (!m_File.Open(KvText::FromPath(file.GetWrittenFile()), CFile::modeCreate | CFile::modeWrite))
            FailToWrite(file.GetFile(), m_File.GetError());
    }
    void Write(const void* data, std::size_t count) override { m_File.Write(data, count); }
    /// \returns the size of the file.
    std::uint64_t Close()
    {
        const std::uint64_t size = m_File.GetPosition();
        m_File.Close();
        return size;
    }

private:
    CFile m_File;
};

class Job : public Formats::Export
{
public:
    Job(const Roots& roots, OutputFiles& files) : Export(roots, files.GetMain().GetFile()), m_Files(files) {}

    Formats::OutputStream& Open(const fs::path& file) override
    {
        m_Streams.push_back(std::make_unique<Stream>(m_Files.Open(file)));
        return *m_Streams.back();
    }
    std::uint64_t Close()
    {
        std::uint64_t size = 0;
        for (const auto& stream : m_Streams)
            size += stream->Close();
        return size;
    }

private:
    OutputFiles& m_Files;
    std::vector<std::unique_ptr<Stream>> m_Streams;
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

bool HoldsExactly(const fs::path& file, std::string_view bytes)
{
    std::error_code error;
    if (fs::file_size(file, error) != bytes.size() || error)
        return false;
    std::ifstream stream(file, std::ios::binary);
    return stream && std::equal(bytes.begin(), bytes.end(), std::istreambuf_iterator<char>(stream),
                                std::istreambuf_iterator<char>());
}

/// A name that means a file in the folder where it stands, whatever the model called it.
std::wstring Harmless(std::wstring name)
{
    for (wchar_t& letter : name)
        if (letter < L' ' || letter == 0x7F ||
            std::wstring_view(L"/\\:*?\"<>|").find(letter) != std::wstring_view::npos)
            letter = L'_';
    static constexpr std::size_t s_MostBytes = 120;
    while (KvText::ToUtf8(name).size() > s_MostBytes)
        name.erase(0, 1); // the extension stands at the end
    return name;
}
} // namespace

OutputFile& OutputFiles::Open(const fs::path& file)
{
    if (file == GetMain().GetFile())
        return GetMain();
    std::error_code ignored;
    if (!GetMain().IsReplacing() && fs::exists(fs::symlink_status(file, ignored)))
        throw FileError(ExitCannotWrite, file, std::nullopt,
                        "is there already, without " + ShowPath(GetMain().GetFile()) + ", which it would go with",
                        "Move it away, or choose another name.");
    m_Beside.push_back(file);
    m_Files.push_back(std::make_unique<OutputFile>(file));
    return *m_Files.back();
}

bool OutputFiles::IsPlanned(const fs::path& file) const
{
    return std::any_of(m_Files.begin(), m_Files.end(), [&](const auto& other) { return other->GetFile() == file; });
}

std::wstring OutputFiles::KeepImage(const std::wstring& name, std::string_view bytes)
{
    const fs::path& beside = GetMain().GetFile();
    // A name takes at most 255 bytes on most systems: room is left for the image's own name and a number.
    static constexpr std::size_t s_MostOfStem = 100;
    std::wstring stem = KvText::FromPath(beside.stem());
    while (KvText::ToUtf8(stem).size() > s_MostOfStem)
        stem.pop_back();
    const fs::path wanted = KvText::ToPath(stem + L"-" + Harmless(name));
    for (int number = 1;; ++number) {
        fs::path file = beside.parent_path() / wanted.stem();
        if (number > 1)
            file += "-" + std::to_string(number);
        file += wanted.extension();
        if (IsPlanned(file))
            continue;
        std::error_code error;
        const bool there = fs::exists(fs::symlink_status(file, error));
        if (there && !HoldsExactly(file, bytes))
            continue; // not ours to replace
        if (there)
            m_Beside.push_back(file);
        else
            try {
                Stream stream(Open(file));
                stream.Write(bytes.data(), bytes.size());
                stream.Close();
            } catch (const std::system_error& failure) {
                FailToWrite(file, failure.code());
            }
        return KvText::FromPath(file.filename());
    }
}

void OutputFiles::Commit()
{
    for (auto file = m_Files.rbegin(); file != m_Files.rend(); ++file)
        (*file)->Commit();
}

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
        written.bytes = job.Close();
        return written;
    } catch (const Formats::FormatError& error) {
        throw FileError(ExitCannotWrite, file, error.GetPlace(), error.GetProblem(),
                        "Nothing was written; a scene file can hold all of the scene.");
    } catch (const std::system_error& error) {
        FailToWrite(file, error.code());
    }
}
} // namespace Lumvo
