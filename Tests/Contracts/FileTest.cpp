#include <LumvoData/Contracts/Host/CFile.h>
#include <Tests/Support/SceneFileTest.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

using namespace Kelvra;

namespace {

constexpr unsigned s_Create = CFile::modeCreate | CFile::modeWrite;

using FileTest = SceneFileTest;

// Whatever the sizes of the transfers, the bytes and the position are right around the edges of the buffer, which has
// 64 KiB for the first MiB that is written, and 256 KiB from there on.
TEST_F(FileTest, IsWrittenAndReadInPiecesOfAnySize)
{
    std::string all;
    for (unsigned i = 0; i < 1'500'000; ++i)
        all += static_cast<char>(static_cast<unsigned char>(i * 7 + i / 251));
    for (const std::size_t size :
         {1'500'000U, 1'376'257U, 1'376'256U, 1'114'113U, 1'114'112U, 1'114'111U, 65537U, 65536U, 65535U, 1U, 0U})
        for (const std::vector<std::size_t>& pieces :
             {std::vector<std::size_t>{17, 65519, 3}, {65536}, {65537, 1}, {1000, 0}, {5, 100'000}, {300'000}}) {
            const std::string data = all.substr(0, size);
            CFile file;
            ASSERT_TRUE(file.Open(FileName(), s_Create));
            for (std::size_t at = 0, i = 0; at < size; ++i) {
                const std::size_t count = std::min(pieces[i % pieces.size()], size - at);
                file.Write(data.data() + at, count);
                ASSERT_EQ(file.GetPosition(), at += count);
            }
            file.Close();
            ASSERT_TRUE(ReadFile().Data() == data);

            ASSERT_TRUE(file.Open(FileName(), CFile::modeRead));
            std::string read(size + 300'000, '?');
            for (std::size_t at = 0, count = 0, done = 0, i = 0; done == count; ++i) {
                count = pieces[i % pieces.size()];
                done = file.Read(read.data() + at, count);
                ASSERT_EQ(file.GetPosition(), at += done);
                ASSERT_EQ(file.GetBytesLeft(), size - at);
            }
            ASSERT_TRUE(read == data + std::string(300'000, '?')) << "nothing behind what was read is touched";
        }
}

TEST_F(FileTest, WhatCannotBeOpenedGivesAReason)
{
    ASSERT_EQ(mkfifo(PathOf("fifo").c_str(), 0600), 0);
    const struct
    {
        std::wstring name;
        unsigned flags;
        std::errc reason;
    } rows[] = {{FileName("missing"), CFile::modeRead, std::errc::no_such_file_or_directory},
                {FileName("."), CFile::modeRead, std::errc::is_a_directory},
                {FileName("fifo"), CFile::modeRead, std::errc::invalid_seek},
                {FileName("missing/file"), s_Create, std::errc::no_such_file_or_directory},
                {FileName("cut") + L'\0' + L".scene", s_Create, std::errc::invalid_argument}};
    CFile file;
    for (const auto& row : rows) {
        char byte = '?';
        EXPECT_FALSE(file.Open(row.name, row.flags));
        EXPECT_EQ(file.GetError(), row.reason);
        EXPECT_EQ(file.Read(&byte, 1), 0U);
        EXPECT_THROW(file.Write(&byte, 1), std::system_error);
        EXPECT_NO_THROW(file.Close());
    }
    EXPECT_FALSE(std::filesystem::exists(PathOf("cut")));
}

// Everything that could not be written shows, whether it waited in the buffer or not.
TEST_F(FileTest, AFullDiskIsReportedWithTheFilesName)
{
    const auto expectFull = [](const auto& action) {
        try {
            action();
            ADD_FAILURE() << "lost silently";
        } catch (const std::system_error& e) {
            EXPECT_EQ(e.code(), std::errc::no_space_on_device);
            EXPECT_EQ(std::string(e.what()).find("/dev/full: "), 0U) << e.what();
        }
    };
    const std::string large(200'000, 'x');
    CFile file;
    ASSERT_TRUE(file.Open(L"/dev/full", s_Create));
    EXPECT_NO_THROW(file.Write(large.data(), 100)) << "waits in the buffer";
    expectFull([&] { file.Close(); });
    EXPECT_NO_THROW(file.Close()) << "reported once, closed for good";

    ASSERT_TRUE(file.Open(L"/dev/full", s_Create));
    expectFull([&] { file.Write(large.data(), large.size()); });
    expectFull([&] { file.Write(large.data(), 1); }); // must not fill the gap
    expectFull([&] { file.Open(FileName(), s_Create); });
    EXPECT_FALSE(file.IsOpen());
}
} // namespace
