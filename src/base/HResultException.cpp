#include "base/HResultException.h"

#include <memory>
#include <mutex>
#include <typeinfo>
#include <unordered_map>

#if defined(__GNUC__)
#include <cxxabi.h>
#endif

#include "base/HResultTable.h"

namespace details {

std::wstring widenBytes(const char* text) {
  std::wstring out;
  if (!text) return out;
  for (const char* p = text; *p; ++p) out += static_cast<wchar_t>(static_cast<unsigned char>(*p));
  return out;
}

std::string typeDisplayName(const std::type_info& type) {
#if defined(__GNUC__)
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> demangled(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                   std::free);
  std::string name = status == 0 && demangled ? demangled.get() : type.name();
  // Run-time type names of classes read "class X" on Windows compilers; keep that shape.
  if (dynamic_cast<const abi::__class_type_info*>(&type)) name = "class " + name;
  return name;
#else
  return type.name();
#endif
}

namespace {

// Names are computed at raise time and kept for the life of the process, keyed by the
// compiler's literal, so that a RaisePoint can hold plain pointers.
const char* intern(const char* key, std::string (*make)(const char*)) {
  static std::mutex mutex;
  static auto* names = new std::unordered_map<const char*, std::unique_ptr<std::string>>();
  std::lock_guard<std::mutex> lock(mutex);
  auto& slot = (*names)[key];
  if (!slot) slot = std::make_unique<std::string>(make(key));
  return slot->c_str();
}

std::string backslashed(const char* file) {
  std::string path(file);
  for (auto& c : path)
    if (c == '/') c = '\\';
  return path;
}

// "virtual HRESULT Sieve::SieveRules::save(int) const [with T = int]" -> "Sieve::SieveRules::save"
std::string qualified(const char* pretty) {
  std::string text(pretty);
  const size_t with = text.find(" [with ");
  if (with != std::string::npos) text.resize(with);
  // The parameter list is the last parenthesised group outside any brackets.
  size_t open = std::string::npos;
  int depth = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '(' || c == '<') {
      if (depth == 0 && c == '(') open = i;
      ++depth;
    } else if ((c == ')' || c == '>') && depth > 0) {
      --depth;
    }
  }
  if (open == std::string::npos) return text;
  size_t start = open;
  depth = 0;
  while (start > 0) {
    const char c = text[start - 1];
    if (c == ')' || c == '>') ++depth;
    else if ((c == '(' || c == '<') && depth > 0) --depth;
    else if (c == ' ' && depth == 0) break;
    --start;
  }
  return text.substr(start, open - start);
}

}  // namespace

const char* sourceFileName(const char* file) { return file ? intern(file, backslashed) : nullptr; }

const char* qualifiedFunctionName(const char* prettyFunction) {
  return prettyFunction ? intern(prettyFunction, qualified) : nullptr;
}

// Keeps the last two backslash-separated components of a path, unless the separator
// before the last one is missing or at the very start.
std::wstring shortenPath(const std::wstring& path) {
  const size_t p = path.rfind(L'\\');
  if (p == std::wstring::npos || p == 0) return path;
  const size_t q = path.rfind(L'\\', p - 1);
  if (q == std::wstring::npos || q == 0) return path;
  return path.substr(q + 1);
}

}  // namespace details

HResultException::HResultException(HRESULT code, const char* file, int line, const char* function,
                                   const wchar_t* message)
    : code_(code) {
  const std::wstring functionText = details::widenBytes(function ? function : "<no function>");
  const std::wstring fileText = file ? details::shortenPath(details::widenBytes(file)) : L"<unknown file>";
  boost::wformat format(L"Exception of %s: %s(%d), %s:\n%s");
  format % details::widenBytes(details::typeDisplayName(typeid(HResultException)).c_str()) % fileText % line %
      functionText % details::widenBytes(hresultToString(code).c_str());
  text_ = format.str();
  if (message && *message) {
    text_ += L": ";
    text_ += message;
  }
}

const char* HResultException::what() const noexcept {
  if (narrowText_.empty()) {
    std::string narrow;
    narrow.reserve(text_.size());
    for (wchar_t c : text_) narrow += static_cast<char>(static_cast<unsigned char>(static_cast<uint32_t>(c) & 0xFF));
    narrowText_.swap(narrow);
  }
  return narrowText_.c_str();
}

void raiseHResult(HRESULT code, const char* file, int line, const char* function, const wchar_t* message) {
  throw HResultException(code, file, line, function, message);
}

void RaisePoint::raise(HRESULT code, const wchar_t* message) const { raiseHResult(code, file, line, function, message); }

void RaisePoint::raise(HRESULT code, const char* narrowMessage) const {
  if (!narrowMessage) raiseHResult(code, file, line, function, nullptr);
  const std::wstring wide = details::widenBytes(narrowMessage);
  raiseHResult(code, file, line, function, wide.c_str());
}

void RaisePoint::raiseFormatError(HRESULT code, const std::exception& error) const {
  const std::wstring message = L"Wrongly formatted exception message: " + details::widenBytes(error.what());
  raiseHResult(code, file, line, function, message.c_str());
}
