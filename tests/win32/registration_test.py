#!/usr/bin/env python3
"""regsvr32 against the built module in a Wine prefix of its own.

    registration_test.py DLL PREFIX

Makes a fresh prefix, registers the module with regsvr32, reads the registry back with
Wine's reg tool (never through the product's own code) and checks that exactly the keys
and values of the registration script are there, with the type library; then
unregisters and checks that what the script marks for removal is gone and the shared
keys stay. Prints each failure and ends with a non-zero status when there was one.
"""
import os
import shutil
import subprocess
import sys

WINE = "/usr/lib/wine/wine64"
WINESERVER = next((p for p in ("/usr/lib/wine/wineserver64", "/usr/lib/wine/wineserver") if os.path.exists(p)),
                  "wineserver")
CLSID = "{BEE5E564-0C5E-4139-B60E-F92077A29CD6}"
LIBID = "{39DC140D-83E8-49CD-8885-134731216CAD}"
NAME = "Zelvo Mail Bridge UI"
ADDIN = r"HKEY_LOCAL_MACHINE\Software\Microsoft\Office\Outlook\AddIns\DravAddIn.UserInterface"
# The dispatch interfaces of the type library, which its registration lists.
INTERFACES = ["{9748CF69-41F6-49E8-ACF0-B1428DB96D62}", "{831E68C7-7733-4CF4-9D2B-CF4F8B927E35}",
              "{522D0F62-29D4-4D1D-9EBE-2512DA408934}", "{152FDD1C-6418-4EF8-BCA6-14E4E23656A7}",
              "{3CC03FF6-11FA-4F1C-9753-9077F3B20B75}"]

failures = []


def check(condition, message):
    if not condition:
        failures.append(message)
        print("FAILED: " + message)


def environment(prefix):
    env = dict(os.environ)
    env.update(WINEPREFIX=prefix, WINEDEBUG="-all", WINEDLLOVERRIDES="mscoree,mshtml=", TZ="UTC", LANG="C.UTF-8")
    env.pop("DISPLAY", None)
    return env


def wine(env, *args):
    return subprocess.run([WINE, *args], env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=300)


def query(env, key):
    """The tree below key as {path: {value name: (type, data)}}, paths case-folded; None
    when the key isn't there."""
    result = wine(env, "reg", "query", key, "/s")
    if result.returncode != 0:
        return None
    tree = {}
    current = None
    for raw in result.stdout.decode("utf-8", "replace").splitlines():
        line = raw.rstrip("\r")
        if not line.strip():
            continue
        if not line.startswith(" "):
            current = line.strip().lower()
            tree[current] = {}
            continue
        parts = line.strip().split("    ")
        name, kind, data = parts[0], parts[1], "    ".join(parts[2:]) if len(parts) > 2 else ""
        tree[current][name.lower()] = (kind, data)
    return tree


def expected_trees(module):
    quoted = '"' + module + '"'
    clsid_key = r"hkey_classes_root\clsid" + "\\" + CLSID.lower()
    return {
        r"HKEY_CLASSES_ROOT\DravAddIn.UserInterface.1": {
            r"hkey_classes_root\dravaddin.userinterface.1": {"(default)": ("REG_SZ", NAME)},
            r"hkey_classes_root\dravaddin.userinterface.1\clsid": {"(default)": ("REG_SZ", CLSID)},
        },
        r"HKEY_CLASSES_ROOT\DravAddIn.UserInterface": {
            r"hkey_classes_root\dravaddin.userinterface": {"(default)": ("REG_SZ", NAME)},
            r"hkey_classes_root\dravaddin.userinterface\clsid": {"(default)": ("REG_SZ", CLSID)},
            r"hkey_classes_root\dravaddin.userinterface\curver": {"(default)": ("REG_SZ", "DravAddIn.UserInterface.1")},
        },
        r"HKEY_CLASSES_ROOT\CLSID" + "\\" + CLSID: {
            clsid_key: {"(default)": ("REG_SZ", NAME)},
            clsid_key + r"\progid": {"(default)": ("REG_SZ", "DravAddIn.UserInterface.1")},
            clsid_key + r"\versionindependentprogid": {"(default)": ("REG_SZ", "DravAddIn.UserInterface")},
            clsid_key + r"\programmable": {},
            clsid_key + r"\inprocserver32": {"(default)": ("REG_SZ", quoted),
                                             "threadingmodel": ("REG_SZ", "Apartment")},
            clsid_key + r"\typelib": {"(default)": ("REG_SZ", LIBID)},
        },
        ADDIN: {
            ADDIN.lower(): {"friendlyname": ("REG_SZ", "Zelvo Mail Bridge"),
                            "description": ("REG_SZ", "Zelvo Mail Bridge Add-in for Zelvo Hub"),
                            "loadbehavior": ("REG_DWORD", "0x3"),
                            "commandlinesafe": ("REG_DWORD", "0x0")},
        },
    }


def check_registered(env, module):
    for key, expected in expected_trees(module).items():
        found = query(env, key)
        check(found is not None, f"{key} is missing after registration")
        if found is None:
            continue
        for path in sorted(set(found) | set(expected)):
            check(path in found, f"key {path} is missing")
            check(path in expected, f"key {path} is not in the script")
            if path in found and path in expected:
                check(found[path] == expected[path], f"values of {path}: {found[path]} != {expected[path]}")
    version = query(env, r"HKEY_CLASSES_ROOT\TypeLib" + "\\" + LIBID + r"\1.0")
    check(version is not None, "the type library isn't registered")
    if version is not None:
        base = (r"hkey_classes_root\typelib" + "\\" + LIBID + r"\1.0").lower()
        check(version.get(base, {}).get("(default)") == ("REG_SZ", "DravAddIn 1.0 Type Library"),
              f"type library title: {version.get(base)}")
        win64 = version.get(base + r"\409\win64", {})
        check(win64.get("(default)") == ("REG_SZ", module), f"type library path: {win64}")
    for iid in INTERFACES:
        found = query(env, r"HKEY_CLASSES_ROOT\Interface" + "\\" + iid + r"\TypeLib")
        check(found is not None and any(v.get("(default)") == ("REG_SZ", LIBID) for v in found.values()),
              f"interface {iid} doesn't name the type library")


def check_unregistered(env, module):
    for key in expected_trees(module):
        check(query(env, key) is None, f"{key} is still there after unregistration")
    check(query(env, r"HKEY_CLASSES_ROOT\TypeLib" + "\\" + LIBID) is None, "the type library is still registered")
    for iid in INTERFACES:
        check(query(env, r"HKEY_CLASSES_ROOT\Interface" + "\\" + iid) is None, f"interface {iid} is still there")
    # The keys the script doesn't own stay.
    check(query(env, r"HKEY_LOCAL_MACHINE\Software\Microsoft\Office\Outlook\AddIns") is not None,
          "the host's AddIns key went with ours")
    check(wine(env, "reg", "query", r"HKEY_CLASSES_ROOT\CLSID").returncode == 0, "HKCR\\CLSID went with ours")


def main(argv):
    dll, prefix = argv[0], os.path.abspath(argv[1])
    module = "Z:" + os.path.abspath(dll).replace("/", "\\")
    shutil.rmtree(prefix, ignore_errors=True)
    os.makedirs(prefix)
    env = environment(prefix)
    try:
        wine(env, "wineboot", "-i")
        registered = wine(env, "regsvr32", "/s", module)
        check(registered.returncode == 0, f"regsvr32 failed with {registered.returncode}")
        check_registered(env, module)
        unregistered = wine(env, "regsvr32", "/u", "/s", module)
        check(unregistered.returncode == 0, f"regsvr32 /u failed with {unregistered.returncode}")
        check_unregistered(env, module)
    finally:
        subprocess.run([WINESERVER, "-k"], env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    print(f"{len(failures)} failures" if failures else "registration: all checks passed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
