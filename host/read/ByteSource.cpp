#include "host/read/ByteSource.h"

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <utility>

#include "host/environment/HostErrors.h"

namespace {
constexpr std::size_t kBlockBytes = 1 << 18;    // 256 KiB of the file a read
constexpr int kGzipWindow = 16 + MAX_WBITS;     // zlib's words for the gzip format with its largest window
constexpr std::size_t kLargestRead = 1u << 30;  // zlib counts in 32 bits
}  // namespace

// zlib's state of one file.
struct ByteSource::Inflater {
  Inflater() {
    if (inflateInit2(&stream, kGzipWindow) != Z_OK) throw std::bad_alloc();
  }
  ~Inflater() { inflateEnd(&stream); }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  z_stream stream{};
};

ByteSource::ByteSource(std::string path, bool isGzip) : fPath(std::move(path)) {
  if (fFile.open(fPath, std::ios::in | std::ios::binary) == nullptr) {
    throw DataError(fmt::format("{}: can't be opened", fPath));
  }
  if (!isGzip) return;
  fpInflater = std::make_unique<Inflater>();
  fCompressed.resize(kBlockBytes);
}

ByteSource::~ByteSource() = default;

std::size_t ByteSource::Read(char* bytes, std::size_t size) {
  return fpInflater == nullptr ? ReadFile(bytes, size) : Inflate(bytes, std::min(size, kLargestRead));
}

std::size_t ByteSource::ReadFile(char* bytes, std::size_t size) {
  return static_cast<std::size_t>(
      std::max(std::streamsize{0}, fFile.sgetn(bytes, static_cast<std::streamsize>(size))));
}

std::size_t ByteSource::Inflate(char* bytes, std::size_t size) {
  z_stream& stream = fpInflater->stream;
  stream.next_out = reinterpret_cast<Bytef*>(bytes);
  stream.avail_out = static_cast<uInt>(size);
  while (!fbAtEnd && stream.avail_out == size) {
    if (stream.avail_in == 0) {
      stream.next_in = reinterpret_cast<Bytef*>(fCompressed.data());
      stream.avail_in = static_cast<uInt>(ReadFile(fCompressed.data(), fCompressed.size()));
      if (stream.avail_in == 0) throw DataError(fmt::format("{}: the compressed data ends early", fPath));
    }
    const int status = inflate(&stream, Z_NO_FLUSH);
    if (status == Z_MEM_ERROR) throw std::bad_alloc();
    if (status == Z_STREAM_END) {
      EndPart();
    } else if (status != Z_OK) {
      throw DataError(fmt::format("{}: the compressed data is damaged", fPath));
    }
  }
  return size - stream.avail_out;
}

// The checksum of the part was right. Another part may follow, and nothing else.
void ByteSource::EndPart() {
  z_stream& stream = fpInflater->stream;
  if (stream.avail_in == 0) {
    stream.next_in = reinterpret_cast<Bytef*>(fCompressed.data());
    stream.avail_in = static_cast<uInt>(ReadFile(fCompressed.data(), fCompressed.size()));
  }
  fbAtEnd = stream.avail_in == 0;
  inflateReset(&stream);  // what is no header of a part is found to be damaged
}
