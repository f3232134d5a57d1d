// Version information for the Linux build. A program carries a version block compiled
// into it (see platform/VersionBlock.h); these calls read it as Windows reads the
// VERSIONINFO resource of a module.
#pragma once

#include "platform/linux/Types.h"

DWORD GetFileVersionInfoSizeW(LPCWSTR lptstrFilename, LPDWORD lpdwHandle);
BOOL GetFileVersionInfoW(LPCWSTR lptstrFilename, DWORD dwHandle, DWORD dwLen, LPVOID lpData);
BOOL VerQueryValueW(LPCVOID pBlock, LPCWSTR lpSubBlock, LPVOID* lplpBuffer, UINT* puLen);
