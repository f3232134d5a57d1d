// The product's user-visible texts by numeric id. The English texts are compiled in from
// the one table in the repository (strings.en.txt, also the source of the Windows
// STRINGTABLE); another language can be put in force through a Translator.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <boost/format.hpp>

#include "strings/StringIds.h"

namespace Localization {

// A source of texts by id.
class Translator {
 public:
  virtual ~Translator() = default;
  // The text of id, or null when there is none.
  virtual const wchar_t* find(unsigned id) const = 0;
};

// The compiled-in English table.
const Translator& englishTranslator();
// The translator in force: the English table unless setTranslator put another in its place.
const Translator& getTranslator();
// Puts translator in force; null goes back to English. The caller keeps it alive while it
// is in force. Meant for the language switch and for tests, not for concurrent use.
void setTranslator(const Translator* translator);
// Grows with each setTranslator, so that tables built from texts can tell that they are stale.
unsigned languageGeneration();

// The text of id in the language in force; empty when the id has no text.
std::wstring getString(unsigned id);
// The same; the name that callers holding standard strings use.
inline std::wstring getStlString(unsigned id) { return getString(id); }

// The text of id with its boost::format places filled. A translation whose places do not
// fit the arguments gives what boost::format makes of it, and one that is no format at all
// is given as it stands; never an exception.
template <class... Args>
std::wstring formatString(unsigned id, const Args&... args) {
  const std::wstring text = getString(id);
  try {
    boost::wformat format;
    format.exceptions(boost::io::no_error_bits);
    format.parse(text);
    (void)(format % ... % args);
    return format.str();
  } catch (const boost::io::format_error&) {
    return text;  // a text that is no format at all: shown as it stands
  }
}

// A translator over a fixed list of (id, text), for a language loaded at run time and for tests.
class TableTranslator : public Translator {
 public:
  explicit TableTranslator(std::vector<std::pair<unsigned, std::wstring>> texts);
  const wchar_t* find(unsigned id) const override;

 private:
  std::vector<std::pair<unsigned, std::wstring>> texts_;  // sorted by id
};

}  // namespace Localization
