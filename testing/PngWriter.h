// A PNG writer for screenshots, with no compression library: the image data goes into
// stored deflate blocks inside a zlib stream. Files come out larger than need be, and every
// viewer reads them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zelvo::testing {

// An 8-bit RGB image, rows top to bottom, three bytes a pixel.
struct RgbImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> pixels;
};

// The checksums of PNG chunks and of zlib streams.
std::uint32_t crc32(const std::uint8_t* data, std::size_t size, std::uint32_t crc = 0);
std::uint32_t adler32(const std::uint8_t* data, std::size_t size, std::uint32_t adler = 1);

// The zlib stream of bytes in stored blocks of at most 65535 bytes.
std::vector<std::uint8_t> zlibStored(const std::vector<std::uint8_t>& bytes);

// The PNG file of image; empty for an image whose pixels do not match its size.
std::vector<std::uint8_t> encodePng(const RgbImage& image);

// Writes the PNG file of image; false when it cannot.
bool writePng(const RgbImage& image, const std::string& path);

}  // namespace zelvo::testing
