#pragma once

#include <LumvoData/Contracts/KelvraService/KvExport.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

/// Conversions of wide strings. A wide string holds UTF-32 where `wchar_t` has 4 bytes and UTF-16 where it
/// has 2; every function accepts any content and none of them reports an error.
namespace Kelvra::KvText {

/// Puts the UTF-16 code units of `text` into `units`, replacing what it held.
///
/// Characters beyond U+FFFF become surrogate pairs, a lone surrogate stays the unit it is, and a value that
/// is no character at all (above U+10FFFF) becomes U+FFFD.
KELVRASERVICE_API void ToUtf16(std::wstring_view text, std::u16string& units);

/// Puts the characters of `units` into `text`, replacing what it held.
///
/// Where `wchar_t` has 4 bytes a surrogate pair becomes one character; a lone surrogate stays as it is, so
/// that ToUtf16 gives the same units back.
KELVRASERVICE_API void FromUtf16(std::u16string_view units, std::wstring& text);

/// ToUtf16 for text of which each character takes one unit, as almost all does, into memory that has room for as many.
/// \returns false, with units that mean nothing, where there are other characters.
[[nodiscard]] KELVRASERVICE_API bool ToUtf16Units(std::wstring_view text, char16_t* units) noexcept;

/// The characters of `text`: surrogate pairs become one character each, an unpaired surrogate stays as it is.
[[nodiscard]] KELVRASERVICE_API std::u32string ToUtf32(std::wstring_view text);

/// The text in UTF-8, always well formed: a surrogate without its partner becomes U+FFFD.
[[nodiscard]] KELVRASERVICE_API std::string ToUtf8(std::wstring_view text);

/// The text of UTF-8 bytes; each byte that fits no character becomes U+FFFD.
[[nodiscard]] KELVRASERVICE_API std::wstring FromUtf8(std::string_view bytes);

/// The path that a wide file name means. On POSIX systems names are bytes: UTF-8, and the lone surrogates
/// U+DC80 to U+DCFF that FromPath leaves for bytes which are no UTF-8.
[[nodiscard]] KELVRASERVICE_API std::filesystem::path ToPath(std::wstring_view fileName);

/// The wide file name of a path; ToPath gives exactly the same path back.
[[nodiscard]] KELVRASERVICE_API std::wstring FromPath(const std::filesystem::path& path);

/// The text in UTF-8, fit for a terminal or a log line: control characters, those that change the direction of
/// writing, lone surrogates and noncharacters appear as `\xHHHH`, and of a text longer than `limit` characters the
/// first `limit` and the full length are shown.
[[nodiscard]] KELVRASERVICE_API std::string Printable(std::wstring_view text, std::size_t limit);
} // namespace Kelvra::KvText
