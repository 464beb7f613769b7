#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Sha256 computes the checksum by which a file can be recognised later, as `sha256sum` prints it.
//
// Source:     [FIPS180-4] in docs/BIBLIOGRAPHY.md, sections 4.1.2, 4.2.2, 5.1.1, 5.3.3 and 6.2.
// Use:        Add() any number of times, Hex() once.
// Cost:       about 3 s of processor time for 1 GB; memory for one block.
class Sha256 {
public:
  void Add(std::string_view bytes);
  // The checksum in 64 hexadecimal digits, in lower case.
  std::string Hex();

private:
  static constexpr std::size_t kBlockBytes = 64;

  void Mix(const unsigned char* block);

  std::array<std::uint32_t, 8> fState = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                         0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::array<unsigned char, kBlockBytes> fBlock{};  // begun, and not yet mixed in
  std::size_t fFilled = 0;                          // bytes of fBlock
  std::uint64_t fBytes = 0;                         // of the message so far
};

// The checksum of a file, which is read once, a piece at a time. Empty if it can't be read, or after a stop
// request.
std::optional<std::string> Sha256OfFile(const std::string& path);
