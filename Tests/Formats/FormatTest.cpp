#include <Tests/Formats/FormatTest.h>

#include <dlfcn.h>

#include <fstream>
#include <iterator>

using namespace Kelvra;

namespace {

/// An export whose files are written straight into their places.
class TestExport : public Formats::Export
{
public:
    using Export::Export;

    Formats::OutputStream& Open(const std::filesystem::path& file) override
    {
        m_Files.push_back(std::make_unique<File>(file));
        return *m_Files.back();
    }

private:
    struct File : Formats::OutputStream
    {
        explicit File(const std::filesystem::path& file) : stream(file, std::ios::binary) {}
        void Write(const void* data, std::size_t count) override
        {
            stream.write(static_cast<const char*>(data), static_cast<std::streamsize>(count));
        }
        std::ofstream stream;
    };

    std::vector<std::unique_ptr<File>> m_Files;
};
} // namespace

FormatTest::FormatTest(const char* module) : m_Scope(*this)
{
    static void* const loaded = dlopen(module, RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr)
        throw std::runtime_error(dlerror());
}

void FormatTest::PutText(const std::string& name, std::string_view text) const
{
    std::ofstream(PathOf(name), std::ios::binary) << text;
}

std::string FormatTest::GetText(const std::string& name) const
{
    std::ifstream file(PathOf(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::shared_ptr<ASceneNode> FormatTest::LoadScene(const std::wstring& service, const std::string& name)
{
    const auto found = TSingleton<ASceneFileServiceManager>::Instance().GetObject(service);
    found->ForgetFile(FileName(name));
    m_Done = 0;
    return found->LoadFile(FileName(name));
}

std::shared_ptr<AEntity> FormatTest::LoadMesh(const std::wstring& service, const std::string& name)
{
    const auto found = TSingleton<AMeshFileServiceManager>::Instance().GetObject(service);
    found->ForgetFile(FileName(name));
    m_Done = 0;
    return found->LoadFile(FileName(name));
}

void FormatTest::Export(const std::wstring& service, const Formats::Roots& roots, const std::string& name)
{
    m_Done = 0;
    TestExport job(roots, PathOf(name));
    Formats::ExportServiceManager::Instance().GetObject(service)->Write(job);
}

void FormatTest::OnError(const std::filesystem::path& /*file*/, const Formats::FormatError& error)
{
    m_Errors.emplace_back(error.what());
}

void FormatTest::OnLoss(const std::filesystem::path& /*file*/, const std::string& what, std::uint64_t count)
{
    m_Losses.push_back(std::to_string(count) + " x " + what);
}

void FormatTest::OnProgress(const std::filesystem::path& /*file*/, std::uint64_t done, std::uint64_t total)
{
    EXPECT_GE(done, m_Done) << "progress went back";
    EXPECT_LE(done, total);
    m_Done = done;
}

std::wstring FormatTest::OnImage(const std::filesystem::path& /*file*/, const std::wstring& name,
                                 std::string_view bytes)
{
    if (m_ImagePrefix.empty())
        return {};
    m_Images[m_ImagePrefix + name] = bytes;
    return m_ImagePrefix + name;
}
