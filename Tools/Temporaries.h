#pragma once

#include <filesystem>

namespace Lumvo {

/// Remembers a file or an empty folder that is to be gone when the program ends: it is removed with this object, and
/// also when a signal ends the program meanwhile.
class Temporary
{
public:
    Temporary() = default;
    explicit Temporary(const std::filesystem::path& path);
    ~Temporary();
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    /// Takes charge of a file or a folder, in place of none.
    void Watch(const std::filesystem::path& path);
    /// Lets it stay.
    void Release() noexcept;

private:
    void Forget() noexcept;

    std::filesystem::path m_Path;
    int m_Slot = -1;
};

/// Removes all that is temporary now, for a program that is about to end without destroying its objects. Safe in signal
/// handlers.
void RemoveTemporaries() noexcept;

/// Lets signals that end the program remove what is temporary first, and turns those for a full disk quota into errors.
void WatchSignals();
} // namespace Lumvo
