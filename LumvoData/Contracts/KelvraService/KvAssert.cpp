#include <LumvoData/Contracts/KelvraService/KvAssert.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <cstdio>
#include <string>
#include <utility>

namespace Kelvra {
namespace {

constexpr std::size_t s_LongestPrinted = 200;

KvAssert::Handler& CurrentHandler()
{
    static KvAssert::Handler s_Handler;
    return s_Handler;
}

void Report(const KvReport& report)
{
    if (CurrentHandler()) {
        // A copy, so that a handler may replace itself while it runs.
        const KvAssert::Handler handler = CurrentHandler();
        handler(report);
        return;
    }
    const std::string text = KvText::Printable(report.message, s_LongestPrinted);
    std::fprintf(stderr, "%s(%d): %s\n", report.source, report.line, text.c_str());
}
} // namespace

bool KvAssert::Assert(bool condition, std::string_view message, const char* file, int line)
{
    if (!condition)
        Report({KvText::FromUtf8(message), file, line});
    return condition;
}

bool KvAssert::Assert(bool condition, std::wstring_view message, const char* file, int line)
{
    if (!condition)
        Report({message, file, line});
    return condition;
}

KvAssert::Handler KvAssert::SetHandler(Handler handler)
{
    return std::exchange(CurrentHandler(), std::move(handler));
}

KvAssertScope::KvAssertScope(KvAssert::Handler handler) : m_Former(KvAssert::SetHandler(std::move(handler))) {}

KvAssertScope::~KvAssertScope()
{
    KvAssert::SetHandler(std::move(m_Former));
}
} // namespace Kelvra
