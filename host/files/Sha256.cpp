#include "host/files/Sha256.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <vector>

#include "host/environment/MCStopProcessor.h"
#include "host/files/FileDescriptor.h"

// Names and steps are those of the standard.

namespace {

constexpr std::size_t kPieceBytes = 1 << 18;
constexpr std::size_t kLengthBytes = 8;  // of the length at the end of the padding

// Section 4.2.2: the first 32 bits of the fractional parts of the cube roots of the first 64 primes.
constexpr std::uint32_t kK[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

std::uint32_t BigEndian(const unsigned char* bytes) {
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
         bytes[3];
}

// Section 4.1.2, formulas 4.2 to 4.7.
std::uint32_t Choose(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return (x & y) ^ (~x & z);
}
std::uint32_t Majority(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return (x & y) ^ (x & z) ^ (y & z);
}
std::uint32_t BigSigma0(std::uint32_t x) {
  return std::rotr(x, 2) ^ std::rotr(x, 13) ^ std::rotr(x, 22);
}
std::uint32_t BigSigma1(std::uint32_t x) {
  return std::rotr(x, 6) ^ std::rotr(x, 11) ^ std::rotr(x, 25);
}
std::uint32_t SmallSigma0(std::uint32_t x) {
  return std::rotr(x, 7) ^ std::rotr(x, 18) ^ (x >> 3);
}
std::uint32_t SmallSigma1(std::uint32_t x) {
  return std::rotr(x, 17) ^ std::rotr(x, 19) ^ (x >> 10);
}

}  // namespace

// Section 6.2.2. Steps 2 to 4 work on a copy of the state, a to h.
void Sha256::Mix(const unsigned char* block) {
  std::uint32_t w[64];  // step 1: the message schedule
  for (std::size_t t = 0; t < 16; ++t) w[t] = BigEndian(block + 4 * t);
  for (std::size_t t = 16; t < 64; ++t)
    w[t] = SmallSigma1(w[t - 2]) + w[t - 7] + SmallSigma0(w[t - 15]) + w[t - 16];
  auto [a, b, c, d, e, f, g, h] = fState;
  for (std::size_t t = 0; t < 64; ++t) {
    const std::uint32_t t1 = h + BigSigma1(e) + Choose(e, f, g) + kK[t] + w[t];
    const std::uint32_t t2 = BigSigma0(a) + Majority(a, b, c);
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  const std::uint32_t worked[] = {a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < fState.size(); ++i) fState[i] += worked[i];
}

// Whole blocks are mixed in where they are; only what is left over is copied.
void Sha256::Add(std::string_view bytes) {
  fBytes += bytes.size();
  while (!bytes.empty()) {
    if (fFilled == 0 && bytes.size() >= kBlockBytes) {
      Mix(reinterpret_cast<const unsigned char*>(bytes.data()));
      bytes.remove_prefix(kBlockBytes);
      continue;
    }
    const std::size_t taken = std::min(kBlockBytes - fFilled, bytes.size());
    std::copy_n(bytes.begin(), taken, fBlock.begin() + fFilled);
    bytes.remove_prefix(taken);
    fFilled += taken;
    if (fFilled < kBlockBytes) return;
    Mix(fBlock.data());
    fFilled = 0;
  }
}

// Section 5.1.1: a bit 1, zeros up to the last 8 bytes of a block, and there the length in bits.
std::string Sha256::Hex() {
  const std::uint64_t bits = fBytes * 8;
  std::string padding(1, '\x80');
  const std::size_t filled = (fFilled + 1 + kLengthBytes) % kBlockBytes;
  padding.append((kBlockBytes - filled) % kBlockBytes, '\0');
  for (int shift = 56; shift >= 0; shift -= 8) padding += static_cast<char>(bits >> shift & 0xff);
  Add(padding);
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string hex;
  for (const std::uint32_t word : fState) {
    for (int shift = 28; shift >= 0; shift -= 4) hex += kDigits[word >> shift & 0xf];
  }
  return hex;
}

std::optional<std::string> Sha256OfFile(const std::string& path) {
  const FileDescriptor file(path, O_RDONLY | O_NONBLOCK);  // a pipe put in the file's place must not block
  if (!file.IsOpen()) return std::nullopt;
  Sha256 sum;
  std::vector<char> piece(kPieceBytes);
  while (!StopRequested()) {
    const ssize_t bytes = read(file.Get(), piece.data(), piece.size());
    if (bytes < 0 && errno == EINTR) continue;
    if (bytes < 0) return std::nullopt;
    if (bytes == 0) return sum.Hex();
    sum.Add({piece.data(), static_cast<std::size_t>(bytes)});
  }
  return std::nullopt;
}
