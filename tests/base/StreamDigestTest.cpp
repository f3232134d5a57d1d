#include "base/StreamDigest.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using zelvo::crypto::StreamDigestMD5;

std::string md5Hex(const std::string& bytes, bool convertUtf8 = false) {
  StreamDigestMD5 digest(convertUtf8);
  digest.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return digest.getDigestHex(true);
}

TEST(StreamDigestMD5, KnownDigests) {
  const struct {
    std::string input;
    const char* hex;
  } cases[] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"The quick brown fox jumps over the lazy dog", "9e107d9d372bb6826bd81d3542a419d6"},
      {std::string(1000000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
  };
  for (const auto& c : cases) EXPECT_EQ(md5Hex(c.input), c.hex) << c.input.substr(0, 20);
}

TEST(StreamDigestMD5, WritesInAnyPiecesGiveOneDigest) {
  const std::string text(1000, 'x');
  StreamDigestMD5 pieces;
  for (char c : text) pieces << c;
  StreamDigestMD5 chunks;
  for (size_t i = 0; i < text.size(); i += 333) chunks << text.substr(i, 333);
  EXPECT_EQ(pieces.getDigestHex(), md5Hex(text));
  EXPECT_EQ(chunks.getDigestHex(), md5Hex(text));
}

TEST(StreamDigestMD5, DigestIsFinalAfterTheFirstCall) {
  StreamDigestMD5 digest;
  digest << "abc";
  const std::string first = digest.getDigest(true);
  EXPECT_EQ(first.size(), 16u);
  digest << "more bytes";
  EXPECT_EQ(digest.getDigest(true), first);
  EXPECT_EQ(digest.getDigestHex(false), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(StreamDigestMD5, NothingWrittenNeedsTheFlushToGiveTheEmptyDigest) {
  StreamDigestMD5 flushed;
  EXPECT_EQ(flushed.getDigestHex(true), "d41d8cd98f00b204e9800998ecf8427e");
  StreamDigestMD5 unflushed;
  EXPECT_THROW(unflushed.getDigest(false), std::runtime_error);
}

TEST(StreamDigestMD5, Utf8FilterFoldsLatinOneAndLeavesTheRest) {
  const struct {
    std::string utf8;
    std::string hashedAs;
  } cases[] = {
      {"\xC3\xA9", "\xE9"},                             // é
      {"caf\xC3\xA9", "caf\xE9"},
      {"\xC2\xA0\xC3\xBF", "\xA0\xFF"},                 // two pairs
      {"\xC3\x41", "\xC3\x41"},                         // lead without continuation: as it stands
      {"\xE2\x82\xAC", "\xE2\x82\xAC"},                 // a byte above 0xC3: whole block as it stands
      {"\xC3\xA9\xE2\x82\xAC", "\xC3\xA9\xE2\x82\xAC"}, // one such byte anywhere spoils the block
      {"ab\xC3", "ab\xC3"},                             // a lead at the very end stays
      {"\x80\xBF", "\x80\xBF"},                         // lone continuations pass
      {"plain ascii", "plain ascii"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.utf8);
    EXPECT_EQ(md5Hex(c.utf8, true), md5Hex(c.hashedAs, false));
  }
  EXPECT_EQ(md5Hex("\xC3\xA9", false), md5Hex("\xC3\xA9", false));
  EXPECT_NE(md5Hex("\xC3\xA9", false), md5Hex("\xE9", false)) << "without the filter bytes go as they are";
}

TEST(StreamDigestMD5, FilterFunctionFeedsRuns) {
  std::vector<std::string> fed;
  const std::string block = "ab\xC3\xA9" "cd";
  zelvo::crypto::details::feedFoldingUtf8(reinterpret_cast<const unsigned char*>(block.data()), block.size(),
                                         [&](const unsigned char* d, size_t n) {
                                           fed.emplace_back(reinterpret_cast<const char*>(d), n);
                                         });
  EXPECT_EQ(fed, (std::vector<std::string>{"ab", "\xE9", "cd"}));
}

}  // namespace
