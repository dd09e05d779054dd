#include <LumvoData/LumvoData.h>
#include <Tests/Fuzz/NullExport.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

using namespace Kelvra;

namespace {

/// Calls a service as a program does: it answers with an object, or with an error and none.
template <class Service> auto Load(Service& service, const std::wstring& file, Fuzz::Listener& listener)
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

    Fuzz::Listener listener;
    const Formats::FormatListenerScope scope(listener);
    const std::wstring file = KvText::FromPath(path);
    const auto mesh = Load(*TSingleton<AMeshFileServiceManager>::Instance().GetObject(s_Format), file, listener);
    const auto scene = Load(*TSingleton<ASceneFileServiceManager>::Instance().GetObject(s_Format), file, listener);
    if (scene != nullptr)
        Fuzz::WriteNowhere(s_Format, {scene}, path);
    return 0;
}
