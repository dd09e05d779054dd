#include <LumvoData/LumvoData.h>
#include <Tests/Fuzz/FuzzFolder.h>

#include <cstdint>
#include <string>
#include <string_view>

using namespace Kelvra;

namespace {

template <class T> std::string ToXml(T& object)
{
    AOStreamXML stream;
    object.Serialize(stream);
    return stream.ToString();
}

/// An object that was read from a document is written as a document that is read as the same object.
template <class T> void TestRoundTrip(std::string_view document)
{
    AIStreamXML stream;
    T object;
    if (stream.LoadString(document)) {
        Fuzz::Require(stream.GetError().empty(), "a document that was read has no error");
        object.Serialize(stream);
    } else
        Fuzz::Require(!stream.GetError().empty(), "a document that cannot be read says why");
    const std::string first = ToXml(object);
    AIStreamXML again;
    Fuzz::Require(again.LoadString(first), again.GetError());
    T copy;
    copy.Serialize(again);
    Fuzz::Require(ToXml(copy) == first, first);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const KvAssertScope quiet([](const KvReport&) {});
    const std::string_view document(reinterpret_cast<const char*>(data), size);
    TestRoundTrip<AMaterial>(document);
    TestRoundTrip<ATexture>(document);
    return 0;
}
