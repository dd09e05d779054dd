#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <string>

using namespace Kelvra;

namespace {

TEST(Assert, ReportsToStandardErrorInHarmlessLinesByDefault)
{
    const KvAssertScope ignoring([](const KvReport&) {});
    const KvAssertScope scope({});
    testing::internal::CaptureStderr();
    KvAssert::Assert(false, L"100% \x1B[31mred\n\x202E\xD800\x0416", "Some/Source", 42);
    KvAssert::Assert(false, std::wstring(100'000, L'x'), "B", 43);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Some/Source(42): 100% \\x001B[31mred\\x000A\\x202E\\xD800\xD0\x96\nB(43): " + std::string(200, 'x') +
                  "... (100000 characters)\n");
}
} // namespace
