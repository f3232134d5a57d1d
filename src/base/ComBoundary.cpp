#include "base/ComBoundary.h"

namespace zelvo {

namespace details {
namespace {
// what() is a narrow text of unknown encoding; each byte becomes one character.
std::wstring widen(const char* text) {
  std::wstring wide;
  for (const char* p = text ? text : ""; *p; ++p) wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(*p)));
  return wide;
}
}  // namespace
}  // namespace details

CaughtFailure describeCaughtException() noexcept {
  CaughtFailure failure;
  try {
    throw;
  } catch (const HResultException& e) {
    failure.code = e.getHResult();
    try {
      failure.text = e.text();
    } catch (...) {
    }
  } catch (const std::bad_alloc&) {
    failure.code = E_OUTOFMEMORY;
  } catch (const std::exception& e) {
    failure.code = E_FAIL;
    try {
      failure.text = details::widen(e.what());
    } catch (...) {
    }
  } catch (...) {
    failure.code = E_UNEXPECTED;
  }
  return failure;
}

}  // namespace zelvo
