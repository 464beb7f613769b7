#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Conversion between UTF-8, the host's only encoding for text, and UTF-16, which the XML parser uses; and the
// few operations on UTF-8 text that the host's interface offers. Names that start with KORVMB are part of
// that interface.
//
// Input may be any bytes: an invalid UTF-8 sequence or an unpaired surrogate becomes U+FFFD. Conversion fails
// only for texts longer than 2^29 units, and then `out` is empty and the result nonzero.

// The handle of a converter. It has no state: one may be shared between texts and directions.
struct KORVMBConverter;

// Creates and destroys a converter. `encoding` is always 0, which means UTF-8.
KORVMBConverter* KORVMBConverterNew_A(int encoding);
void KORVMBConverterDelete_A(KORVMBConverter* converter);

// 0 on success. REQUIRES: converter is not null.
int KORVMBGenericToU16(KORVMBConverter* converter, std::u16string& out, const std::string& in);
int KORVMBU16ToGeneric(KORVMBConverter* converter, std::string& out, const std::u16string& in);

// `text` as null-terminated UTF-16 in a new buffer; free it with KORVMBRelease. Never null: a text that is
// too long gives an empty string.
char16_t* KORVMBTranscodeGeneric(const std::string& text);
void KORVMBRelease(char16_t* buffer);

// Converts `text` to upper case in place. Same rules as GetUpperString.
void KORVMBstrupr_A(std::string& text);

// Removes blanks and tabs, but no other white space, from both ends of `text`.
void KORVMBstrtrim_A(std::string& text);

// Start of the character that byte `offset` belongs to: the place to cut a text so that no character is
// split. An invalid byte counts as a character of its own. An offset past the end gives the length of the
// text.
std::size_t KORVMBFindStart_A(const std::string& text, std::size_t offset);

// Offset of the first byte that isn't valid UTF-8; npos when all of `text` is valid.
std::size_t FindInvalidUtf8(std::string_view text);
