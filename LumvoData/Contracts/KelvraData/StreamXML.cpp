#include <LumvoData/Contracts/Host/CFile.h>
#include <LumvoData/Contracts/KelvraData/AIStreamXML.h>
#include <LumvoData/Contracts/KelvraData/AOStreamXML.h>
#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <pugixml.hpp>

#include <algorithm>
#include <cstdint>
#include <istream>
#include <map>
#include <new>
#include <ostream>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

namespace Kelvra {
namespace {

// Text is kept to the letter: no normalised line breaks, and elements may hold nothing but white space.
constexpr unsigned s_ParseText = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_ws_pcdata;

// The parser holds a document whole, and several times its size in nodes.
constexpr std::uint64_t s_LargestDocument = std::uint64_t{256} * 1024 * 1024;

struct CharacterRange
{
    char32_t first;
    char32_t last;
};

template <std::size_t Count> bool IsAmong(const CharacterRange (&ranges)[Count], char32_t c)
{
    return std::any_of(ranges, ranges + Count, [c](const CharacterRange& r) { return c >= r.first && c <= r.last; });
}

// NameStartChar of XML 1.0, fifth edition, and what NameChar adds to it.
constexpr CharacterRange s_NameStart[] = {{U':', U':'},     {U'A', U'Z'},     {U'_', U'_'},     {U'a', U'z'},
                                          {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
                                          {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
                                          {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
constexpr CharacterRange s_NameRest[] = {{U'-', U'.'}, {U'0', U'9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

bool IsXmlName(std::wstring_view name)
{
    const std::u32string characters = KvText::ToUtf32(name);
    return !characters.empty() && IsAmong(s_NameStart, characters.front()) &&
           std::all_of(characters.begin(), characters.end(),
                       [](char32_t c) { return IsAmong(s_NameStart, c) || IsAmong(s_NameRest, c); });
}

/// What XML 1.0 lets a document hold; surrogates become well formed with the conversion to UTF-8.
bool IsXmlCharacter(wchar_t c)
{
    return c == L'\t' || c == L'\n' || c == L'\r' || (c >= L' ' && c != L'\xFFFE' && c != L'\xFFFF');
}

std::string ToXmlText(std::wstring text)
{
    std::replace_if(
        text.begin(), text.end(), [](wchar_t c) { return !IsXmlCharacter(c); }, L'\xFFFD');
    return KvText::ToUtf8(text);
}

/// For what a document takes unless memory runs out, of which its answer is the only sign.
void RequireMemory(bool taken)
{
    if (!taken)
        throw std::bad_alloc();
}

/// Says what is wrong and where in the document. The place is known in UTF-8 only: other encodings are converted
/// before they are parsed.
std::string DescribeError(std::string_view document, const pugi::xml_parse_result& result)
{
    if (result.encoding != pugi::encoding_utf8)
        return result.description();
    const std::size_t offset =
        std::min(static_cast<std::size_t>(std::max<std::ptrdiff_t>(result.offset, 0)), document.size());
    const std::string_view before = document.substr(0, offset);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t lineStart = before.rfind('\n') == std::string_view::npos ? 0 : before.rfind('\n') + 1;
    return "line " + std::to_string(line) + ", column " + std::to_string(offset - lineStart + 1) + " (byte " +
           std::to_string(offset) + "): " + result.description();
}
} // namespace

struct AOStreamXML::Document
{
    pugi::xml_document root;
    std::vector<pugi::xml_node> open; // an empty node for each Push that failed

    pugi::xml_node Current() const { return open.empty() ? pugi::xml_node() : open.back(); }
};

AOStreamXML::AOStreamXML() : m_Document(std::make_unique<Document>()) {}

AOStreamXML::~AOStreamXML() = default;

bool AOStreamXML::Push(const std::wstring& name)
{
    pugi::xml_node parent = m_Document->open.empty() ? pugi::xml_node(m_Document->root) : m_Document->open.back();
    m_Document->open.emplace_back();
    if (!parent || !IsXmlName(name))
        return false;
    pugi::xml_node child = parent.append_child();
    RequireMemory(child.set_name(KvText::ToUtf8(name).c_str()));
    m_Document->open.back() = child;
    return true;
}

void AOStreamXML::NodeValue(const std::wstring& text)
{
    if (const pugi::xml_node node = m_Document->Current())
        RequireMemory(node.text().set(ToXmlText(text).c_str()));
}

void AOStreamXML::Attribute(const std::wstring& name, const std::wstring& value)
{
    pugi::xml_node node = m_Document->Current();
    if (!node || !IsXmlName(name))
        return;
    const std::string key = KvText::ToUtf8(name);
    pugi::xml_attribute attribute = node.attribute(key.c_str());
    if (!attribute) {
        attribute = node.append_attribute("");
        RequireMemory(attribute.set_name(key.c_str()));
    }
    RequireMemory(attribute.set_value(ToXmlText(value).c_str()));
}

void AOStreamXML::Pop()
{
    if (!m_Document->open.empty())
        m_Document->open.pop_back();
}

std::string AOStreamXML::ToString() const
{
    std::ostringstream text;
    Save(text);
    return text.str();
}

void AOStreamXML::Save(std::ostream& stream) const
{
    m_Document->root.save(stream, "  ", pugi::format_indent, pugi::encoding_utf8);
}

void AOStreamXML::Save(const std::wstring& fileName) const
{
    CFile file;
    if (!file.Open(fileName, CFile::modeCreate | CFile::modeWrite))
        throw std::system_error(file.GetError(), KvText::ToUtf8(fileName) + ": cannot create");
    const std::string text = ToString();
    file.Write(text.data(), text.size());
    file.Close();
}

struct AIStreamXML::Document
{
    struct Level
    {
        pugi::xml_node node;                        // null for a Push that failed
        bool used = false;                          // its text, an attribute or a child was asked for
        std::map<std::string, pugi::xml_node> last; // of each name the last child that was used
    };

    /// The open element, from now on used; null outside of elements.
    pugi::xml_node Use()
    {
        open.back().used = true;
        return open.size() > 1 ? open.back().node : pugi::xml_node();
    }

    pugi::xml_document root;
    std::vector<Level> open{1}; // the first level is the document itself
    std::string error;
};

AIStreamXML::AIStreamXML() : m_Document(std::make_unique<Document>()) {}

AIStreamXML::~AIStreamXML() = default;

bool AIStreamXML::LoadString(std::string_view document)
{
    auto loaded = std::make_unique<Document>();
    pugi::xml_parse_result result;
    if (document.size() > s_LargestDocument)
        loaded->error = std::make_error_code(std::errc::file_too_large).message();
    else if (result = loaded->root.load_buffer(document.data(), document.size(), s_ParseText); !result) {
        loaded = std::make_unique<Document>();
        loaded->error = DescribeError(document, result);
    }
    loaded->open.front().node = loaded->root;
    m_Document = std::move(loaded);
    return m_Document->error.empty();
}

bool AIStreamXML::Load(std::istream& stream)
{
    std::string document;
    std::vector<char> block(std::size_t{64} * 1024);
    while (stream && document.size() <= s_LargestDocument) {
        stream.read(block.data(), static_cast<std::streamsize>(block.size()));
        document.append(block.data(), static_cast<std::size_t>(stream.gcount()));
    }
    return LoadString(document);
}

bool AIStreamXML::Load(const std::wstring& fileName)
{
    const std::string name = KvText::ToUtf8(fileName);
    std::string document;
    try {
        CFile file;
        if (!file.Open(fileName, CFile::modeRead))
            throw std::system_error(file.GetError(), name + ": cannot open");
        if (file.GetBytesLeft() > s_LargestDocument)
            throw std::system_error(std::make_error_code(std::errc::file_too_large), name + ": cannot read");
        document.resize(static_cast<std::size_t>(file.GetBytesLeft()));
        document.resize(file.Read(document.data(), document.size()));
    } catch (const std::system_error& error) {
        m_Document = std::make_unique<Document>();
        m_Document->error = error.what();
        return false;
    }
    if (LoadString(document))
        return true;
    m_Document->error.insert(0, name + ": ");
    return false;
}

const std::string& AIStreamXML::GetError() const noexcept
{
    return m_Document->error;
}

bool AIStreamXML::Push(const std::wstring& name)
{
    const std::string element = KvText::ToUtf8(name);
    Document::Level& parent = m_Document->open.back();
    parent.used = true;
    pugi::xml_node child;
    if (const auto last = parent.last.find(element); last != parent.last.end())
        child = last->second.next_sibling(element.c_str());
    if (!child)
        child = parent.node.child(element.c_str());
    m_Document->open.push_back({child, false, {}});
    return static_cast<bool>(child);
}

void AIStreamXML::NodeValue(std::wstring& text) const
{
    const pugi::xml_node node = m_Document->Use();
    if (!node)
        return;
    std::string value;
    for (const pugi::xml_node child : node.children())
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata)
            value += child.value();
    text = KvText::FromUtf8(value);
}

void AIStreamXML::Attribute(const std::wstring& name, std::wstring& value) const
{
    const pugi::xml_attribute attribute = m_Document->Use().attribute(KvText::ToUtf8(name).c_str());
    if (attribute)
        value = KvText::FromUtf8(attribute.value());
}

void AIStreamXML::Pop()
{
    std::vector<Document::Level>& open = m_Document->open;
    if (open.size() == 1)
        return;
    const Document::Level left = std::move(open.back());
    open.pop_back();
    if (left.node && left.used)
        open.back().last[left.node.name()] = left.node;
}
} // namespace Kelvra
