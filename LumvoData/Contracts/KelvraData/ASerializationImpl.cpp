#include <LumvoData/Contracts/KelvraData/ASerializationImpl.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <type_traits>

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

/// Extracts NaN or an infinity, which streams write but do not read; otherwise the stream fails.
void ExtractNonFinite(std::wistream& stream, float& value)
{
    std::wstring word;
    stream >> word;
    std::transform(word.begin(), word.end(), word.begin(),
                   [](wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; });
    const float sign = !word.empty() && word.front() == L'-' ? -1.0F : 1.0F;
    if (!word.empty() && (word.front() == L'-' || word.front() == L'+'))
        word.erase(0, 1);
    if (word == L"inf" || word == L"infinity")
        value = std::copysign(std::numeric_limits<float>::infinity(), sign);
    else if (word == L"nan" || word.rfind(L"nan(", 0) == 0) // some add a kind: nan(ind)
        value = std::copysign(std::numeric_limits<float>::quiet_NaN(), sign);
    else
        stream.setstate(std::ios::failbit);
}

template <class Value> void ExtractNumber(std::wistream& stream, Value& value)
{
    const std::wistream::pos_type start = stream.tellg(); // -1 at the end and after a number that is not well formed
    Value number = value;
    if (stream >> number)
        value = number;
    else if constexpr (std::is_same_v<Value, float>)
        if (start != std::wistream::pos_type(-1)) {
            stream.clear();
            stream.seekg(start);
            ExtractNonFinite(stream, value);
        }
}

/// Reads numbers until one is not well formed; that one and the rest keep their values.
template <class... Values> void Extract(const std::wstring& text, Values&... values)
{
    std::wistringstream stream(text);
    Classic(stream);
    (ExtractNumber(stream, values), ...);
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
