#pragma once

#include <string>

// How the bytes of a text file make a text. The contents decide, never the name.
//
//   gzip           the first two bytes, 1F 8B. What is decompressed may be in any of the encodings.
//   UTF-16         a byte order mark; or else its look: see FindTextForm().
//   Windows-1252   a superset of Latin-1. No mark tells it, so a file is read as UTF-8 until a byte isn't: see
//                  IsWindows1252().
//   UTF-8          everything else.
enum class TextEncoding { kUtf8, kUtf16LittleEndian, kUtf16BigEndian, kWindows1252 };

struct TextForm {
  bool isGzip = false;
  TextEncoding encoding = TextEncoding::kUtf8;

  bool operator==(const TextForm&) const = default;
};

// The form by the first bytes of a file, which never gives Windows-1252. Text without a byte order mark is
// UTF-16 if, in its first 64 KiB, zeros are only the upper bytes of units, at least one unit in four has one (as
// delimiters and digits have in any script), one of these is a line end or the bracket that begins JSON, and no
// unit is a control character or half of a pair.
// Errors: DataError, also if the file can't be read.
TextForm FindTextForm(const std::string& path);

// Whether a text that isn't UTF-8 may be taken for Windows-1252. It mustn't have control characters but tab,
// line feed, form feed and carriage return, nor any of the five bytes that mean nothing in Windows-1252. And
// it mustn't look like UTF-8 that was damaged: for each character of several bytes that is right in UTF-8 it
// has at least ten bytes that are wrong there. (Some are right by chance, such as a capital É before a closing
// quotation mark.) Reads the whole file. Errors: as FindTextForm(), and after a stop request.
bool IsWindows1252(const std::string& path, bool isGzip);

// One line for the user: "frame.csv: the file is compressed by gzip; its text is in UTF-16". Empty for plain
// UTF-8.
std::string TextFormRemark(const std::string& path, const TextForm& form);

// "UTF-8", "UTF-16", "Windows-1252".
const char* EncodingName(TextEncoding encoding);
