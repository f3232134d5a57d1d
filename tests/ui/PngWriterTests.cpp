// The screenshots' PNG writer: the checksums against their published check values, the
// stored deflate blocks at their size limits, and the chunks of a small image.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "testing/PngWriter.h"

namespace {

using namespace zelvo::testing;
using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(const std::string& text) { return Bytes(text.begin(), text.end()); }

std::uint32_t bigEndianAt(const Bytes& bytes, std::size_t at) {
  return (std::uint32_t{bytes[at]} << 24) | (std::uint32_t{bytes[at + 1]} << 16) | (std::uint32_t{bytes[at + 2]} << 8) |
         bytes[at + 3];
}

struct SumCase {
  const char* text;
  std::uint32_t crc;
  std::uint32_t adler;
};

class Checksums : public ::testing::TestWithParam<SumCase> {};

TEST_P(Checksums, MatchTheCheckValues) {
  const Bytes data = bytesOf(GetParam().text);
  EXPECT_EQ(crc32(data.data(), data.size()), GetParam().crc);
  EXPECT_EQ(adler32(data.data(), data.size()), GetParam().adler);
}

INSTANTIATE_TEST_SUITE_P(Known, Checksums,
                         ::testing::Values(SumCase{"", 0x00000000u, 0x00000001u},
                                           SumCase{"123456789", 0xCBF43926u, 0x091E01DEu},
                                           SumCase{"Wikipedia", 0xADAAC02Eu, 0x11E60398u},
                                           SumCase{"IEND", 0xAE426082u, 0x02D70121u}));

TEST(Checksums, RunOnAcrossPieces) {
  const Bytes data = bytesOf("123456789");
  const std::uint32_t crc = crc32(data.data() + 4, 5, crc32(data.data(), 4));
  const std::uint32_t adler = adler32(data.data() + 4, 5, adler32(data.data(), 4));
  EXPECT_EQ(crc, 0xCBF43926u);
  EXPECT_EQ(adler, 0x091E01DEu);
}

struct BlockCase {
  std::size_t size;
  std::vector<std::size_t> blocks;  // the length in each block's header
};

class StoredBlocks : public ::testing::TestWithParam<BlockCase> {};

TEST_P(StoredBlocks, SplitAt65535AndMarkTheLast) {
  const Bytes data(GetParam().size, 0x5A);
  const Bytes stream = zlibStored(data);
  ASSERT_GE(stream.size(), 2u);
  EXPECT_EQ((stream[0] * 256 + stream[1]) % 31, 0) << "the zlib header check";
  std::size_t at = 2;
  for (std::size_t i = 0; i < GetParam().blocks.size(); ++i) {
    ASSERT_LE(at + 5, stream.size());
    const bool last = i + 1 == GetParam().blocks.size();
    EXPECT_EQ(stream[at], last ? 1 : 0) << "block " << i;
    const std::size_t length = stream[at + 1] | (stream[at + 2] << 8);
    const std::size_t complement = stream[at + 3] | (stream[at + 4] << 8);
    EXPECT_EQ(length, GetParam().blocks[i]);
    EXPECT_EQ(length ^ complement, 0xFFFFu);
    at += 5 + length;
  }
  ASSERT_EQ(at + 4, stream.size()) << "the Adler-32 ends the stream";
  EXPECT_EQ(bigEndianAt(stream, at), adler32(data.data(), data.size()));
}

INSTANTIATE_TEST_SUITE_P(Sizes, StoredBlocks,
                         ::testing::Values(BlockCase{0, {0}}, BlockCase{1, {1}}, BlockCase{65535, {65535}},
                                           BlockCase{65536, {65535, 1}}, BlockCase{140000, {65535, 65535, 8930}}));

TEST(PngWriter, WritesSignatureHeaderDataAndEnd) {
  RgbImage image{2, 1, {255, 0, 0, 0, 0, 255}};
  const Bytes png = encodePng(image);
  const Bytes signature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  ASSERT_GT(png.size(), 8u + 25 + 12);
  EXPECT_TRUE(std::equal(signature.begin(), signature.end(), png.begin()));
  // IHDR: length 13, the size, 8 bits of RGB, no interlace.
  EXPECT_EQ(bigEndianAt(png, 8), 13u);
  EXPECT_EQ(std::string(png.begin() + 12, png.begin() + 16), "IHDR");
  EXPECT_EQ(bigEndianAt(png, 16), 2u);
  EXPECT_EQ(bigEndianAt(png, 20), 1u);
  EXPECT_EQ(png[24], 8);
  EXPECT_EQ(png[25], 2);
  EXPECT_EQ(bigEndianAt(png, 29), crc32(png.data() + 12, 17));
  // IDAT holds one row: the filter byte, then the pixels.
  EXPECT_EQ(std::string(png.begin() + 37, png.begin() + 41), "IDAT");
  const Bytes row{0, 255, 0, 0, 0, 0, 255};
  EXPECT_TRUE(std::equal(row.begin(), row.end(), png.begin() + 41 + 2 + 5));
  // The file ends with the empty IEND chunk, whose CRC every PNG shares.
  const Bytes end{0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82};
  EXPECT_TRUE(std::equal(end.begin(), end.end(), png.end() - 12));
}

TEST(PngWriter, RefusesPixelsThatDoNotFitTheSize) {
  EXPECT_TRUE(encodePng(RgbImage{2, 2, Bytes(11)}).empty());
  EXPECT_TRUE(encodePng(RgbImage{0, 0, {}}).empty());
}

}  // namespace
