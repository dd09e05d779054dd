#include <LumvoData/Contracts/KelvraService/KvAssert.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace Kelvra {
namespace {

constexpr std::size_t s_LongestPrinted = 200;

using SharedHandler = std::shared_ptr<const KvAssert::Handler>;

struct ProcessHandler
{
    std::mutex mutex;
    SharedHandler handler = std::make_shared<const KvAssert::Handler>();
};

ProcessHandler& Process()
{
    static ProcessHandler s_Process;
    return s_Process;
}

SharedHandler GetProcessHandler()
{
    const std::lock_guard<std::mutex> lock(Process().mutex);
    return Process().handler;
}

thread_local KvAssertScope* s_InnermostScope = nullptr;
} // namespace

void KvAssert::Report(const KvReport& report)
{
    // Shared, so that a handler may be replaced while it runs.
    const SharedHandler handler = s_InnermostScope != nullptr ? s_InnermostScope->m_Handler : GetProcessHandler();
    if (*handler)
        return (*handler)(report);
    const std::string text = KvText::Printable(report.message, s_LongestPrinted);
    std::fprintf(stderr, "%s(%d): %s\n", report.source, report.line, text.c_str());
}

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
    auto installed = std::make_shared<const Handler>(std::move(handler));
    {
        const std::lock_guard<std::mutex> lock(Process().mutex);
        Process().handler.swap(installed);
    }
    return *installed;
}

KvAssertScope::KvAssertScope(KvAssert::Handler handler)
    : m_Handler(std::make_shared<const KvAssert::Handler>(std::move(handler))),
      m_Outer(std::exchange(s_InnermostScope, this))
{}

KvAssertScope::~KvAssertScope()
{
    KvAssertScope** scope = &s_InnermostScope;
    while (*scope != this) // scopes within this one that are still there
        scope = &(*scope)->m_Outer;
    *scope = m_Outer;
}
} // namespace Kelvra
