#include <LumvoData/Serialize/ASceneSerializeContext.h>

#include <LumvoData/Contracts/Host/CFile.h>
#include <LumvoData/Contracts/KelvraService/KvText.h>
#include <LumvoData/Serialize/ASceneElements.h>
#include <LumvoData/Serialize/ASceneFieldVisitor.h>
#include <LumvoData/Serialize/ASceneReports.h>

#include <stdexcept>

namespace Kelvra {
namespace {

constexpr std::size_t s_ShortText = 32; // code units
} // namespace

ASceneSerializeContext::ASceneSerializeContext(const std::wstring& fileName, bool storing)
    : m_bStoring(storing), m_szFileName(fileName), m_File(std::make_unique<CFile>())
{}

ASceneSerializeContext::ASceneSerializeContext(ASceneFieldVisitor& visitor)
    : m_Collector(&visitor), m_bStoring(true), m_File(std::make_unique<CFile>())
{}

ASceneSerializeContext::~ASceneSerializeContext() = default;

bool ASceneSerializeContext::Begin()
{
    m_Collector.Begin();
    if (!m_File->Open(m_szFileName, m_bStoring ? CFile::modeCreate | CFile::modeWrite : CFile::modeRead))
        return false;
    m_bFromFile = !m_bStoring;
    if (m_File->GetBytesLeft() > m_Limits.fileBytes) {
        m_File->Close();
        m_TooLarge = std::make_error_code(std::errc::file_too_large);
        return false;
    }
    return TransferHeader();
}

bool ASceneSerializeContext::BeginWithoutFile()
{
    m_Collector.Begin();
    return TransferHeader();
}

bool ASceneSerializeContext::TransferHeader()
{
    static_assert(sizeof(Header) == 8, "the header is the first 8 bytes of the file");
    if (m_bStoring) {
        m_Header = {FileIdentifier, FormatVersion};
        Write(&m_Header, static_cast<int>(sizeof m_Header));
        return true;
    }
    Read(&m_Header, static_cast<int>(sizeof m_Header));
    // An override may have supplied the header from elsewhere, or from any number of the file's bytes.
    const std::uint64_t taken = m_File->GetPosition();
    const bool cut = taken > 0 && taken < sizeof m_Header && m_File->GetBytesLeft() == 0;
    m_bFromFile = taken == sizeof m_Header;
    return m_Header.identifier == FileIdentifier && !cut;
}

void ASceneSerializeContext::End()
{
    m_Collector.End();
    m_ClassName = {};
    m_CodeUnits = {};
    m_File->Close();
}

void ASceneSerializeContext::Write(const std::wstring& text)
{
    char16_t units[s_ShortText];
    if (text.size() <= s_ShortText && KvText::ToUtf16Units(text, units))
        return WriteElements(units, text.size(), *this);
    KvText::ToUtf16(text, m_CodeUnits);
    WriteElements(m_CodeUnits.data(), m_CodeUnits.size(), *this);
}

void ASceneSerializeContext::Write(const void* data, int count)
{
    if (count <= 0)
        return;
    if (ASceneFieldVisitor* const visitor = GetFieldVisitor(); visitor != nullptr)
        return visitor->OnBytes(data, static_cast<std::size_t>(count));
    m_File->Write(data, static_cast<std::size_t>(count));
}

void ASceneSerializeContext::Read(std::wstring& text)
{
    std::int32_t count = 0;
    Read(&count, static_cast<int>(sizeof count));
    if (count <= 0)
        return;
    const auto size = static_cast<std::size_t>(count);
    const std::size_t bytes = size * sizeof(char16_t);
    if (text.empty() && size <= s_ShortText && bytes <= m_Limits.blockBytes) {
        char16_t units[s_ShortText] = {};
        Read(units, static_cast<int>(bytes));
        return KvText::FromUtf16({units, size}, text);
    }
    std::u16string units;
    KvText::ToUtf16(text, units); // what stays where the file ends first
    ReadElements(units, count, *this);
    // A name of megabytes is not held twice to report it.
    text.reserve(&text == &m_ClassName ? size + SceneReports::LongestMessage : size);
    KvText::FromUtf16(units, text);
}

void ASceneSerializeContext::Read(void* data, int count)
{
    if (count > 0)
        m_File->Read(data, static_cast<std::size_t>(count));
}

std::uint64_t ASceneSerializeContext::GetBytesLeft() const noexcept
{
    return m_bFromFile ? m_File->GetBytesLeft() : 0;
}

std::uint64_t ASceneSerializeContext::GetPosition() const noexcept
{
    return m_File->GetPosition();
}

const std::error_code& ASceneSerializeContext::GetError() const noexcept
{
    return m_TooLarge ? m_TooLarge : m_File->GetError();
}

void ASceneSerializeContext::FailTooManyObjects() const
{
    throw std::length_error("more than " + std::to_string(m_Limits.objects) +
                            " objects, the limit of this load, at byte " + std::to_string(GetPosition()));
}
} // namespace Kelvra
