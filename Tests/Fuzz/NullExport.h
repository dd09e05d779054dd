#pragma once

#include <Formats/Support/ExportService.h>
#include <Formats/Support/FormatListener.h>
#include <Tests/Fuzz/FuzzFolder.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Fuzz {

/// Counts what readers tell, and keeps images.
struct Listener : Formats::FormatListener
{
    void OnError(const std::filesystem::path&, const Formats::FormatError& error) override
    {
        ++errors;
        Require(error.what()[0] != '\0', "an error says what is wrong");
    }
    void OnLoss(const std::filesystem::path&, const std::string&, std::uint64_t) override {}
    void OnProgress(const std::filesystem::path&, std::uint64_t done, std::uint64_t total) override
    {
        Require(done <= total, "progress goes up to its end");
    }
    std::wstring OnImage(const std::filesystem::path&, const std::wstring& name, std::string_view) override
    {
        return name;
    }

    int errors = 0;
};

/// Writes nowhere.
class NullExport : public Formats::Export
{
public:
    using Export::Export;
    Formats::OutputStream& Open(const std::filesystem::path&) override { return m_Stream; }

private:
    struct Stream : Formats::OutputStream
    {
        void Write(const void*, std::size_t) override {}
    } m_Stream;
};

/// Writes a scene in a format, where there is a writer of it, to nowhere.
inline void WriteNowhere(const std::wstring& format, const Formats::Roots& roots, const std::filesystem::path& path)
{
    const auto writer = Formats::ExportServiceManager::Instance().GetObject(format);
    if (writer == nullptr)
        return;
    NullExport job(roots, path);
    try {
        writer->Write(job);
    } catch (const Formats::FormatError& error) { // what the format has no place for
        Require(error.what()[0] != '\0', "an error says what is wrong");
    }
}
} // namespace Fuzz
