#include <Tools/Progress.h>

#include <Tools/Output.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <iostream>
#include <string_view>
#include <utility>

namespace Lumvo {
namespace {

constexpr std::size_t s_DefaultWidth = 80;

std::size_t WidthOfTerminal()
{
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : s_DefaultWidth;
}

/// How many columns a text takes on a terminal; some characters take two.
std::size_t ColumnsOf(const std::wstring& text)
{
    std::size_t columns = 0;
    for (const wchar_t letter : text)
        columns += static_cast<std::size_t>(std::max(1, wcwidth(letter)));
    return columns;
}
} // namespace

Progress::Progress(bool quiet) : m_Quiet(quiet)
{
    const char* const kind = std::getenv("TERM");
    m_Terminal = isatty(STDERR_FILENO) != 0 && kind != nullptr && std::string_view(kind) != "dumb";
}

Progress::~Progress()
{
    Clear();
}

void Progress::Begin(std::string phase)
{
    if (m_Quiet)
        return;
    m_Phase = std::move(phase);
    m_Percent = 0;
    if (m_Terminal)
        Draw();
    else
        std::cerr << "lumvo: " << m_Phase << '\n';
}

void Progress::Update(std::uint64_t done, std::uint64_t total)
{
    static constexpr std::chrono::milliseconds s_Pause(50);
    if (m_Quiet || !m_Terminal || total == 0)
        return;
    const double part = static_cast<double>(std::min(done, total)) / static_cast<double>(total);
    const unsigned percent = std::max(m_Percent, static_cast<unsigned>(100 * part));
    if (percent == m_Percent || std::chrono::steady_clock::now() - m_LastDrawn < s_Pause)
        return;
    m_Percent = percent;
    Draw();
}

void Progress::Clear()
{
    if (m_Drawn)
        std::cerr << "\r\x1B[K" << std::flush;
    m_Drawn = false;
}

std::string Progress::Bar(const std::string& phase, unsigned percent, std::size_t width)
{
    static constexpr std::size_t s_BarWidth = 24;
    static constexpr std::size_t s_Beside = s_BarWidth + 9; // brackets, blanks and "100 %"
    if (width < s_Beside + 8)
        return std::to_string(percent) + " %";
    const std::size_t filled = s_BarWidth * percent / 100;
    std::string number = std::to_string(percent);
    number.insert(0, 3 - std::min<std::size_t>(3, number.size()), ' ');
    std::wstring name = Kelvra::KvText::FromUtf8(phase);
    const std::size_t room = width - s_Beside - 1;
    if (ColumnsOf(name) > room) {
        // The end of a long file name says more than its beginning.
        while (ColumnsOf(name) > room - 3)
            name.erase(0, 1);
        name.insert(0, L"...");
    }
    return Kelvra::KvText::ToUtf8(name) + " [" + std::string(filled, '#') + std::string(s_BarWidth - filled, ' ') +
           "] " + number + " %";
}

void Progress::Draw()
{
    std::cerr << '\r' << Bar(m_Phase, m_Percent, WidthOfTerminal()) << "\x1B[K" << std::flush;
    m_Drawn = true;
    m_LastDrawn = std::chrono::steady_clock::now();
}
} // namespace Lumvo
