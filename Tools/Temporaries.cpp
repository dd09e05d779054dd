#include <Tools/Temporaries.h>

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <string>
#include <system_error>

namespace Lumvo {
namespace {

constexpr std::size_t s_LongestPath = 4096;

/// A path where a signal handler can read it. It is complete before it is `used`.
struct Slot
{
    std::atomic<bool> used{false};
    std::array<char, s_LongestPath> path{};
};
std::array<Slot, 64> s_Slots;

void RemoveAllAndEnd(int signal)
{
    RemoveTemporaries();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}
} // namespace

Temporary::Temporary(const std::filesystem::path& path)
{
    Watch(path);
}

Temporary::~Temporary()
{
    std::error_code ignored;
    if (!m_Path.empty())
        std::filesystem::remove(m_Path, ignored);
    Forget();
}

void Temporary::Watch(const std::filesystem::path& path)
{
    m_Path = path;
    const std::string text = std::filesystem::absolute(path).string();
    if (text.size() >= s_LongestPath)
        return; // removed with this object only
    for (std::size_t i = 0; i < s_Slots.size(); ++i)
        if (!s_Slots[i].used.load()) {
            s_Slots[i].path.fill('\0');
            text.copy(s_Slots[i].path.data(), text.size());
            s_Slots[i].used.store(true);
            m_Slot = static_cast<int>(i);
            return;
        }
}

void Temporary::Release() noexcept
{
    m_Path.clear();
    Forget();
}

void Temporary::Forget() noexcept
{
    if (m_Slot >= 0)
        s_Slots[static_cast<std::size_t>(m_Slot)].used.store(false);
    m_Slot = -1;
}

void RemoveTemporaries() noexcept
{
    for (auto slot = s_Slots.rbegin(); slot != s_Slots.rend(); ++slot) // files before the folders that hold them
        if (slot->used.load() && unlink(slot->path.data()) != 0)
            rmdir(slot->path.data());
}

void WatchSignals()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
            continue; // such as under nohup
        action.sa_handler = RemoveAllAndEnd;
        sigaction(signal, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN); // the write fails, and says why
}
} // namespace Lumvo
