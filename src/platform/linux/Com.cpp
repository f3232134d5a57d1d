#include <cstdlib>
#include <cstring>
#include <random>

#include "platform/Win32.h"

extern "C" const IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

namespace {

// Layout of a BSTR block: a 32-bit byte count, the characters, a zero character.
constexpr size_t kPrefix = sizeof(uint32_t) > alignof(wchar_t) ? sizeof(uint32_t) : alignof(wchar_t);

BSTR allocBytes(size_t bytes) {
  if (bytes > 0xFFFFFFF0u) return nullptr;
  auto* block = static_cast<unsigned char*>(std::malloc(kPrefix + bytes + sizeof(wchar_t)));
  if (!block) return nullptr;
  const auto len = static_cast<uint32_t>(bytes);
  std::memcpy(block + kPrefix - sizeof(uint32_t), &len, sizeof len);
  std::memset(block + kPrefix + bytes, 0, sizeof(wchar_t));
  return reinterpret_cast<BSTR>(block + kPrefix);
}

uint32_t byteLength(BSTR s) {
  uint32_t len;
  std::memcpy(&len, reinterpret_cast<unsigned char*>(s) - sizeof(uint32_t), sizeof len);
  return len;
}

}  // namespace

BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui) {
  BSTR s = allocBytes(static_cast<size_t>(ui) * sizeof(OLECHAR));
  if (!s) return nullptr;
  if (strIn) std::memcpy(s, strIn, static_cast<size_t>(ui) * sizeof(OLECHAR));
  else std::memset(s, 0, static_cast<size_t>(ui) * sizeof(OLECHAR));
  return s;
}

BSTR SysAllocString(const OLECHAR* psz) {
  if (!psz) return nullptr;
  return SysAllocStringLen(psz, static_cast<UINT>(std::wcslen(psz)));
}

BSTR SysAllocStringByteLen(LPCSTR psz, UINT len) {
  BSTR s = allocBytes(len);
  if (!s) return nullptr;
  auto* bytes = reinterpret_cast<unsigned char*>(s);
  if (psz) std::memcpy(bytes, psz, len);
  else std::memset(bytes, 0, len);
  return s;
}

void SysFreeString(BSTR s) {
  if (s) std::free(reinterpret_cast<unsigned char*>(s) - kPrefix);
}

UINT SysStringByteLen(BSTR s) { return s ? byteLength(s) : 0; }

UINT SysStringLen(BSTR s) { return s ? byteLength(s) / sizeof(OLECHAR) : 0; }

INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz) {
  if (!pbstr) return FALSE;
  BSTR copy = SysAllocString(psz);
  if (psz && !copy) return FALSE;
  SysFreeString(*pbstr);
  *pbstr = copy;
  return TRUE;
}

HRESULT CoCreateGuid(GUID* pguid) {
  if (!pguid) return E_INVALIDARG;
  // A random (version 4) GUID, as the Windows call makes.
  static thread_local std::random_device device;
  unsigned char bytes[16];
  for (size_t i = 0; i < sizeof bytes; i += 4) {
    const unsigned int r = device();
    std::memcpy(bytes + i, &r, 4);
  }
  bytes[7] = static_cast<unsigned char>((bytes[7] & 0x0F) | 0x40);
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
  std::memcpy(pguid, bytes, sizeof *pguid);
  return S_OK;
}

void* CoTaskMemAlloc(SIZE_T cb) { return std::malloc(cb ? cb : 1); }
void CoTaskMemFree(void* pv) { std::free(pv); }
