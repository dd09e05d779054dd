#include <Tests/Faults/Faults.h>
#include <Tests/Fuzz/NullExport.h>
#include <Tests/Fuzz/SceneParts.h>
#include <Tests/Support/SceneFileTest.h>
#include <Tests/Support/TestRow.h>
#include <Tools/FileError.h>
#include <Tools/Salvage.h>

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace Kelvra;
using namespace Lumvo;

namespace {

/// A scene file that is damaged.
struct WholeFile
{
    std::string name;
    std::string bytes;
};

/// The files of a folder that refer to no others.
std::vector<WholeFile> WholeFiles(const std::string& folder)
{
    std::vector<WholeFile> files;
    const std::filesystem::directory_iterator entries(std::filesystem::path(WHOLE_FILES) / folder);
    for (const auto& entry : std::set<std::filesystem::directory_entry>(begin(entries), end(entries))) {
        std::ifstream file(entry.path(), std::ios::binary);
        std::string bytes(std::istreambuf_iterator<char>(file), {});
        if (bytes.find("beside") == std::string::npos)
            files.push_back({entry.path().filename().string(), std::move(bytes)});
    }
    return files;
}

/// A folder in memory, where there is one: disks are slow to take thousands of files.
std::filesystem::path FastFolder()
{
    const std::filesystem::path memory = "/dev/shm";
    return access(memory.c_str(), W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
}

void LoadByLibrary(const std::filesystem::path& file)
{
    const KvAssertScope quiet([](const KvReport&) {});
    ASceneSerializeContext context(KvText::FromPath(file), false);
    if (!context.Begin())
        return;
    try {
        while (context.GetBytesLeft() > 0) {
            std::shared_ptr<ASceneNode> root;
            context.Collector().ReadPtr(root, context);
        }
    } catch (const std::length_error&) { // a count far beyond the end of the file
    }
    context.End();
}

void WalkThrough(const std::filesystem::path& file)
{
    Findings findings;
    static_cast<void>(SceneWalk(file, findings).Run());
}

void SaveWhatIsThere(const std::filesystem::path& file)
{
    try {
        static_cast<void>(Salvage(file, file.parent_path() / "saved.scene"));
    } catch (const FileError& error) {
        EXPECT_EQ(error.GetExitCode(), ExitCannotRead) << error.what();
    }
}

void LoadByService(const std::wstring& format, const std::filesystem::path& file)
{
    const KvAssertScope quiet([](const KvReport&) {});
    const auto service = TSingleton<ASceneFileServiceManager>::Instance().GetObject(format);
    ASSERT_NE(service, nullptr);
    const auto scene = service->LoadFile(KvText::FromPath(file));
    service->ForgetFile(KvText::FromPath(file));
    if (scene != nullptr)
        Fuzz::WriteNowhere(format, {scene}, file);
}

struct Reader : TestRow
{
    std::string folder; ///< Where the files are that it reads.
    std::function<void(const std::filesystem::path& file)> read;
};

/// Whatever is done to a file, those who read it end, soon, and without much memory.
class DamagedFiles : public SceneFileTest, public testing::WithParamInterface<Reader>
{
protected:
    static constexpr std::size_t s_MiB = std::size_t{1} << 20;
#if defined(__SANITIZE_ADDRESS__)
    static constexpr double s_Moment = 0.5; // seconds
#else
    static constexpr double s_Moment = 0.05;
#endif

    DamagedFiles() : SceneFileTest(FastFolder()) {}
    ~DamagedFiles() override
    {
        RecordProperty("MostMemory", std::to_string(m_MostMemory));
        RecordProperty("LongestTime", std::to_string(m_LongestTime));
    }

    void ExpectIsRead(std::size_t memory, double seconds)
    {
        const MemoryPeak peak;
        const std::clock_t start = std::clock();
        ASSERT_NO_THROW(GetParam().read(m_File));
        const double time = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        EXPECT_LT(peak.Get(), memory + 8 * std::filesystem::file_size(m_File));
        EXPECT_LT(time, seconds);
        m_MostMemory = std::max(m_MostMemory, peak.Get());
        m_LongestTime = std::max(m_LongestTime, time);
    }

    /// Puts bytes into the file, which must not become longer.
    void Put(std::size_t offset, const std::string& bytes) const
    {
        std::fstream file(m_File, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(offset));
        ASSERT_TRUE(file << bytes << std::flush);
    }

    const std::filesystem::path m_File = PathOf("test.scene");

private:
    std::size_t m_MostMemory = 0;
    double m_LongestTime = 0; // seconds
};

class DamagedScenes : public DamagedFiles
{
};

TEST(WholeFiles, HoldObjectsOfAllClasses)
{
    std::string all;
    for (const WholeFile& file : WholeFiles("Scene"))
        all += file.bytes;
    for (const RecordDescription& record : AllRecords()) {
        const std::u16string name(record.className.begin(), record.className.end());
        EXPECT_NE(all.find(Bytes().Text(name).Data()), std::string::npos) << record.className;
    }
}

TEST_P(DamagedFiles, MayEndAnywhere)
{
    for (const auto& [name, file] : WholeFiles(GetParam().folder)) {
        WriteFile(Bytes(file));
        for (std::size_t size = file.size() + 1; size-- > 0;) {
            SCOPED_TRACE(name + " of " + std::to_string(size) + " bytes");
            std::filesystem::resize_file(m_File, size);
            ExpectIsRead(64 * s_MiB, 2);
        }
    }
}

TEST_P(DamagedFiles, MayHaveAnyByteChanged)
{
    for (const auto& [name, file] : WholeFiles(GetParam().folder)) {
        WriteFile(Bytes(file));
        for (std::size_t i = 0; i < file.size(); ++i) {
            for (const char value : {'\x00', '\x7F', '\x80', '\xFF'}) {
                SCOPED_TRACE(name + " with the byte " + std::to_string(i) + " set to " +
                             std::to_string(static_cast<unsigned char>(value)));
                Put(i, {value});
                ExpectIsRead(64 * s_MiB, 2);
            }
            Put(i, {file[i]});
        }
    }
}

// Of whatever a file declares it declares as many as it can, and ends: no memory is taken for them, and they are not
// tried one by one.
TEST_P(DamagedScenes, MayDeclareTooManyOfAnything)
{
    const Bytes most = Bytes().Int(std::numeric_limits<std::int32_t>::max());
    std::size_t counts = 0;
    for (const auto& [name, file] : WholeFiles(GetParam().folder))
        for (const Fuzz::Part& part : Fuzz::SceneParts(file).parts) {
            if (part.kind != Fuzz::PartKind::Count && part.kind != Fuzz::PartKind::ClassName)
                continue;
            SCOPED_TRACE(name + " at byte " + std::to_string(part.offset));
            WriteFile(Bytes(file).First(part.offset).Add(most));
            ExpectIsRead(s_MiB, s_Moment);
            ++counts;
        }
    EXPECT_GT(counts, 2 * AllRecords().size());
}

class Models : public DamagedFiles
{
};

TEST_P(Models, EveryAllocationMayFail)
{
    for (const auto& [name, file] : WholeFiles(GetParam().folder))
        for (const Fault::Kind kind : {Fault::Memory, Fault::NoMemory}) {
            WriteFile(Bytes(file));
            bool failed = true;
            for (std::size_t number = 1; failed; ++number) {
                Fault fault(kind, number);
                try {
                    GetParam().read(m_File);
                } catch (const std::bad_alloc&) {
                }
                failed = fault.Stop();
            }
        }
}

TEST_P(Models, MayNameManyThings)
{
    const bool ply = GetParam().folder == "Ply";
    std::string text = ply ? "ply\nformat ascii 1.0\n" : "";
    for (int i = 0; i < (ply ? 50'000 : 15'000); ++i)
        text += (ply ? "element e" : std::string("mtllib a.mtl\0", 13)) + std::to_string(i) + (ply ? " 0\n" : "\n");
    WriteFile(Bytes(text + "end_header\n"));
    WriteFile(Bytes(std::string(1'500'000, '#')), "a.mtl");
    ExpectIsRead(64 * s_MiB, 1);
}

// However often a scene shows one thing, each use takes a few dozen bytes while it is written.
TEST(ModelWriters, TakeLittleMemoryForWhatIsShared)
{
    constexpr std::size_t s_Uses = 140'000;
    const KvAssertScope quiet([](const KvReport&) {});
    const auto node = std::make_shared<AEntitySceneNode>();
    node->SetTransform(AMath::Matrix4(0.1, 0, 0, 0, 0, 0.2, 0, 0, 0, 0, 0.3, 0, 1 / 3.0, 1 / 7.0, 1 / 9.0, 1));
    const auto group = std::make_shared<AGroupSceneNode>();
    for (std::size_t i = 0; i < s_Uses; ++i)
        group->AddChildNode(node);
    for (const auto& [name, writer] : Formats::ExportServiceManager::Instance()) {
        const MemoryPeak peak;
        Fuzz::WriteNowhere(name, {group}, "a");
        EXPECT_LT(peak.Get(), 60 * s_Uses) << KvText::ToUtf8(name);
    }
}

const Reader s_SceneReaders[] = {
    {{"Library"}, "Scene", LoadByLibrary}, {{"Walk"}, "Scene", WalkThrough}, {{"Salvage"}, "Scene", SaveWhatIsThere}};
/// Loads the modules: a reader for each.
std::vector<Reader> ModelReaders()
{
    struct Module
    {
        const char* family;
        const char* file;
    };
    std::vector<Reader> readers;
    for (const Module& module : std::vector<Module>{MODULES}) {
        dlopen(module.file, RTLD_NOW);
        std::wstring format = KvText::FromUtf8(module.family);
        format.front() = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(format.front())));
        readers.push_back(
            {{module.family}, module.family, [format](const auto& file) { LoadByService(format, file); }});
    }
    return readers;
}
INSTANTIATE_TEST_SUITE_P(Scenes, DamagedScenes, testing::ValuesIn(s_SceneReaders), RowName<Reader>);
INSTANTIATE_TEST_SUITE_P(Scenes, DamagedFiles, testing::ValuesIn(s_SceneReaders), RowName<Reader>);
INSTANTIATE_TEST_SUITE_P(Models, Models, testing::ValuesIn(ModelReaders()), RowName<Reader>);
INSTANTIATE_TEST_SUITE_P(Models, DamagedFiles, testing::ValuesIn(ModelReaders()), RowName<Reader>);
} // namespace
