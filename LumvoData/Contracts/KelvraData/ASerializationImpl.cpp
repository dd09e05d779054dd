#include <LumvoData/Contracts/KelvraData/ASerializationImpl.h>

#include <locale>
#include <sstream>

namespace Kelvra {
namespace {

// The process's locale may write a comma in numbers; files are the same everywhere.
template <class Stream> Stream& Classic(Stream& stream)
{
    stream.imbue(std::locale::classic());
    return stream;
}

template <class... Values> std::wstring Join(const Values&... values)
{
    std::wostringstream stream;
    Classic(stream);
    const wchar_t* separator = L"";
    ((stream << separator << values, separator = L" "), ...);
    return stream.str();
}

/// Reads numbers until one is not well formed; that one and the rest keep their values.
template <class... Values> void Extract(const std::wstring& text, Values&... values)
{
    std::wistringstream stream(text);
    Classic(stream);
    const auto extract = [&](auto& value) {
        auto number = value;
        if (stream >> number)
            value = number;
    };
    (extract(values), ...);
}
} // namespace

std::wstring AFieldText::Format(const AMath::ColourValue& value)
{
    return Join(value.r, value.g, value.b, value.a);
}

std::wstring AFieldText::Format(float value)
{
    return Join(value);
}

std::wstring AFieldText::Format(bool value)
{
    return Join(value);
}

void AFieldText::Parse(const std::wstring& text, AMath::ColourValue& value)
{
    value = AMath::ColourValue(1, 1, 1, 1);
    Extract(text, value.r, value.g, value.b, value.a);
}

void AFieldText::Parse(const std::wstring& text, float& value)
{
    Extract(text, value);
}

void AFieldText::Parse(const std::wstring& text, bool& value)
{
    Extract(text, value);
}
} // namespace Kelvra
