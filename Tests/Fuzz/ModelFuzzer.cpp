#include <Formats/Support/ExportService.h>
#include <Formats/Support/FormatListener.h>
#include <LumvoData/LumvoData.h>
#include <Tests/Fuzz/FuzzFolder.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using namespace Kelvra;

namespace {

/// Counts what readers tell, and keeps images.
struct Listener : Formats::FormatListener
{
    void OnError(const std::filesystem::path&, const Formats::FormatError& error) override
    {
        ++errors;
        Fuzz::Require(error.what()[0] != '\0', "an error says what is wrong");
    }
    void OnLoss(const std::filesystem::path&, const std::string&, std::uint64_t) override {}
    void OnProgress(const std::filesystem::path&, std::uint64_t done, std::uint64_t total) override
    {
        Fuzz::Require(done <= total, "progress goes up to its end");
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

/// Calls a service as a program does: it answers with an object, or with an error and none.
template <class Service> auto Load(Service& service, const std::wstring& file, Listener& listener)
{
    listener.errors = 0;
    const auto object = service.LoadFile(file);
    service.ForgetFile(file);
    Fuzz::Require((object == nullptr) == (listener.errors == 1), "an object or one error");
    return object;
}
} // namespace

// A model; behind a mark, in the same input, may stand another file that it refers to.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::string s_Mark = "\n#### beside";
    static const std::wstring s_Format = L"" FUZZED_FORMAT;
    const auto path = Fuzz::PathOf("test." FUZZED_FORMAT);
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t mark = std::min(input.find(s_Mark), size);
    Fuzz::PutFile(path, data, mark);
    Fuzz::PutFile(Fuzz::PathOf("beside"), data + mark, size - mark);

    Listener listener;
    const Formats::FormatListenerScope scope(listener);
    const std::wstring file = KvText::FromPath(path);
    const auto mesh = Load(*TSingleton<AMeshFileServiceManager>::Instance().GetObject(s_Format), file, listener);
    const auto scene = Load(*TSingleton<ASceneFileServiceManager>::Instance().GetObject(s_Format), file, listener);
    const auto writer = Formats::ExportServiceManager::Instance().GetObject(s_Format);
    if (scene == nullptr || writer == nullptr)
        return 0;
    const Formats::Roots roots = {scene};
    NullExport job(roots, path);
    try {
        writer->Write(job);
    } catch (const Formats::FormatError&) { // what the format has no place for
    }
    return 0;
}
