#include "base/ModuleVersion.h"

#include <boost/format.hpp>

#include "base/HResultException.h"
#include "base/Win32Error.h"

namespace details {
// Version queries do not always set a last error; a failure is raised as one all the same.
HRESULT versionFailure() {
  const HRESULT code = lastErrorToHResult();
  return code < 0 ? code : E_FAIL;
}
}  // namespace details

std::wstring ModuleVersion::getModulePath() const {
  wchar_t path[520];
  const DWORD length = GetModuleFileNameW(module_, path, 520);
  if (length == 0) ZEL_HERE.raise(lastErrorToHResult());
  return std::wstring(path, length < 520 ? length : 519);
}

void ModuleVersion::initialize() {
  if (!block_.empty()) return;
  const std::wstring path = getModulePath();
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &handle);
  if (size == 0) ZEL_HERE.raise(details::versionFailure());
  std::vector<BYTE> block(size);
  if (!GetFileVersionInfoW(path.c_str(), handle, size, block.data())) ZEL_HERE.raise(details::versionFailure());
  block_.swap(block);
}

std::vector<ModuleVersion::Translation> ModuleVersion::getTranslations() {
  initialize();
  void* data = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(block_.data(), L"\\VarFileInfo\\Translation", &data, &length))
    ZEL_HERE.raise(details::versionFailure());
  std::vector<Translation> result;
  const auto* words = static_cast<const WORD*>(data);
  // As many records as the length allows; a block may have none.
  for (UINT i = 0; i < length / (2 * sizeof(WORD)); ++i) result.push_back({words[2 * i], words[2 * i + 1]});
  return result;
}

std::wstring ModuleVersion::getFileInfoString(const std::wstring& key, const Translation& translation) {
  initialize();
  std::wstring query;
  try {
    query = (boost::wformat(L"\\StringFileInfo\\%04x%04x\\%s") % translation.language % translation.codePage % key).str();
  } catch (const std::exception& e) {
    ZEL_HERE.raise(E_FAIL, e.what());
  }
  void* data = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(block_.data(), query.c_str(), &data, &length)) ZEL_HERE.raise(details::versionFailure());
  const auto* text = static_cast<const wchar_t*>(data);
  return std::wstring(text, length > 0 ? length - 1 : 0);
}
