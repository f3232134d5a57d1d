// The layout of a generated string table: (id, text) pairs sorted by id.
#pragma once

#include <cstddef>

namespace Localization {
namespace details {

struct StringEntry {
  unsigned id;
  const wchar_t* text;
};

// The English texts, generated from strings.en.txt.
extern const StringEntry kEnglishStrings[];
extern const size_t kEnglishStringCount;

}  // namespace details
}  // namespace Localization
