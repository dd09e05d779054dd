#include <Tests/Support/SceneFileTest.h>

#include <cstdint>
#include <limits>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

using namespace Kelvra;

namespace {

using ContextTest = SceneFileTest;

TEST_F(ContextTest, LoadingBeginsOnlyWithTheIdentifierInAWholeHeader)
{
    const struct
    {
        Bytes file;
        bool begins;
        int identifier, version;
    } rows[] = {{Bytes().Int(2011).Int(3).Int(0), true, 2011, 3},
                {Bytes().Int(2011).Int(-1), true, 2011, -1},
                {Bytes().Int(2012).Int(3), false, 2012, 3},
                {Bytes(), false, 0, 0},
                {Bytes().Int(2011).Int(3).First(7), false, 2011, 3}};
    for (const auto& row : rows) {
        WriteFile(row.file);
        ASceneSerializeContext context(FileName(), false);
        EXPECT_EQ(context.Begin(), row.begins) << row.file;
        EXPECT_EQ(context.GetIdentifier(), row.identifier);
        EXPECT_EQ(context.GetVersion(), row.version);
        EXPECT_FALSE(context.GetError()) << "the file did open";
    }
}

TEST_F(ContextTest, AFullDiskIsReportedAtTheLatestByEnd)
{
    ASceneSerializeContext context(L"/dev/full", true);
    ASSERT_TRUE(context.Begin());
    EXPECT_THROW(context.End(), std::system_error);
}

TEST_F(ContextTest, ReadsAtTheEndLeaveTheirDestination)
{
    Load(Bytes().Int(5).Byte(0xAA).Byte(0xBB), [](ASceneSerializeContext& context) {
        std::uint32_t number = 0;
        context.Read(&number, 4);
        EXPECT_EQ(number, 5U);
        context.Read(&number, -4);
        EXPECT_EQ(context.GetBytesLeft(), 2U);
        number = 0x11223344;
        context.Read(&number, 4);
        EXPECT_EQ(number, 0x1122BBAAU);
        std::wstring text = L"kept";
        context.Read(&number, 4);
        context.Read(text);
        EXPECT_EQ(number, 0x1122BBAAU);
        EXPECT_EQ(text, L"kept");
        EXPECT_EQ(context.GetPosition(), 14U);
    });
}

TEST_F(ContextTest, TextsAreUtf16BehindTheirCount)
{
    const std::wstring text(L"A\0\x4E2D\U0001F600\xDE00|\xD83D", 7);
    const Bytes record = Bytes().Text(std::u16string_view(u"A\0\x4E2D\xD83D\xDE00\xDE00|\xD83D", 8));
    EXPECT_EQ(Store([&](ASceneSerializeContext& context) {
                  context.Write(text);
                  context.Write(std::wstring());
              }),
              Bytes(record).Int(0));
    Load(record, [&](ASceneSerializeContext& context) {
        std::wstring loaded = L"a longer former text";
        context.Read(loaded);
        EXPECT_EQ(loaded, text);
        EXPECT_EQ(context.GetBytesLeft(), 0U);
    });
}

// A string gets the size that its count says: what was there, then what it held, then zeros.
TEST_F(ContextTest, DamagedTextsKeepWhatTheFileDoesNotHold)
{
    const struct
    {
        Bytes record;
        std::wstring held, text;
    } rows[] = {{Bytes().Int(0), L"abc", L"abc"},
                {Bytes().Int(std::numeric_limits<int>::min()), L"abc", L"abc"},
                {Bytes().Byte(2).Byte(0), L"abc", L"ab"},
                {Bytes().Int(4).Byte('x').Byte(0), L"abc", std::wstring(L"xbc\0", 4)},
                {Bytes().Int(2).Byte('x').Byte(0).Byte('y'), L"\x0416\x0416", L"x\x0479"},
                {Bytes().Int(3).Byte('x').Byte(0), L"\U0001F600!", L"x\xDE00!"}};
    for (const auto& row : rows)
        Load(row.record, [&](ASceneSerializeContext& context) {
            std::wstring text = row.held;
            context.Read(text);
            EXPECT_EQ(text, row.text) << row.record;
            EXPECT_EQ(context.GetBytesLeft(), 0U);
        });
}

// Counts of missing units are believed up to 16 MiB.
TEST_F(ContextTest, HugeCountsRaiseLengthErrors)
{
    const int most = 8 * 1024 * 1024;
    Load(Bytes().Int(most), [](ASceneSerializeContext& context) {
        std::wstring text;
        EXPECT_NO_THROW(context.Read(text));
        EXPECT_EQ(text, std::wstring(8U * 1024 * 1024, L'\0'));
    });
    for (const int count : {most + 1, std::numeric_limits<int>::max()})
        Load(Bytes().Int(count), [](ASceneSerializeContext& context) {
            std::wstring text = L"kept";
            EXPECT_THROW(context.Read(text), std::length_error);
            EXPECT_EQ(text, L"kept");
        });
    Load(Bytes().Float(2), [](ASceneSerializeContext& context) {
        constexpr std::int32_t mostNumbers = 4 * 1024 * 1024;
        std::vector<float> numbers{1};
        EXPECT_THROW(ReadElements(numbers, mostNumbers + 1, context), std::length_error);
        EXPECT_EQ(numbers, std::vector<float>{1});
        EXPECT_NO_THROW(ReadElements(numbers, mostNumbers, context));
        EXPECT_EQ(numbers.size(), std::size_t{mostNumbers});
        EXPECT_EQ(numbers.front(), 2);
        EXPECT_EQ(numbers.back(), 0);
    });
}

/// A load that the caller bounds, of a group with a list of one text of 20 units.
class Limits : public ContextTest
{
protected:
    static Bytes File()
    {
        Bytes file = Bytes::Header().Int(1).Text(u"AGroupEntity").EntityHeader(0).Int(1);
        file.Int(2).Text(u"ATextListEntity").EntityHeader(0).Int(1);
        return file.Int(1).Text(u"ASubText").EntityHeader(0).Text(u"a text of 20 letters").Fill(24 + 32);
    }
    /// What the file gives within these limits.
    std::shared_ptr<AEntity> LoadWithin(const ASceneLoadLimits& limits, int levels = 3)
    {
        WriteFile(File());
        std::shared_ptr<AEntity> entity;
        ASceneSerializeContext context(FileName(), false);
        context.SetLimits(limits);
        context.SetNestingLimit(levels);
        if (context.Begin())
            context.Collector().ReadPtr(entity, context);
        else
            EXPECT_EQ(context.GetError(), std::errc::file_too_large);
        context.End();
        return entity;
    }
};

TEST_F(Limits, AreKeptToTheLastByteObjectAndLevel)
{
    ASceneLoadLimits limits;
    limits.fileBytes = File().Size();
    limits.objects = 3;
    limits.blockBytes = 40; // the text's; class names are shorter
    EXPECT_EQ(Bytes::Header().Add(StoreReference(LoadWithin(limits))), File());
    EXPECT_EQ(TakeReports(), Reports());

    ASceneLoadLimits fewer = limits;
    --fewer.fileBytes;
    EXPECT_EQ(LoadWithin(fewer), nullptr);
    fewer = limits;
    --fewer.objects;
    EXPECT_THROW(LoadWithin(fewer), std::length_error);
    fewer = limits;
    --fewer.blockBytes;
    EXPECT_THROW(LoadWithin(fewer), std::length_error);
    EXPECT_EQ(TakeReports(), Reports());
    EXPECT_NE(LoadWithin(limits, 2), nullptr) << "without the text";
    EXPECT_EQ(TakeReports(),
              (Reports{{L"Failed to read object, nested too deeply:ASubText", "serialize\\AScenePtrCollector", 120},
                       {L"Failed to read item!", "Serialize/AEntitySerializer", 117}}));
}

// A class name and a buffer are blocks as texts are, whether or not the file holds them; an object counts also where it
// cannot be made.
TEST_F(Limits, BindWhateverAFileDeclares)
{
    ASceneLoadLimits limits;
    limits.blockBytes = 18;
    limits.objects = 1;
    WriteFile(Bytes::Header().Fill(24).Int(1).Text(u"A 9 chars").Int(2).Text(u"A ten char"));
    ASceneSerializeContext context(FileName(), false);
    context.SetLimits(limits);
    ASSERT_TRUE(context.Begin());
    std::vector<float> numbers;
    EXPECT_THROW(ReadElements(numbers, 5, context), std::length_error);
    EXPECT_NO_THROW(ReadElements(numbers, 4, context));
    std::int64_t rest = 0;
    context.Read(&rest, static_cast<int>(sizeof rest));
    std::shared_ptr<AEntity> entity;
    context.Collector().ReadPtr(entity, context);
    EXPECT_EQ(TakeReports().size(), 2U) << "of a class that there is not";
    EXPECT_THROW(context.Collector().ReadPtr(entity, context), std::length_error) << "its name";
    context.End();

    WriteFile(Bytes::Header().Int(1).Text(u"AGhost").Int(2).Text(u"AGroupEntity").EntityHeader(0).Int(0));
    ASceneSerializeContext counting(FileName(), false);
    counting.SetLimits({ASceneLoadLimits::Unlimited, 1, ASceneLoadLimits::Unlimited});
    ASSERT_TRUE(counting.Begin());
    counting.Collector().ReadPtr(entity, counting);
    EXPECT_EQ(TakeReports().size(), 2U);
    EXPECT_THROW(counting.Collector().ReadPtr(entity, counting), std::length_error);
    counting.End();
}

// Limits bind loads alone, and leave the bounds of the library where they are.
TEST_F(Limits, NeitherBindStoringNorWidenOtherBounds)
{
    ASceneLoadLimits limits;
    limits.fileBytes = limits.objects = limits.blockBytes = 0;
    const std::shared_ptr<AEntity> entity = LoadWithin({});
    {
        ASceneSerializeContext context(FileName(), true);
        context.SetLimits(limits);
        ASSERT_TRUE(context.Begin());
        context.Collector().WritePtr(entity, context);
        context.End();
    }
    EXPECT_EQ(ReadFile(), File());

    limits = {};
    limits.blockBytes = std::uint64_t{1} << 40;
    WriteFile(Bytes::Header().Int(std::numeric_limits<int>::max()));
    ASceneSerializeContext context(FileName(), false);
    context.SetLimits(limits);
    ASSERT_TRUE(context.Begin());
    std::wstring text;
    EXPECT_THROW(context.Read(text), std::length_error);
}

/// Loads from memory, and has nothing to say but the bytes.
class MemoryContext : public ASceneSerializeContext
{
public:
    MemoryContext(const std::wstring& fileName, Bytes bytes)
        : ASceneSerializeContext(fileName, false), m_Bytes(std::move(bytes))
    {}
    using ASceneSerializeContext::BeginWithoutFile;
    using ASceneSerializeContext::Read;
    void Read(void* data, int count) override
    {
        m_At += m_Bytes.Data().copy(static_cast<char*>(data), static_cast<std::size_t>(count), m_At);
    }

private:
    Bytes m_Bytes;
    std::size_t m_At = 0;
};

// What a derived context supplies is loaded whole, whatever is in the file that it was made for. What is declared and
// not supplied ends.
TEST_F(ContextTest, BytesMayComeFromElsewhere)
{
    constexpr int members = 20'000, numbers = 5'000'000, huge = std::numeric_limits<int>::max();
    Bytes file = Bytes::Header().Int(1).Text(u"AGroupEntity").EntityHeader(0).Int(members);
    for (int key = 2; key < members + 2; ++key)
        file.Int(key).Text(u"AMeshEntity").EntityHeader(0).Int(0);
    file.Text(std::u16string(40, u'x')).Fill(std::size_t{4} * numbers, 1).Int(huge);
    for (const std::size_t inFile : {0U, 7U, 1'000'000U}) {
        WriteFile(Bytes().Fill(inFile, 7));
        MemoryContext context(FileName(), file);
        ASSERT_TRUE(inFile == 7 ? context.BeginWithoutFile() : context.Begin());
        std::shared_ptr<AEntity> group;
        std::wstring text;
        std::vector<float> buffer;
        std::list<std::shared_ptr<AEntity>> missing;
        context.Collector().ReadPtr(group, context);
        EXPECT_EQ(dynamic_cast<AGroupEntity&>(*group).GetAll().size(), std::size_t{members});
        context.Read(text);
        EXPECT_EQ(text, std::wstring(40, L'x'));
        ReadElements(buffer, numbers, context);
        EXPECT_GT(buffer.back(), 0);
        EXPECT_EQ(context.GetReportCount(), 0U);
        ReadList(missing, context);
        EXPECT_EQ(context.GetReportCount(), 1024U);
        EXPECT_THROW(ReadElements(text, huge, context), std::length_error);
    }
}
} // namespace
