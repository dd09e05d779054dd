#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <functional>
#include <memory>
#include <string_view>

namespace Kelvra {

/// One failed assertion, as a handler receives it. The views are valid during the call only.
struct KvReport
{
    std::wstring_view message; ///< The text; a narrow message arrives widened from UTF-8.
    const char* source;        ///< Name of the source that reports; readers of logs filter on it.
    int line;                  ///< Line in that source.
};

/// The assertion service: reports failed conditions and never stops the program.
///
/// A caller asks for a condition and goes on with the guarded step only when the answer is true. A report goes to the
/// innermost KvAssertScope of the thread that reports, otherwise to the handler of the process, and without either to
/// standard error: one line each, control characters escaped and long texts shortened.
///
/// - Threads: every function may be called from several threads at once. A handler runs on the thread that reports, the
///   handler of the process therefore on several at once.
/// - Errors: none of its own; what a handler throws passes to the reporting code and its caller.
class KELVRASERVICE_API KvAssert
{
public:
    using Handler = std::function<void(const KvReport&)>;

    /// Reports `message` when `condition` is false.
    /// \returns the condition.
    static bool Assert(bool condition, std::string_view message, const char* file, int line);
    /// \copydoc Assert(bool, std::string_view, const char*, int)
    static bool Assert(bool condition, std::wstring_view message, const char* file, int line);

    /// Installs the handler of the process, for all threads without a scope; an empty one restores the reports to
    /// standard error. The former handler may still be running in other threads when the call returns.
    /// \returns the former handler of the process, empty for the default.
    static Handler SetHandler(Handler handler);

private:
    static void Report(const KvReport& report);
};

/// Receives the reports of the thread that made it, for its own lifetime; an empty handler sends them to standard error.
///
/// Scopes nest: the innermost one receives, and at its end the next one out does again. One that ends before those
/// within it is left out from then on. The threads that a thread starts do not inherit its scope.
///
/// - Threads: destroy a scope on the thread that made it.
class KELVRASERVICE_API KvAssertScope
{
public:
    explicit KvAssertScope(KvAssert::Handler handler);
    ~KvAssertScope();
    KvAssertScope(const KvAssertScope&) = delete;
    KvAssertScope& operator=(const KvAssertScope&) = delete;

private:
    friend class KvAssert;

    const std::shared_ptr<const KvAssert::Handler> m_Handler;
    KvAssertScope* m_Outer;
};
} // namespace Kelvra
