// The one place where a failure inside the system turns back into a result code: every
// COM method, export, callback and window procedure runs its body through comBoundary.
//
// The rule, the same everywhere:
//   HResultException   -> its code
//   std::bad_alloc     -> E_OUTOFMEMORY
//   std::exception     -> E_FAIL (std::overflow_error from size_cast among them)
// A body returns its own result code, or nothing for S_OK. Places that must give another
// outcome (a replaced code, a dropped failure) say so where they are, by hand.
#pragma once

#include <exception>
#include <new>
#include <type_traits>
#include <utility>

#include "base/HResultException.h"
#include "platform/Win32.h"

namespace zelvo {

template <class Body>
HRESULT comBoundary(Body&& body) noexcept {
  try {
    if constexpr (std::is_void<decltype(std::forward<Body>(body)())>::value) {
      std::forward<Body>(body)();
      return S_OK;
    } else {
      return static_cast<HRESULT>(std::forward<Body>(body)());
    }
  } catch (const HResultException& e) {
    return e.getHResult();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::exception&) {
    return E_FAIL;
  }
}

}  // namespace zelvo
