#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <functional>
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
/// A caller asks for a condition and goes on with the guarded step only when the answer is true. Reports
/// go to standard error, one line each, control characters escaped and long texts shortened, until the
/// process installs a handler of its own.
///
/// - Threads: one handler per process, nothing locked; install it before other threads report.
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

    /// Installs a handler; an empty one restores the report to standard error.
    /// \returns the handler that was in force, empty for the default.
    static Handler SetHandler(Handler handler);
};

/// Puts a handler in force for its own lifetime and the former one back at its end.
class KELVRASERVICE_API KvAssertScope
{
public:
    explicit KvAssertScope(KvAssert::Handler handler);
    ~KvAssertScope();
    KvAssertScope(const KvAssertScope&) = delete;
    KvAssertScope& operator=(const KvAssertScope&) = delete;

private:
    KvAssert::Handler m_Former;
};
} // namespace Kelvra
