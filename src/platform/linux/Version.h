// Version information for the Linux build. A program carries a version block compiled
// into it (see platform/VersionBlock.h); these calls read it as Windows reads the
// VERSIONINFO resource of a module.
#pragma once

#include "platform/linux/Types.h"

DWORD GetFileVersionInfoSizeW(LPCWSTR lptstrFilename, LPDWORD lpdwHandle);
BOOL GetFileVersionInfoW(LPCWSTR lptstrFilename, DWORD dwHandle, DWORD dwLen, LPVOID lpData);
BOOL VerQueryValueW(LPCVOID pBlock, LPCWSTR lpSubBlock, LPVOID* lplpBuffer, UINT* puLen);

// The fixed part of a version block, under the query path "\\".
struct VS_FIXEDFILEINFO {
  DWORD dwSignature;  // 0xFEEF04BD
  DWORD dwStrucVersion;
  DWORD dwFileVersionMS;
  DWORD dwFileVersionLS;
  DWORD dwProductVersionMS;
  DWORD dwProductVersionLS;
  DWORD dwFileFlagsMask;
  DWORD dwFileFlags;
  DWORD dwFileOS;
  DWORD dwFileType;
  DWORD dwFileSubtype;
  DWORD dwFileDateMS;
  DWORD dwFileDateLS;
};
