#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "host/environment/HostErrors.h"
#include "host/read/ByteSource.h"
#include "host/read/TextForm.h"

// A text isn't in the encoding that it is read in, so it may be in another one.
struct EncodingError : DataError {
  using DataError::DataError;
};

// TextSource reads a text file as UTF-8, whatever its form: decompressed, decoded, a block at a time. A byte
// order mark of UTF-8 is left in; the one of UTF-16 is taken off.
//
// What isn't of the encoding (half of a pair of UTF-16, a last odd byte) becomes bytes that are invalid in
// UTF-8 too, so that the reader, who knows the line, refuses it.
//
// Use:       as any stream buffer, forward only. EndPiece() after each record or value.
// Failures:  those of ByteSource, and a DataError after a stop request, or when a piece of a compressed file is
//            longer than kMostPieceBytes: a small file can hold a text that is far larger than the memory.
// Cost:      memory for one block. A file that is plain UTF-8 is passed on unchanged.
class TextSource : public std::streambuf {
public:
  static constexpr std::int64_t kMostPieceBytes = std::int64_t{1} << 28;  // 256 MiB

  TextSource(std::string path, const TextForm& form);

  // Tells that what was read so far needn't be kept.
  void EndPiece() { fPiece = 0; }

  // Bytes of UTF-8 taken so far.
  std::int64_t Position() const { return fBefore + (gptr() - eback()); }

protected:
  int_type underflow() override;

private:
  void Decode(std::string_view bytes);
  void DecodeUnit(unsigned unit);
  void Put(char32_t c);

  std::string fPath;
  TextForm fForm;
  ByteSource fSource;
  std::vector<char> fRaw;    // a block of the file
  std::string fText;         // the same as UTF-8, if it has to be decoded
  std::int64_t fBefore = 0;  // bytes of UTF-8 before the current block
  std::int64_t fPiece = 0;   // bytes since EndPiece()
  // Of UTF-16: what the block before ended with.
  int fOddByte = -1;
  unsigned fFirstHalf = 0;  // of a pair; 0 for none
  bool fbAnyUnit = false;   // a byte order mark can only be the first unit
};
