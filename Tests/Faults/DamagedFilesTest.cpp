#include <Tests/Faults/Faults.h>
#include <Tests/Fuzz/SceneParts.h>
#include <Tests/Support/SceneFileTest.h>
#include <Tests/Support/TestRow.h>
#include <Tools/FileError.h>
#include <Tools/Salvage.h>

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Kelvra;
using namespace Lumvo;

namespace {

/// A scene file that is damaged.
struct WholeFile
{
    std::string name;
    std::string bytes;
    /// Where it begins to differ from the files before it: all begin with the fields of a node.
    std::size_t start;
};

const std::vector<WholeFile>& WholeFiles()
{
    static const std::vector<WholeFile> s_Files = [] {
        std::vector<WholeFile> files;
        const std::filesystem::directory_iterator folder(WHOLE_FILES);
        for (const auto& entry : std::set<std::filesystem::directory_entry>(begin(folder), end(folder))) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes(std::istreambuf_iterator<char>(file), {});
            files.push_back({entry.path().filename().string(), bytes,
                             files.empty() ? 0 : Fuzz::SceneParts(bytes).references.at(1).begin});
        }
        return files;
    }();
    return s_Files;
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

struct Reader : TestRow
{
    void (*read)(const std::filesystem::path& file);
};

/// Whatever is done to a file, those who read it end, soon, and without much memory.
class DamagedFiles : public SceneFileTest, public testing::WithParamInterface<Reader>
{
protected:
    static constexpr std::size_t s_MiB = std::size_t{1} << 20;

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

TEST(WholeFiles, HoldObjectsOfAllClasses)
{
    std::string all;
    for (const WholeFile& file : WholeFiles())
        all += file.bytes;
    for (const RecordDescription& record : AllRecords()) {
        const std::u16string name(record.className.begin(), record.className.end());
        EXPECT_NE(all.find(Bytes().Text(name).Data()), std::string::npos) << record.className;
    }
}

TEST_P(DamagedFiles, MayEndAnywhere)
{
    for (const auto& [name, file, start] : WholeFiles()) {
        WriteFile(Bytes(file));
        for (std::size_t size = file.size() + 1; size-- > start;) {
            SCOPED_TRACE(name + " of " + std::to_string(size) + " bytes");
            std::filesystem::resize_file(m_File, size);
            ExpectIsRead(64 * s_MiB, 2);
        }
    }
}

TEST_P(DamagedFiles, MayHaveAnyByteChanged)
{
    for (const auto& [name, file, start] : WholeFiles()) {
        WriteFile(Bytes(file));
        for (std::size_t i = start; i < file.size(); ++i) {
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
TEST_P(DamagedFiles, MayDeclareTooManyOfAnything)
{
    const Bytes most = Bytes().Int(std::numeric_limits<std::int32_t>::max());
    std::size_t counts = 0;
    for (const auto& [name, file, start] : WholeFiles())
        for (const Fuzz::Part& part : Fuzz::SceneParts(file).parts) {
            if (part.offset < start || (part.kind != Fuzz::PartKind::Count && part.kind != Fuzz::PartKind::ClassName))
                continue;
            SCOPED_TRACE(name + " at byte " + std::to_string(part.offset));
            WriteFile(Bytes(file).First(part.offset).Add(most));
            ExpectIsRead(s_MiB, 1);
            ++counts;
        }
    EXPECT_GT(counts, 2 * AllRecords().size());
}

INSTANTIATE_TEST_SUITE_P(Readers, DamagedFiles,
                         testing::Values(Reader{{"Library"}, LoadByLibrary}, Reader{{"Walk"}, WalkThrough},
                                         Reader{{"Salvage"}, SaveWhatIsThere}),
                         RowName<Reader>);
} // namespace
