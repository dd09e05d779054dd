#include <Tests/Support/SceneFileTest.h>

#include <fstream>
#include <iterator>
#include <random>

using namespace Kelvra;

std::ostream& operator<<(std::ostream& out, const Report& report)
{
    return out << report.source << '(' << report.line << "): " << KvText::Printable(report.message, 200);
}

SceneFileTest::SceneFileTest(const std::filesystem::path& parent)
    : m_Scope([this](const KvReport& report) {
          m_Reports.push_back({std::wstring(report.message), report.source, report.line});
          ++m_Reported;
      })
{
    // Tests run side by side: the folder's name must be its own.
    std::random_device random;
    do
        m_Folder = parent / ("LumvoDataTest-" + std::to_string(random()));
    while (!std::filesystem::create_directory(m_Folder));
}

SceneFileTest::~SceneFileTest()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_Folder, ignored);
}

void SceneFileTest::WriteFile(const Bytes& bytes, const std::string& name) const
{
    std::filesystem::remove(PathOf(name)); // a new file: file systems flush one that replaces its former content
    std::ofstream file(PathOf(name), std::ios::binary);
    file << bytes.Data();
    ASSERT_TRUE(file.flush()) << PathOf(name);
}

Bytes SceneFileTest::ReadFile(const std::string& name) const
{
    std::ifstream file(PathOf(name), std::ios::binary);
    EXPECT_TRUE(file) << PathOf(name);
    return Bytes(std::string(std::istreambuf_iterator<char>(file), {}));
}

Bytes SceneFileTest::Store(const Run& run)
{
    std::filesystem::remove(PathOf("test.scene")); // as in WriteFile
    ASceneSerializeContext context(FileName(), true);
    EXPECT_TRUE(context.Begin());
    const std::size_t before = m_Reported;
    run(context);
    context.End();
    EXPECT_EQ(context.GetReportCount(), m_Reported - before);
    const Bytes file = ReadFile();
    EXPECT_EQ(file.First(8), Bytes::Header());
    return Bytes(file.Data().substr(8));
}

void SceneFileTest::Load(const Bytes& records, const Run& run)
{
    WriteFile(Bytes::Header().Add(records));
    ASceneSerializeContext context(FileName(), false);
    ASSERT_TRUE(context.Begin());
    const std::size_t before = m_Reported;
    run(context);
    context.End();
    EXPECT_EQ(context.GetReportCount(), m_Reported - before);
}
