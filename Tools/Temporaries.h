#pragma once

#include <signal.h>

#include <filesystem>
#include <string>

namespace Lumvo {

struct TemporarySlot;

/// Remembers a file or an empty folder that must not outlive the program: it is removed with this object, and also if a
/// signal ends the program first. There may be any number of them, all in one thread.
class Temporary
{
public:
    Temporary() = default;
    explicit Temporary(const std::filesystem::path& path);
    ~Temporary();
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    /// Takes charge of a file or a folder; this must not have one yet.
    void Watch(const std::filesystem::path& path);
    [[nodiscard]] bool IsWatching() const noexcept { return m_Slot != nullptr; }
    /// Removes it now; if that fails, the destructor tries again.
    void Remove() noexcept;
    /// Lets it stay.
    void Release() noexcept;

private:
    std::string m_Path; // read by the signal handler
    TemporarySlot* m_Slot = nullptr;
};

/// Holds back signals that end the program while this lives.
class SignalsHeld
{
public:
    SignalsHeld() noexcept;
    ~SignalsHeld();
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t m_Former;
};

/// Removes all that is temporary now, for a program that is about to end without destroying its objects. Safe in signal
/// handlers.
void RemoveTemporaries() noexcept;

/// Lets signals that end the program remove what is temporary first, and turns those for a full disk quota into errors.
void WatchSignals();
} // namespace Lumvo
