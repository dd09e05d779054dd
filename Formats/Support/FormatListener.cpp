#include <Formats/Support/FormatListener.h>

#include <LumvoData/Contracts/KelvraService/KvAssert.h>
#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <utility>

namespace Formats {
namespace {

constexpr const char* s_Source = "Formats/FormatListener";
constexpr int s_Failed = 1;
constexpr int s_Lost = 2;

/// In force in every thread where no program listens.
class ReportingListener : public FormatListener
{
    void OnError(const std::filesystem::path& file, const FormatError& error) override
    {
        Report(file, error.what(), s_Failed);
    }
    void OnLoss(const std::filesystem::path& file, const std::string& what, std::uint64_t count) override
    {
        Report(file, "left out: " + std::to_string(count) + " x " + what, s_Lost);
    }
    static void Report(const std::filesystem::path& file, const std::string& message, int line)
    {
        Kelvra::KvAssert::Assert(false, Kelvra::KvText::FromPath(file) + L": " + Kelvra::KvText::FromUtf8(message),
                                 s_Source, line);
    }
};

FormatListener*& InForce() noexcept
{
    static ReportingListener reporting;
    thread_local FormatListener* listener = &reporting;
    return listener;
}
} // namespace

FormatListener::~FormatListener() = default;

void FormatListener::OnProgress(const std::filesystem::path& /*file*/, std::uint64_t /*done*/, std::uint64_t /*total*/)
{}

std::wstring FormatListener::OnImage(const std::filesystem::path& /*file*/, const std::wstring& /*name*/,
                                     std::string_view /*bytes*/)
{
    return {};
}

FormatListener& FormatListener::Current() noexcept
{
    return *InForce();
}

FormatListenerScope::FormatListenerScope(FormatListener& listener) noexcept
    : m_Former(std::exchange(InForce(), &listener))
{}

FormatListenerScope::~FormatListenerScope()
{
    InForce() = m_Former;
}
} // namespace Formats
