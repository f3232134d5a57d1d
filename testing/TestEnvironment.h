// What every test program shares: where the sources are, and a clean settings store.
#pragma once

#include <filesystem>
#include <string>

namespace zelvo {
namespace testing {

// The repository root, from ZELVO_SOURCE_DIR (set by CTest); empty when unknown.
std::string sourceDir();
// A file of the repository, e.g. "tests/sieve/data/example.sieve"; empty when unknown.
std::string sourcePath(const std::string& relative);
// A path in the temporary folder that no other test, in this process or another one
// running beside it, is given: the stem, the process id, a random number and a count.
std::filesystem::path uniqueTempPath(const std::string& stem);
// A wide text as UTF-8, for test messages.
std::string utf8(const std::wstring& text);
// The whole content of a file as bytes; throws std::runtime_error when it cannot be read.
std::string readFile(const std::string& path);

#ifndef _WIN32
// The build's compiled copy of the time zone database pinned in tools/tzgen/tzdata.zi.
std::string pinnedZoneinfoDir();
// Points the C library at that copy through TZDIR and sets the machine's zone to UTC
// through TZ; false when the copy is missing.
bool usePinnedZoneinfo();
#endif

}  // namespace testing
}  // namespace zelvo
