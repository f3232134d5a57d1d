// The one exception type of the system: a 32-bit result code with the place it was
// raised at and an optional message. Raised through ZEL_HERE / ZEL_CHECK, turned back into
// a result code at every boundary that another component calls.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include <boost/format.hpp>

#include "platform/Win32.h"

class HResultException : public std::exception {
 public:
  // Composes the whole text at once: type, shortened file, line, function, code text and
  // message. Null file and function are allowed.
  HResultException(HRESULT code, const char* file, int line, const char* function, const wchar_t* message);
  HResultException(const HResultException&) = default;
  HResultException& operator=(const HResultException&) = default;
  ~HResultException() override = default;

  // The text with each character cut to its low 8 bits; cached on the first call.
  const char* what() const noexcept override;
  virtual HRESULT getHResult() const noexcept { return code_; }
  const std::wstring& text() const noexcept { return text_; }

 private:
  HRESULT code_;
  std::wstring text_;
  mutable std::string narrowText_;
};

[[noreturn]] void raiseHResult(HRESULT code, const char* file, int line, const char* function,
                               const wchar_t* message);

// Where a raise happens. Built by ZEL_HERE from literals; owns nothing.
struct RaisePoint {
  const char* file;
  int line;
  const char* function;

  [[noreturn]] void raise(HRESULT code, const wchar_t* message = nullptr) const;
  // Each byte of the message is widened as an unsigned value; null raises with no message.
  [[noreturn]] void raise(HRESULT code, const char* narrowMessage) const;
  [[noreturn]] void raise(HRESULT code, const std::wstring& message) const { raise(code, message.c_str()); }

  // boost::format of the widened format with the arguments; a format whose places do not
  // match the arguments still raises the code, with "Wrongly formatted exception message: ".
  template <class... Args>
  [[noreturn]] void raiseFormatted(HRESULT code, const char* narrowFormat, const Args&... args) const;

 private:
  [[noreturn]] void raiseFormatError(HRESULT code, const std::exception& error) const;
};

namespace details {
std::wstring widenBytes(const char* text);
// The display name of a type as run-time type information gives it, e.g. "class HResultException".
std::string typeDisplayName(const std::type_info& type);
// Stable, interned forms of the compiler's names: "src\base\Guid.cpp" and "Guid::setData".
const char* sourceFileName(const char* file);
const char* qualifiedFunctionName(const char* prettyFunction);
}  // namespace details

template <class... Args>
void RaisePoint::raiseFormatted(HRESULT code, const char* narrowFormat, const Args&... args) const {
  if (!narrowFormat) raise(code, L"");
  std::wstring message;
  try {
    boost::wformat format(details::widenBytes(narrowFormat));
    (void)(format % ... % args);
    message = format.str();
  } catch (const boost::io::too_many_args& e) {
    raiseFormatError(code, e);
  } catch (const boost::io::too_few_args& e) {
    raiseFormatError(code, e);
  }
  raise(code, message.c_str());
}

#if defined(__GNUC__)
#define ZEL_PRETTY_FUNCTION __PRETTY_FUNCTION__
#else
#define ZEL_PRETTY_FUNCTION __FUNCSIG__
#endif

// The raise point of the current source line: ZEL_HERE.raise(E_INVALIDARG, "...").
#define ZEL_HERE                                                                     \
  (::RaisePoint{::details::sourceFileName(__FILE__), __LINE__,                       \
                ::details::qualifiedFunctionName(ZEL_PRETTY_FUNCTION)})

// Raises the result of a call when it is a failure (below zero); success codes pass.
#define ZEL_CHECK(expr)                                                                      \
  do {                                                                                       \
    const HRESULT zelCheckedResult_ = static_cast<HRESULT>(expr);                            \
    if (zelCheckedResult_ < 0) ZEL_HERE.raise(zelCheckedResult_, static_cast<const wchar_t*>(nullptr)); \
  } while (false)
