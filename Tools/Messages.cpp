#include <Tools/Messages.h>

#include <Tools/Output.h>

#include <string_view>

namespace Lumvo {

void Messages::Add(const Kelvra::KvReport& report, std::optional<std::uint64_t> offset)
{
    ++m_Count;
    const std::string_view source = report.source != nullptr ? report.source : "unknown source";
    auto identity =
        std::make_tuple(Show(report.message, s_MostCharacters), Show(source, s_MostCharacters), report.line);
    const auto known = m_Known.find(identity);
    if (known != m_Known.end()) {
        ++m_Messages[known->second].count;
        return;
    }
    if (m_Messages.size() == s_MostKept) {
        ++m_NotKept;
        return;
    }
    m_Messages.push_back({std::get<0>(identity), std::get<1>(identity), report.line, 1, offset});
    m_Known.emplace(std::move(identity), m_Messages.size() - 1);
}

void Messages::Print(std::ostream& out, const std::string& indent) const
{
    for (const Message& message : m_Messages) {
        out << indent << Show(message.count) << " x \"" << message.text << '"';
        if (message.offset)
            out << ", " << (message.count == 1 ? "at byte " : "first at byte ") << *message.offset;
        out << " (" << message.source << ", " << message.line << ")\n";
    }
    if (m_NotKept > 0)
        out << indent << "and " << Plural(m_NotKept, "other") << '\n';
}

Json Messages::ToJson() const
{
    Json all = Json::array();
    for (const Message& message : m_Messages)
        all.push_back({{"text", message.text},
                       {"source", message.source},
                       {"line", message.line},
                       {"count", message.count},
                       {"offset", message.offset ? Json(*message.offset) : Json(nullptr)}});
    return all;
}
} // namespace Lumvo
