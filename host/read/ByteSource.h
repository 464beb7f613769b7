#pragma once

#include <cstddef>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

// ByteSource reads a file from its begin to its end, and decompresses it if it was compressed by gzip. A file
// of several compressed parts, one after the other, is their texts joined.
//
// Use:       Read() until it returns 0.
// Failures:  DataError that names the file, if it can't be opened, or if its compressed data is damaged, ends
//            early, or is followed by something else. std::ios_base::failure if the file can't be read on:
//            the caller knows in which line.
// Cost:      memory for one block; zlib's window of 32 KiB.
class ByteSource {
public:
  ByteSource(std::string path, bool isGzip);
  ~ByteSource();
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  // Reads up to `size` bytes. 0 means the end of the file.
  std::size_t Read(char* bytes, std::size_t size);

private:
  struct Inflater;

  std::size_t ReadFile(char* bytes, std::size_t size);
  std::size_t Inflate(char* bytes, std::size_t size);
  void EndPart();

  std::string fPath;
  std::filebuf fFile;
  std::unique_ptr<Inflater> fpInflater;  // null if the file isn't compressed
  std::vector<char> fCompressed;         // one block of the file; empty if it isn't compressed
  bool fbAtEnd = false;                  // of the compressed data
};
