#pragma once

#include <LumvoData/LumvoData.h>
#include <Tests/Support/Bytes.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

/// One report of the assertion service, as tests expect it.
struct Report
{
    std::wstring message;
    std::string source;
    int line;

    friend bool operator==(const Report& a, const Report& b)
    {
        return a.message == b.message && a.source == b.source && a.line == b.line;
    }
    friend std::ostream& operator<<(std::ostream& out, const Report& report);
};
using Reports = std::vector<Report>;

/// A test that stores into and loads from files of its own, and collects what the assertion service reports.
class SceneFileTest : public testing::Test
{
public:
    /// \param parent the folder in which the test makes one of its own.
    explicit SceneFileTest(const std::filesystem::path& parent = std::filesystem::temp_directory_path());
    ~SceneFileTest() override;

    /// A path in a folder that is removed at the end of the test.
    [[nodiscard]] std::filesystem::path PathOf(const std::string& name) const { return m_Folder / name; }
    [[nodiscard]] std::wstring FileName(const std::string& name = "test.scene") const
    {
        return Kelvra::KvText::FromPath(PathOf(name));
    }
    void WriteFile(const Bytes& bytes, const std::string& name = "test.scene") const;
    [[nodiscard]] Bytes ReadFile(const std::string& name = "test.scene") const;

    using Run = std::function<void(Kelvra::ASceneSerializeContext&)>;
    /// What `run` stores behind the header of a scene file. The context counts all that is reported meanwhile, here and
    /// in Load.
    Bytes Store(const Run& run);
    /// Lets `run` load from a scene file of the given records, the header not included.
    void Load(const Bytes& records, const Run& run);

    /// The bytes of an object's own record.
    template <class T> Bytes StoreRecord(T& object)
    {
        return Store([&](Kelvra::ASceneSerializeContext& context) { object.Serialize(context); });
    }
    template <class T> void LoadRecord(T& object, const Bytes& record)
    {
        Load(record, [&](Kelvra::ASceneSerializeContext& context) { object.Serialize(context); });
    }
    /// The bytes of a reference through the collector of `T`.
    template <class T> Bytes StoreReference(const std::shared_ptr<T>& pointer)
    {
        return Store([&](Kelvra::ASceneSerializeContext& context) { context.Collector().WritePtr(pointer, context); });
    }
    /// What a file of one reference gives; empty where it reads as empty.
    template <class T> std::shared_ptr<T> LoadReference(const Bytes& reference)
    {
        std::shared_ptr<T> pointer;
        Load(reference,
             [&](Kelvra::ASceneSerializeContext& context) { context.Collector().ReadPtr(pointer, context); });
        return pointer;
    }

    /// What has been reported since the last call.
    Reports TakeReports() { return std::exchange(m_Reports, {}); }
    /// Counts a report that a handler of another thread received.
    void CountReport() { ++m_Reported; }

private:
    std::filesystem::path m_Folder;
    Reports m_Reports;
    std::size_t m_Reported = 0; // taken or not
    Kelvra::KvAssertScope m_Scope;
};

/// The same for tests with a row for each case.
template <class Row> class SceneFileTestWith : public SceneFileTest, public testing::WithParamInterface<Row>
{
};
