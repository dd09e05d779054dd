#pragma once

#include <LumvoData/Contracts/KelvraData/AIStreamXML.h>
#include <LumvoData/Contracts/KelvraData/AOStreamXML.h>
#include <LumvoData/Contracts/KelvraMath/ColourValue.h>
#include <LumvoData/Contracts/KelvraService/KvAssert.h>
#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <string>

namespace Kelvra {

/// The text of a field's value, the same for every type: numbers as a wide stream of the classic locale
/// formats them by default (six significant digits), colours as r, g, b, a with a space between them,
/// flags as 1 or 0, strings as they are.
///
/// Reading extracts numbers the same way, and NaN and infinities as streams and other writers spell them: "nan", "inf"
/// and "infinity" in any case, with or without a sign. A number that is not well formed leaves a float or a flag as it
/// was, and a colour's components from that one on at 1, the start of each; strings take the whole text.
class KELVRADATA_API AFieldText
{
public:
    static std::wstring TypeName(const AMath::ColourValue&) { return L"ColorValue"; }
    static std::wstring TypeName(float) { return L"float"; }
    static std::wstring TypeName(bool) { return L"bool"; }
    static std::wstring TypeName(const std::wstring&) { return L"AString"; }

    static std::wstring Format(const AMath::ColourValue& value);
    static std::wstring Format(float value);
    static std::wstring Format(bool value);
    static std::wstring Format(const std::wstring& value) { return value; }

    static void Parse(const std::wstring& text, AMath::ColourValue& value);
    static void Parse(const std::wstring& text, float& value);
    static void Parse(const std::wstring& text, bool& value);
    static void Parse(const std::wstring& text, std::wstring& value) { value = text; }
};

/// Writes or reads one field of an object as an element: its key, its text and the attribute "type".
class ASerializationImpl
{
public:
    /// Writes a field.
    template <class T> static void Field(AOStreamXML& stream, const std::wstring& key, const T* field)
    {
        if (!IsPresent(field))
            return;
        if (stream.Push(key)) {
            stream.NodeValue(AFieldText::Format(*field));
            stream.Attribute(L"type", AFieldText::TypeName(*field));
        }
        stream.Pop();
    }

    /// Reads a field; without its element it keeps its value. The type that the element names is not compared
    /// with the field's.
    template <class T> static void Field(AIStreamXML& stream, const std::wstring& key, T* field)
    {
        if (!IsPresent(field))
            return;
        if (stream.Push(key)) {
            std::wstring text;
            stream.NodeValue(text);
            AFieldText::Parse(text, *field);
            std::wstring type = AFieldText::TypeName(*field);
            stream.Attribute(L"type", type);
        }
        stream.Pop();
    }

private:
    static constexpr const char* s_Source = "Serialize/ASerializationImpl";
    static constexpr int s_NullField = 126;

    static bool IsPresent(const void* field)
    {
        return KvAssert::Assert(field != nullptr, "Serialize meets NULL pointer", s_Source, s_NullField);
    }
};
} // namespace Kelvra
