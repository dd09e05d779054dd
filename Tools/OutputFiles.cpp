#include <Tools/OutputFiles.h>

#include <Tools/FileError.h>
#include <Tools/Output.h>

#include <LumvoData/Contracts/KelvraService/KvText.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

namespace Lumvo {
namespace {

using namespace Kelvra;
namespace fs = std::filesystem;

constexpr std::size_t s_MaxNameBytes = 255;  // on most systems
constexpr std::size_t s_MaxStemBytes = 100;  // of the main file, in an image's name
constexpr std::size_t s_MaxImageBytes = 120; // of an image's own name
constexpr std::size_t s_MaxOpenFiles = 16;
constexpr int s_MaxCompanions = 1000; // of a kind, looked through for the old one

bool ContinuesCharacter(char byte) noexcept
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The first bytes of UTF-8 text, without the part of a character.
std::string First(std::string text, std::size_t maxBytes)
{
    if (text.size() <= maxBytes)
        return text;
    while (maxBytes > 0 && ContinuesCharacter(text[maxBytes]))
        --maxBytes;
    return text.substr(0, maxBytes);
}

std::string Last(std::string text, std::size_t maxBytes)
{
    if (text.size() <= maxBytes)
        return text;
    std::size_t start = text.size() - maxBytes;
    while (start < text.size() && ContinuesCharacter(text[start]))
        ++start;
    return text.substr(start);
}

/// The wanted name for number 1, otherwise with the number at the end of its stem.
fs::path Numbered(const fs::path& wanted, int number)
{
    if (number == 1)
        return wanted;
    const std::string end = "-" + std::to_string(number) + wanted.extension().string();
    const std::size_t left = s_MaxNameBytes - std::min(s_MaxNameBytes, end.size());
    return wanted.parent_path() / (First(wanted.stem().string(), left) + end);
}

bool Contains(const fs::path& file, const std::string& text)
{
    static constexpr std::size_t s_BlockSize = std::size_t{1} << 20;
    std::ifstream stream(file, std::ios::binary);
    std::string block;
    while (stream) {
        const std::size_t overlap = std::min(block.size(), text.size() - 1);
        block.erase(0, block.size() - overlap);
        block.resize(overlap + s_BlockSize);
        stream.read(&block[overlap], s_BlockSize);
        block.resize(overlap + static_cast<std::size_t>(stream.gcount()));
        if (block.find(text) != std::string::npos)
            return true;
    }
    return false;
}

bool HoldsExactly(const fs::path& file, std::string_view bytes)
{
    std::error_code error;
    if (fs::file_size(file, error) != bytes.size() || error)
        return false;
    std::ifstream stream(file, std::ios::binary);
    return stream && std::equal(bytes.begin(), bytes.end(), std::istreambuf_iterator<char>(stream),
                                std::istreambuf_iterator<char>());
}

/// A name that means a file in the folder where it is used, whatever the model called it.
std::string SanitizeFileName(std::wstring name)
{
    for (wchar_t& letter : name)
        if (letter < L' ' || letter == 0x7F ||
            std::wstring_view(L"/\\:*?\"<>|").find(letter) != std::wstring_view::npos)
            letter = L'_';
    return Last(KvText::ToUtf8(name), s_MaxImageBytes); // the extension is at the end
}
} // namespace

OutputFile& OutputFiles::Add(std::unique_ptr<OutputFile> companion)
{
    m_Beside.push_back(companion->GetFile());
    m_Companions.made.push_back(std::move(companion));
    return *m_Companions.made.back();
}

OutputFile& OutputFiles::MakeCompanion(const fs::path& wanted, const Formats::Export::Mention& mention)
{
    m_Wanted.emplace_back(wanted, mention);
    for (int number = 1;; ++number)
        if (auto made = m_Main.Reserve(Numbered(wanted, number)))
            return Add(std::move(made));
}

std::vector<fs::path> OutputFiles::FindOld() const
{
    std::vector<fs::path> old;
    std::error_code error;
    if (!fs::is_regular_file(m_Main.GetFile(), error))
        return old;
    for (const auto& [wanted, mention] : m_Wanted)
        for (int number = 1; number <= s_MaxCompanions; ++number) {
            const fs::path file = Numbered(wanted, number);
            if (fs::is_regular_file(fs::symlink_status(file, error)) &&
                Contains(m_Main.GetFile(), mention(file.filename()))) {
                old.push_back(file);
                break;
            }
        }
    return old;
}

void OutputFiles::Commit()
{
    m_Companions.findOld = [this] { return FindOld(); };
    m_Main.Commit(m_Companions);
}

std::wstring OutputFiles::KeepImage(const std::wstring& name, std::string_view bytes)
{
    const fs::path& main = m_Main.GetFile();
    if (m_Images++ == MaxImages)
        throw FileError(ExitCannotWrite, main, std::nullopt,
                        "would need more than " + Show(std::uint64_t{MaxImages}) + " image files",
                        "Convert without --images, or divide the model.");
    const fs::path wanted =
        main.parent_path() / (First(main.stem().string(), s_MaxStemBytes) + "-" + SanitizeFileName(name));
    int& number = m_Numbers[wanted.string()];
    for (;;) {
        const fs::path file = Numbered(wanted, ++number);
        if (HoldsExactly(file, bytes)) {
            m_Companions.reused.push_back(file);
            m_Beside.push_back(file);
        } else if (auto made = m_Main.Reserve(file))
            try {
                made->Formats::OutputStream::Write(bytes);
                m_Companions.made.size() < s_MaxOpenFiles ? made->Flush() : made->Close();
                Add(std::move(made));
            } catch (const std::system_error& error) {
                FailToWrite(file, error.code());
            }
        else
            continue;
        return KvText::FromPath(file.filename());
    }
}
} // namespace Lumvo
