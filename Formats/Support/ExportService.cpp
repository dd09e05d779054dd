#include <Formats/Support/ExportService.h>

#include <Formats/Support/FormatListener.h>

#include <algorithm>
#include <utility>

namespace Formats {

OutputStream::~OutputStream() = default;
Export::~Export() = default;

std::filesystem::path Export::ReserveCompanion(const std::filesystem::path& wanted, const Mention& /*mention*/)
{
    return wanted;
}

void Export::Progress(std::uint64_t done, std::uint64_t total)
{
    m_Done = std::clamp(done, m_Done, std::max(m_Done, total));
    FormatListener::Current().OnProgress(m_File, m_Done, total);
}

ExportService::ExportService(std::wstring name, std::wstring title, std::wstring fileFilter, Writer writer)
    : m_Name(std::move(name)), m_Title(std::move(title)), m_FileFilter(std::move(fileFilter)),
      m_Writer(std::move(writer))
{}

void ExportService::Write(Export& job) const
{
    m_Writer(job);
    job.TellLosses();
}

ExportServiceManager& ExportServiceManager::Instance()
{
    static ExportServiceManager manager;
    return manager;
}

ExportRegistration::ExportRegistration(const std::wstring& name, const std::wstring& title,
                                       const std::wstring& fileFilter, ExportService::Writer writer)
    : m_Name(name), m_Added(ExportServiceManager::Instance().AddObject(
                        std::make_shared<ExportService>(name, title, fileFilter, std::move(writer))))
{}

ExportRegistration::~ExportRegistration()
{
    if (m_Added)
        ExportServiceManager::Instance().RemoveObject(m_Name);
}
} // namespace Formats
