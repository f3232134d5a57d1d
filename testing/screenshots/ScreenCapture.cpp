#include "testing/screenshots/ScreenCapture.h"

#include <memory>
#include <type_traits>

namespace zelvo::testing {

namespace {

struct DcReleaser {
  void operator()(HDC dc) const { ReleaseDC(nullptr, dc); }
};
struct DcDeleter {
  void operator()(HDC dc) const { DeleteDC(dc); }
};
struct ObjectDeleter {
  void operator()(HGDIOBJ object) const { DeleteObject(object); }
};
using ScreenDc = std::unique_ptr<std::remove_pointer_t<HDC>, DcReleaser>;
using MemoryDc = std::unique_ptr<std::remove_pointer_t<HDC>, DcDeleter>;
using Bitmap = std::unique_ptr<std::remove_pointer_t<HGDIOBJ>, ObjectDeleter>;

}  // namespace

void pumpMessages(DWORD milliseconds) {
  const DWORD start = GetTickCount();
  while (GetTickCount() - start < milliseconds) {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    Sleep(10);
  }
}

RgbImage captureWindow(HWND window) {
  RgbImage image;
  RECT place{};
  if (!GetWindowRect(window, &place)) return image;
  const int width = place.right - place.left;
  const int height = place.bottom - place.top;
  if (width <= 0 || height <= 0) return image;

  ScreenDc screen(GetDC(nullptr));
  MemoryDc memory(CreateCompatibleDC(screen.get()));
  if (!screen || !memory) return image;
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // top-down rows
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  Bitmap bitmap(CreateDIBSection(screen.get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  if (!bitmap || !bits) return image;
  HGDIOBJ old = SelectObject(memory.get(), bitmap.get());
  const BOOL copied = BitBlt(memory.get(), 0, 0, width, height, screen.get(), place.left, place.top, SRCCOPY);
  GdiFlush();
  SelectObject(memory.get(), old);
  if (!copied) return image;

  // The DIB holds blue, green, red and a spare byte per pixel.
  const auto* source = static_cast<const std::uint8_t*>(bits);
  image.width = width;
  image.height = height;
  image.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
  for (std::size_t i = 0, n = static_cast<std::size_t>(width) * static_cast<std::size_t>(height); i < n; ++i) {
    image.pixels[i * 3] = source[i * 4 + 2];
    image.pixels[i * 3 + 1] = source[i * 4 + 1];
    image.pixels[i * 3 + 2] = source[i * 4];
  }
  return image;
}

}  // namespace zelvo::testing
