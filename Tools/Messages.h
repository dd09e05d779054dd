#pragma once

#include <Tools/Json.h>

#include <LumvoData/Contracts/KelvraService/KvAssert.h>

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

namespace Lumvo {

/// What the assertion service reported during one run, equal messages folded into one.
///
/// A damaged file can cause as many messages as it has bytes, so texts are kept in their shortened form, and
/// of messages that differ only the first s_MostKept; the others are counted.
class Messages
{
public:
    struct Message
    {
        std::string text; ///< Fit for a terminal.
        std::string source;
        int line;
        std::uint64_t count;
        std::optional<std::uint64_t> offset; ///< In the file, where the first was reported; none if that is unknown.
    };

    void Add(const Kelvra::KvReport& report, std::optional<std::uint64_t> offset);

    /// How many were reported, equal ones included.
    [[nodiscard]] std::uint64_t GetCount() const noexcept { return m_Count; }
    /// Each message once, in the order in which they were first reported.
    [[nodiscard]] const std::vector<Message>& GetAll() const noexcept { return m_Messages; }

    /// A line for each message, behind `indent`.
    void Print(std::ostream& out, const std::string& indent) const;
    /// An array of {"text", "source", "line", "count", "offset"}.
    [[nodiscard]] Json ToJson() const;

private:
    static constexpr std::size_t s_MostCharacters = 120;
    static constexpr std::size_t s_MostKept = 1000;

    std::vector<Message> m_Messages;
    std::map<std::tuple<std::string, std::string, int>, std::size_t> m_Known; // index in m_Messages
    std::uint64_t m_Count = 0;
    std::uint64_t m_NotKept = 0;
};
} // namespace Lumvo
