#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <memory>
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

TEST(Assert, TheInnermostScopeReceives)
{
    std::string received;
    std::unique_ptr<KvAssertScope> scopes[3];
    for (const char name : {'a', 'b', 'c'})
        scopes[name - 'a'] = std::make_unique<KvAssertScope>([&received, name](const KvReport&) { received += name; });
    for (const int ended : {1, 2, 0}) { // the second before the one within it
        KvAssert::Assert(false, "", "", 0);
        scopes[ended].reset();
    }
    EXPECT_EQ(received, "cca");
}
} // namespace
