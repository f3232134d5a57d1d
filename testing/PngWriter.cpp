#include "testing/PngWriter.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace zelvo::testing {

namespace {

const std::array<std::uint32_t, 256>& crcTable() {
  static const std::array<std::uint32_t, 256> table = [] {
    std::array<std::uint32_t, 256> t{};
    for (std::uint32_t n = 0; n < 256; ++n) {
      std::uint32_t c = n;
      for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      t[n] = c;
    }
    return t;
  }();
  return table;
}

void putBigEndian(std::vector<std::uint8_t>& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::uint8_t>(value >> shift));
}

void putChunk(std::vector<std::uint8_t>& out, const char type[4], const std::vector<std::uint8_t>& data) {
  putBigEndian(out, static_cast<std::uint32_t>(data.size()));
  const std::size_t typeAt = out.size();
  out.insert(out.end(), type, type + 4);
  out.insert(out.end(), data.begin(), data.end());
  // The CRC covers the type and the data.
  putBigEndian(out, crc32(out.data() + typeAt, 4 + data.size()));
}

}  // namespace

std::uint32_t crc32(const std::uint8_t* data, std::size_t size, std::uint32_t crc) {
  std::uint32_t c = crc ^ 0xFFFFFFFFu;
  for (std::size_t i = 0; i < size; ++i) c = crcTable()[(c ^ data[i]) & 0xFF] ^ (c >> 8);
  return c ^ 0xFFFFFFFFu;
}

std::uint32_t adler32(const std::uint8_t* data, std::size_t size, std::uint32_t adler) {
  constexpr std::uint32_t kBase = 65521;
  std::uint32_t a = adler & 0xFFFF;
  std::uint32_t b = adler >> 16;
  for (std::size_t i = 0; i < size; ++i) {
    a = (a + data[i]) % kBase;
    b = (b + a) % kBase;
  }
  return (b << 16) | a;
}

std::vector<std::uint8_t> zlibStored(const std::vector<std::uint8_t>& bytes) {
  constexpr std::size_t kBlock = 65535;
  std::vector<std::uint8_t> out{0x78, 0x01};  // deflate, 32K window, no preset dictionary
  std::size_t at = 0;
  do {
    const std::size_t size = std::min(kBlock, bytes.size() - at);
    const bool last = at + size == bytes.size();
    out.push_back(last ? 1 : 0);  // BFINAL, BTYPE 00: stored
    out.push_back(static_cast<std::uint8_t>(size));
    out.push_back(static_cast<std::uint8_t>(size >> 8));
    out.push_back(static_cast<std::uint8_t>(~size));
    out.push_back(static_cast<std::uint8_t>(~size >> 8));
    out.insert(out.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at),
               bytes.begin() + static_cast<std::ptrdiff_t>(at + size));
    at += size;
  } while (at < bytes.size());
  putBigEndian(out, adler32(bytes.data(), bytes.size()));
  return out;
}

std::vector<std::uint8_t> encodePng(const RgbImage& image) {
  if (image.width <= 0 || image.height <= 0 ||
      image.pixels.size() != static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * 3) {
    return {};
  }
  std::vector<std::uint8_t> out{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  std::vector<std::uint8_t> header;
  putBigEndian(header, static_cast<std::uint32_t>(image.width));
  putBigEndian(header, static_cast<std::uint32_t>(image.height));
  header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB, deflate, filters, no interlace
  putChunk(out, "IHDR", header);

  // Each row starts with its filter, 0: none.
  const std::size_t stride = static_cast<std::size_t>(image.width) * 3;
  std::vector<std::uint8_t> raw;
  raw.reserve((stride + 1) * static_cast<std::size_t>(image.height));
  for (int y = 0; y < image.height; ++y) {
    raw.push_back(0);
    const auto row = image.pixels.begin() + static_cast<std::ptrdiff_t>(stride * static_cast<std::size_t>(y));
    raw.insert(raw.end(), row, row + static_cast<std::ptrdiff_t>(stride));
  }
  putChunk(out, "IDAT", zlibStored(raw));
  putChunk(out, "IEND", {});
  return out;
}

bool writePng(const RgbImage& image, const std::string& path) {
  const std::vector<std::uint8_t> bytes = encodePng(image);
  if (bytes.empty()) return false;
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(file.flush());
}

}  // namespace zelvo::testing
