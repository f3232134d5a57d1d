"""The time zone database that the zone tables are generated from and tested against.

tzdata.zi beside this file is the text source of one release of the public time zone
database (public domain; its first line names the release). It is compiled with zic into a
folder of its own and Python's zoneinfo is pointed there, so the generator and the tests
give the same answers on every machine, whatever tzdata the machine has installed.
Nothing falls back to /usr/share/zoneinfo or to the tzdata package from PyPI: a zone that
the pinned data lacks fails to load.

Moving to a newer release is one command, which copies the release's tzdata.zi here and
regenerates the tables (see tzgen.py):

    python3 tools/tzgen/tzgen.py --import-tzdata NEW/tzdata.zi --output src/calendar/ZoneTableData.cpp
"""

import atexit
import os
import shutil
import subprocess
import sys
import tempfile
import zoneinfo

SOURCE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "tzdata.zi")
VERSION_PREFIX = "# version "
_folder = None  # where activate() compiled the data


class PinnedDataError(RuntimeError):
    pass


def version(path=SOURCE):
    """The release named on the first line of a tzdata.zi file."""
    try:
        with open(path, encoding="utf-8") as f:
            first = f.readline().strip()
    except OSError as error:
        raise PinnedDataError("the pinned time zone data %s cannot be read: %s" % (path, error)) from error
    if not first.startswith(VERSION_PREFIX) or len(first) == len(VERSION_PREFIX):
        raise PinnedDataError("%s does not begin with '%sRELEASE'" % (path, VERSION_PREFIX))
    return first[len(VERSION_PREFIX):]


def zic():
    # zic comes with the C library's tools (libc-bin), in sbin, which a user's PATH may lack.
    found = shutil.which("zic") or next((p for p in ("/usr/sbin/zic", "/sbin/zic") if os.access(p, os.X_OK)), None)
    if not found:
        raise PinnedDataError("zic, the time zone compiler of libc-bin, is not installed")
    return found


def compile_into(folder, source=SOURCE):
    """Compiles the pinned source into folder, with a copy of the source beside the zones."""
    version(source)
    result = subprocess.run([zic(), "-d", folder, source], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            universal_newlines=True, check=False)
    if result.returncode != 0:
        raise PinnedDataError("zic failed on %s:\n%s" % (source, result.stdout))
    shutil.copyfile(source, os.path.join(folder, "tzdata.zi"))
    return folder


def activate():
    """Points zoneinfo at the pinned data, compiled into a temporary folder, and gives its
    release. From here on zoneinfo.ZoneInfo reads only that folder."""
    global _folder
    if _folder:
        return version()
    folder = tempfile.mkdtemp(prefix="zelvo-tzdata-")
    atexit.register(shutil.rmtree, folder, True)
    compile_into(folder)
    # A None entry makes "import tzdata" fail, so zoneinfo cannot fall back to that package.
    sys.modules["tzdata"] = None
    zoneinfo.reset_tzpath([folder])
    zoneinfo.ZoneInfo.clear_cache()
    _folder = folder
    return version()


def load(name):
    """The zone of that name from the pinned data; fails when the data lacks it."""
    if not _folder or tuple(zoneinfo.TZPATH) != (_folder,):
        raise PinnedDataError("zoneinfo is not pointed at the pinned time zone data; call activate() first")
    try:
        return zoneinfo.ZoneInfo(name)
    except zoneinfo.ZoneInfoNotFoundError as error:
        raise PinnedDataError("the pinned time zone data %s has no zone %s" % (version(), name)) from error
