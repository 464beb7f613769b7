#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

// ShortTextCodes finds the codes of texts of up to 16 bytes, which most categories are. Such a text is two
// words and a length, so it is hashed and compared without a look at its bytes one by one.
//
// An open-addressed table with linear probing. It is a quarter full at most, so that the first probe nearly
// always finds: a second one costs a wrong guess of the processor, as texts come in any order.
class ShortTextCodes {
public:
  static constexpr std::size_t kMostBytes = 16;

  // 0 for a text without a code, as for any longer one.
  std::int32_t Find(std::string_view text) const {
    if (text.size() > kMostBytes || fvEntries.empty()) return 0;
    return fvEntries[SlotOf(WordsOf(text))].code;
  }

  // Gives a text its code. REQUIRES: it is short and has none.
  void Add(std::string_view text, std::int32_t code) {
    if (4 * ++fCount > fvEntries.size()) {
      std::vector<Entry> old(fvEntries.empty() ? kFirstSlots : 2 * fvEntries.size());
      old.swap(fvEntries);
      for (const Entry& moved : old) {
        if (moved.code != 0) fvEntries[SlotOf(moved.words)] = moved;
      }
    }
    const Words words = WordsOf(text);
    fvEntries[SlotOf(words)] = {words, code};
  }

private:
  // The first and the last bytes of a text, which overlap in all but the longest; with the length they are the
  // text.
  struct Words {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::uint32_t length = 0;
    bool operator==(const Words&) const = default;
  };
  struct Entry {
    Words words;
    std::int32_t code = 0;  // 0 while the slot is free
  };
  static constexpr std::size_t kFirstSlots = 64;  // a power of two, as it is always

  template <class Word>
  static Word Load(const char* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
  }

  static Words WordsOf(std::string_view text) {
    const std::size_t n = text.size();
    const char* const bytes = text.data();
    Words words{.length = static_cast<std::uint32_t>(n)};
    if (n >= 8) {
      words.first = Load<std::uint64_t>(bytes);
      words.last = Load<std::uint64_t>(bytes + n - 8);
    } else if (n >= 4) {
      words.first = Load<std::uint32_t>(bytes);
      words.last = Load<std::uint32_t>(bytes + n - 4);
    } else if (n > 0) {
      words.first = static_cast<unsigned char>(bytes[0]) | static_cast<std::uint64_t>(bytes[n / 2] & 0xFF)
                                                               << 8;
      words.last = static_cast<unsigned char>(bytes[n - 1]);
    }
    return words;
  }

  // Multiplicative hashing [Knuth98, section 6.4].
  std::size_t SlotOf(const Words& words) const {
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15U;
    std::uint64_t mixed = words.first * kFactor;
    mixed = (mixed ^ mixed >> 32 ^ words.last) * kFactor + words.length;
    std::size_t slot = mixed >> 32 & (fvEntries.size() - 1);
    while (fvEntries[slot].code != 0 && !(fvEntries[slot].words == words))
      slot = (slot + 1) & (fvEntries.size() - 1);
    return slot;
  }

  std::vector<Entry> fvEntries;
  std::size_t fCount = 0;
};
