#include "host/files/Sha256.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

// The first rows are the published examples of the standard. The others end around the bounds of the padding,
// 55, 56 and 64 bytes; their sums come from sha256sum.
TEST(Sha256, GivesPublishedSums) {
  const std::pair<std::string, std::string> kCases[] = {
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {std::string(1'000'000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
      {std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
      {std::string(63, 'a'), "7d3e74a05d7db15bce4ad9ec0658ea98e3f06eeecf16b4c6fff2da457ddc2f34"},
      {std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
      {std::string(119, 'a'), "31eba51c313a5c08226adf18d4a359cfdfd8d2e816b13f4af952f7ea6584dcfb"},
  };
  for (const auto& [message, sum] : kCases) {
    SCOPED_TRACE(message.size());
    Sha256 whole;
    whole.Add(message);
    EXPECT_EQ(whole.Hex(), sum);
    // In pieces of 1, 2, 3 and more bytes, so that blocks are cut everywhere.
    Sha256 pieces;
    for (std::size_t at = 0, length = 1; at < message.size(); at += length++)
      pieces.Add(std::string_view(message).substr(at, length));
    EXPECT_EQ(pieces.Hex(), sum);
  }
}
