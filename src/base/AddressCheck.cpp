#include "base/AddressCheck.h"

#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>

#include <boost/regex.hpp>

namespace zelvo {
namespace {

const boost::wregex& addressExpression() {
  static std::mutex lock;
  static std::unique_ptr<const boost::wregex> expression;
  std::lock_guard<std::mutex> guard(lock);
  if (!expression) {
    const std::wstring atom = L"[a-zA-Z0-9!#\\$%&\\'\\*\\+\\-\\/=\\?\\^_\\`\\{\\|\\}~]+";
    const std::wstring dotted = atom + L"(\\." + atom + L")*";
    expression = std::make_unique<const boost::wregex>(dotted + L"@" + dotted + L"(\\.[a-zA-Z]{2,10})?",
                                                       boost::regex::perl);
  }
  return *expression;
}

}  // namespace

HRESULT checkEmailAddress(const std::wstring& text) {
  try {
    return boost::regex_match(text, addressExpression()) ? S_OK : S_FALSE;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::exception&) {
    // A regex_error of the build, or a match that ran out of its step budget.
    return E_FAIL;
  }
}

}  // namespace zelvo
