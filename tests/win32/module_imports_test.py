#!/usr/bin/env python3
"""The module imports only the operating system's own DLLs: no MinGW runtime DLL
(libstdc++, libgcc, libwinpthread) may have to lie beside it, and no MAPI library, which
is found at run time.

    module_imports_test.py OBJDUMP DLL
"""
import re
import subprocess
import sys

SYSTEM = {"advapi32.dll", "comctl32.dll", "comdlg32.dll", "gdi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
          "oleaut32.dll", "shell32.dll", "shlwapi.dll", "user32.dll", "uxtheme.dll", "version.dll", "msi.dll",
          "crypt32.dll", "rpcrt4.dll", "winspool.drv", "bcrypt.dll"}


def main(objdump, dll):
    listing = subprocess.run([objdump, "-p", dll], check=True, stdout=subprocess.PIPE).stdout.decode()
    imported = sorted({name.lower() for name in re.findall(r"DLL Name: (\S+)", listing)})
    exports = sorted(re.findall(r"^\s+\[\s*\d+\]\s+(Dll\w+)$", listing, re.M))
    print("imports:", " ".join(imported))
    failures = [f"imports {name}, which isn't the system's" for name in imported if name not in SYSTEM]
    if exports != ["DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"]:
        failures.append(f"exports {exports}")
    for failure in failures:
        print("FAILED:", failure)
    return 1 if failures or not imported else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
