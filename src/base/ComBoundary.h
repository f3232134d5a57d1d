// The one place where a failure inside the system turns back into a result code: every
// COM method, export, callback and window procedure runs its body through comBoundary.
//
// The rule, the same everywhere:
//   HResultException   -> its code
//   std::bad_alloc     -> E_OUTOFMEMORY
//   std::exception     -> E_FAIL (std::overflow_error from size_cast among them)
//   anything else      -> E_UNEXPECTED
// A body returns its own result code, or nothing for S_OK. Places that must give another
// outcome (a replaced code, a dropped failure) say so where they are, by hand.
#pragma once

#include <exception>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

#include "base/HResultException.h"
#include "platform/Win32.h"

namespace zelvo {

struct CaughtFailure {
  HRESULT code = E_UNEXPECTED;
  std::wstring text;  // an HResultException's text, a standard exception's what(); may be empty
};
// Inside a catch block: the exception being handled, by the rule above. Never raises: a
// text that cannot be copied is left empty.
CaughtFailure describeCaughtException() noexcept;

template <class Body>
HRESULT comBoundary(Body&& body) noexcept {
  try {
    if constexpr (std::is_void<decltype(std::forward<Body>(body)())>::value) {
      std::forward<Body>(body)();
      return S_OK;
    } else {
      return static_cast<HRESULT>(std::forward<Body>(body)());
    }
  } catch (...) {
    return describeCaughtException().code;
  }
}

}  // namespace zelvo
