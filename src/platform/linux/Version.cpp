// Version information of the Linux build. The block is serialised into the caller's
// buffer as a list of (query path, value) entries, so that VerQueryValueW can hand out
// pointers into that buffer as Windows does.
#include <cstring>
#include <cwctype>
#include <mutex>
#include <string>
#include <vector>

#include "platform/VersionBlock.h"
#include "platform/Win32.h"

namespace platform {
namespace details {

std::mutex versionMutex;
VersionBlock* versionBlock = nullptr;

constexpr uint32_t kMagic = 0x5245565A;  // "ZVER"

void putWord(std::vector<BYTE>& out, uint32_t v) {
  const size_t at = out.size();
  out.resize(at + 4);
  std::memcpy(out.data() + at, &v, 4);
}

void putEntry(std::vector<BYTE>& out, const std::wstring& key, const void* value, size_t bytes) {
  putWord(out, static_cast<uint32_t>(key.size()));
  const size_t at = out.size();
  out.resize(at + key.size() * sizeof(wchar_t));
  if (!key.empty()) std::memcpy(out.data() + at, key.data(), key.size() * sizeof(wchar_t));
  putWord(out, static_cast<uint32_t>(bytes));
  const size_t vat = out.size();
  out.resize(vat + ((bytes + 3) & ~size_t(3)));
  if (bytes) std::memcpy(out.data() + vat, value, bytes);
}

std::vector<BYTE> serialise(const VersionBlock& block) {
  std::vector<BYTE> out;
  putWord(out, kMagic);
  VS_FIXEDFILEINFO fixed{};
  fixed.dwSignature = 0xFEEF04BD;
  fixed.dwStrucVersion = 0x00010000;
  fixed.dwFileVersionMS = (static_cast<DWORD>(block.fileVersion[0]) << 16) | block.fileVersion[1];
  fixed.dwFileVersionLS = (static_cast<DWORD>(block.fileVersion[2]) << 16) | block.fileVersion[3];
  fixed.dwProductVersionMS = (static_cast<DWORD>(block.productVersion[0]) << 16) | block.productVersion[1];
  fixed.dwProductVersionLS = (static_cast<DWORD>(block.productVersion[2]) << 16) | block.productVersion[3];
  fixed.dwFileFlagsMask = 0x3F;
  fixed.dwFileOS = 0x00040004;  // VOS_NT_WINDOWS32, as the resource script says
  fixed.dwFileType = 1;         // VFT_APP
  putEntry(out, L"\\", &fixed, sizeof fixed);
  std::vector<WORD> translation;
  for (const auto& [lang, cp] : block.translations) translation.push_back(lang), translation.push_back(cp);
  putEntry(out, L"\\VarFileInfo\\Translation", translation.data(), translation.size() * sizeof(WORD));
  for (const auto& [table, strings] : block.stringTables) {
    for (const auto& [key, value] : strings) {
      const std::wstring path = L"\\StringFileInfo\\" + table + L"\\" + key;
      putEntry(out, path, value.c_str(), (value.size() + 1) * sizeof(wchar_t));
    }
  }
  putWord(out, 0xFFFFFFFFu);  // end mark
  return out;
}

bool isOwnModule(LPCWSTR path) {
  wchar_t own[4096];
  const DWORD n = GetModuleFileNameW(nullptr, own, 4096);
  return path && n > 0 && n < 4096 && std::wcscmp(path, own) == 0;
}

bool sameFolded(const wchar_t* a, size_t alen, const wchar_t* b) {
  size_t i = 0;
  for (; i < alen && b[i]; ++i)
    if (std::towlower(static_cast<wint_t>(a[i])) != std::towlower(static_cast<wint_t>(b[i]))) return false;
  return i == alen && b[i] == 0;
}

}  // namespace details

void registerVersionBlock(const VersionBlock& block) {
  std::lock_guard<std::mutex> lock(details::versionMutex);
  delete details::versionBlock;
  details::versionBlock = new VersionBlock(block);
}

const VersionBlock* registeredVersionBlock() {
  std::lock_guard<std::mutex> lock(details::versionMutex);
  return details::versionBlock;
}

}  // namespace platform

DWORD GetFileVersionInfoSizeW(LPCWSTR lptstrFilename, LPDWORD lpdwHandle) {
  if (lpdwHandle) *lpdwHandle = 0;
  const platform::VersionBlock* block = platform::registeredVersionBlock();
  if (!platform::details::isOwnModule(lptstrFilename)) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return 0;
  }
  if (!block) {
    SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
    return 0;
  }
  return static_cast<DWORD>(platform::details::serialise(*block).size());
}

BOOL GetFileVersionInfoW(LPCWSTR lptstrFilename, DWORD, DWORD dwLen, LPVOID lpData) {
  const platform::VersionBlock* block = platform::registeredVersionBlock();
  if (!platform::details::isOwnModule(lptstrFilename) || !block) {
    SetLastError(block ? ERROR_FILE_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND);
    return FALSE;
  }
  const auto bytes = platform::details::serialise(*block);
  if (!lpData || dwLen < bytes.size()) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  std::memcpy(lpData, bytes.data(), bytes.size());
  return TRUE;
}

BOOL VerQueryValueW(LPCVOID pBlock, LPCWSTR lpSubBlock, LPVOID* lplpBuffer, UINT* puLen) {
  if (!pBlock || !lpSubBlock || !lplpBuffer || !puLen) return FALSE;
  const auto* p = static_cast<const BYTE*>(pBlock);
  uint32_t word;
  std::memcpy(&word, p, 4);
  if (word != platform::details::kMagic) return FALSE;
  p += 4;
  for (;;) {
    uint32_t keyLen;
    std::memcpy(&keyLen, p, 4);
    if (keyLen == 0xFFFFFFFFu) break;
    p += 4;
    std::wstring key(keyLen, L'\0');
    std::memcpy(key.data(), p, keyLen * sizeof(wchar_t));
    p += keyLen * sizeof(wchar_t);
    uint32_t bytes;
    std::memcpy(&bytes, p, 4);
    p += 4;
    if (platform::details::sameFolded(key.data(), key.size(), lpSubBlock)) {
      *lplpBuffer = const_cast<BYTE*>(p);
      // Strings report their length in characters with the terminator, other data in bytes.
      const bool isString = key.rfind(L"\\StringFileInfo\\", 0) == 0;
      *puLen = isString ? bytes / sizeof(wchar_t) : bytes;
      return TRUE;
    }
    p += (bytes + 3) & ~uint32_t(3);
  }
  SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
  return FALSE;
}
