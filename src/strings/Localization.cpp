#include "strings/Localization.h"

#include <algorithm>
#include <atomic>

#include "strings/StringTable.h"

namespace Localization {
namespace details {

class EnglishTranslator : public Translator {
 public:
  const wchar_t* find(unsigned id) const override {
    const StringEntry* end = kEnglishStrings + kEnglishStringCount;
    const StringEntry* it = std::lower_bound(kEnglishStrings, end, id,
                                             [](const StringEntry& e, unsigned key) { return e.id < key; });
    return it != end && it->id == id ? it->text : nullptr;
  }
};

const EnglishTranslator english;
std::atomic<const Translator*> current{nullptr};
std::atomic<unsigned> generation{0};

}  // namespace details

const Translator& englishTranslator() { return details::english; }

const Translator& getTranslator() {
  const Translator* t = details::current.load(std::memory_order_acquire);
  return t ? *t : details::english;
}

void setTranslator(const Translator* translator) {
  details::current.store(translator, std::memory_order_release);
  details::generation.fetch_add(1, std::memory_order_acq_rel);
}

unsigned languageGeneration() { return details::generation.load(std::memory_order_acquire); }

std::wstring getString(unsigned id) {
  const wchar_t* text = getTranslator().find(id);
  return text ? std::wstring(text) : std::wstring();
}

TableTranslator::TableTranslator(std::vector<std::pair<unsigned, std::wstring>> texts) : texts_(std::move(texts)) {
  // Later entries of the same id win, as a later line of a language file would.
  std::stable_sort(texts_.begin(), texts_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  auto last = std::unique(texts_.rbegin(), texts_.rend(), [](const auto& a, const auto& b) { return a.first == b.first; });
  texts_.erase(texts_.begin(), last.base());
}

const wchar_t* TableTranslator::find(unsigned id) const {
  auto it = std::lower_bound(texts_.begin(), texts_.end(), id, [](const auto& e, unsigned key) { return e.first < key; });
  return it != texts_.end() && it->first == id ? it->second.c_str() : nullptr;
}

}  // namespace Localization
