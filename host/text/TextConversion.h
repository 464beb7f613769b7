#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Conversion between the host's generic text, which is UTF-8, and UTF-16, and its upper-casing and trimming.
// Text from outside may hold anything: a byte that belongs to no UTF-8 character, or a surrogate without its
// partner, is converted to U+FFFD.

// A converter for generic text.
struct KORVMBConverter;

// Makes a converter and releases it. The argument is the encoding; 0, generic text, is the only one.
KORVMBConverter* KORVMBConverterNew_A(int encoding);
void KORVMBConverterDelete_A(KORVMBConverter* converter);

// Converts `in` to `out`. Both answer 0 on success; a text of more than 2^29 units isn't converted, and
// leaves `out` empty. REQUIRES: converter isn't null.
int KORVMBGenericToU16(KORVMBConverter* converter, std::u16string& out, const std::string& in);
int KORVMBU16ToGeneric(KORVMBConverter* converter, std::string& out, const std::u16string& in);

// A new buffer with `text` in UTF-16, closed by a null; the caller releases it with KORVMBRelease.
char16_t* KORVMBTranscodeGeneric(const std::string& text);
void KORVMBRelease(char16_t* buffer);

// Upper-cases `text` in place, as GetUpperString does.
void KORVMBstrupr_A(std::string& text);

// Takes blanks and tabs from both ends of `text`.
void KORVMBstrtrim_A(std::string& text);

// Where the character begins that holds byte `offset`; a byte that belongs to no character stands for itself.
// An offset at or behind the end gives the text's length.
std::size_t KORVMBFindStart_A(const std::string& text, std::size_t offset);

// The place of the first byte that is no UTF-8; npos when all of the text is.
std::size_t FindInvalidUtf8(std::string_view text);
