#include <Tools/Temporaries.h>

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

namespace Lumvo {

/// Where the signal handler finds the path of a Temporary. Slots are reused and never freed, so that the handler can
/// walk their list at any moment.
struct TemporarySlot
{
    std::atomic<const char*> path{nullptr}; // null while unused
    TemporarySlot* next = nullptr;
    TemporarySlot* nextUnused = nullptr;
};

namespace {

static_assert(std::atomic<const char*>::is_always_lock_free, "a signal handler reads it");
constexpr int s_EndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

std::atomic<TemporarySlot*> s_Slots{nullptr};
TemporarySlot* s_Unused = nullptr;

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
    Remove();
    Release();
}

void Temporary::Watch(const std::filesystem::path& path)
{
    m_Path = path.string();
    if (s_Unused != nullptr) {
        m_Slot = std::exchange(s_Unused, s_Unused->nextUnused);
        m_Slot->path.store(m_Path.c_str());
        return;
    }
    m_Slot = new TemporarySlot;
    m_Slot->path.store(m_Path.c_str());
    m_Slot->next = s_Slots.load();
    s_Slots.store(m_Slot);
}

void Temporary::Remove() noexcept
{
    if (m_Slot != nullptr && (unlink(m_Path.c_str()) == 0 || rmdir(m_Path.c_str()) == 0 || errno == ENOENT))
        Release();
}

void Temporary::Release() noexcept
{
    if (m_Slot == nullptr)
        return;
    m_Slot->path.store(nullptr);
    m_Slot->nextUnused = std::exchange(s_Unused, m_Slot);
    m_Slot = nullptr;
}

SignalsHeld::SignalsHeld() noexcept
{
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : s_EndingSignals)
        sigaddset(&ending, signal);
    pthread_sigmask(SIG_BLOCK, &ending, &m_Former);
}

SignalsHeld::~SignalsHeld()
{
    pthread_sigmask(SIG_SETMASK, &m_Former, nullptr);
}

void RemoveTemporaries() noexcept
{
    for (const auto remove : {unlink, rmdir}) // files first: folders must be empty
        for (const TemporarySlot* slot = s_Slots.load(); slot != nullptr; slot = slot->next)
            if (const char* const path = slot->path.load())
                remove(path);
}

void WatchSignals()
{
    for (const int signal : s_EndingSignals) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
            continue; // such as under nohup
        action.sa_handler = RemoveAllAndEnd;
        sigaction(signal, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN); // the write fails, and says why
}
} // namespace Lumvo
