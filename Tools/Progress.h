#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace Lumvo {

/// Tells on standard error how far a long run is: a bar on a terminal, otherwise one line for each phase.
///
/// A bar shows the part of its phase that is done, never more than it was told, and never goes back.
class Progress
{
public:
    explicit Progress(bool quiet = false);
    /// Clears the bar.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Begins a phase, such as "reading engine.glb".
    void Begin(std::string phase);
    /// Of `total` steps of the phase `done` are done.
    void Update(std::uint64_t done, std::uint64_t total);
    /// Clears the bar, so that something else can be printed.
    void Clear();

    /// The bar as it is drawn, `width` columns at most.
    [[nodiscard]] static std::string Bar(const std::string& phase, unsigned percent, std::size_t width);

private:
    void Draw();

    bool m_Quiet;
    bool m_Terminal;
    bool m_Drawn = false;
    std::string m_Phase;
    unsigned m_Percent = 0;
    std::chrono::steady_clock::time_point m_LastDrawn;
};
} // namespace Lumvo
