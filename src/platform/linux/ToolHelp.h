// Process and module snapshots for the Linux build, read from /proc. A process entry
// carries the file name of the program; a module entry each file mapped into the process.
#pragma once

#include "platform/linux/Types.h"

#define TH32CS_SNAPPROCESS 0x00000002
#define TH32CS_SNAPMODULE 0x00000008
#define MAX_MODULE_NAME32 255

constexpr LONG ERROR_NO_MORE_FILES = 18;

struct PROCESSENTRY32W {
  DWORD dwSize;
  DWORD cntUsage;
  DWORD th32ProcessID;
  ULONG_PTR th32DefaultHeapID;
  DWORD th32ModuleID;
  DWORD cntThreads;
  DWORD th32ParentProcessID;
  LONG pcPriClassBase;
  DWORD dwFlags;
  WCHAR szExeFile[MAX_PATH];
};
typedef PROCESSENTRY32W* LPPROCESSENTRY32W;

struct MODULEENTRY32W {
  DWORD dwSize;
  DWORD th32ModuleID;
  DWORD th32ProcessID;
  DWORD GlblcntUsage;
  DWORD ProccntUsage;
  BYTE* modBaseAddr;
  DWORD modBaseSize;
  HMODULE hModule;
  WCHAR szModule[MAX_MODULE_NAME32 + 1];
  WCHAR szExePath[MAX_PATH];
};
typedef MODULEENTRY32W* LPMODULEENTRY32W;

HANDLE CreateToolhelp32Snapshot(DWORD dwFlags, DWORD th32ProcessID);
BOOL Process32FirstW(HANDLE hSnapshot, LPPROCESSENTRY32W lppe);
BOOL Process32NextW(HANDLE hSnapshot, LPPROCESSENTRY32W lppe);
BOOL Module32FirstW(HANDLE hSnapshot, LPMODULEENTRY32W lpme);
BOOL Module32NextW(HANDLE hSnapshot, LPMODULEENTRY32W lpme);
