// The MAPI exports the add-in calls. There is no import library to bind them at load time,
// since the library is the host's own and is found at run time; each stub takes its
// export once per load of the library and fails like the export would when it is missing.
#include "platform/Mapi.h"
#include "win32/Win32MapiEnvironment.h"

using zelvo::addin::callMapiExport;
using zelvo::addin::MapiLoader;
using zelvo::win32::processMapiLoader;

namespace {

// 32-bit libraries export the decorated name, 64-bit ones the plain name.
const std::vector<const char*> kGetOneProp = {"HrGetOneProp@12", "HrGetOneProp"};
const std::vector<const char*> kFreeProws = {"FreeProws@4", "FreeProws"};
const std::vector<const char*> kAllocateBuffer = {"MAPIAllocateBuffer@8", "MAPIAllocateBuffer"};
const std::vector<const char*> kAllocateMore = {"MAPIAllocateMore@12", "MAPIAllocateMore"};
const std::vector<const char*> kFreeBuffer = {"MAPIFreeBuffer@4", "MAPIFreeBuffer"};

}  // namespace

extern "C" {

HRESULT STDAPICALLTYPE HrGetOneProp(LPMAPIPROP lpMapiProp, ULONG ulPropTag, LPSPropValue* lppProp) {
  static MapiLoader::Cache cache;
  return callMapiExport<decltype(HrGetOneProp)>(processMapiLoader(), kGetOneProp, cache, E_FAIL, lpMapiProp,
                                                ulPropTag, lppProp);
}

void STDAPICALLTYPE FreeProws(LPSRowSet lpRows) {
  static MapiLoader::Cache cache;
  if (void* address = processMapiLoader().resolve(kFreeProws, cache))
    reinterpret_cast<decltype(FreeProws)*>(address)(lpRows);
}

SCODE STDMETHODCALLTYPE MAPIAllocateBuffer(ULONG cbSize, LPVOID* lppBuffer) {
  static MapiLoader::Cache cache;
  return callMapiExport<decltype(MAPIAllocateBuffer)>(processMapiLoader(), kAllocateBuffer, cache, E_FAIL, cbSize,
                                                      lppBuffer);
}

SCODE STDMETHODCALLTYPE MAPIAllocateMore(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer) {
  static MapiLoader::Cache cache;
  return callMapiExport<decltype(MAPIAllocateMore)>(processMapiLoader(), kAllocateMore, cache, E_FAIL, cbSize,
                                                    lpObject, lppBuffer);
}

ULONG STDMETHODCALLTYPE MAPIFreeBuffer(LPVOID lpBuffer) {
  static MapiLoader::Cache cache;
  return callMapiExport<decltype(MAPIFreeBuffer)>(processMapiLoader(), kFreeBuffer, cache,
                                                  static_cast<ULONG>(E_FAIL), lpBuffer);
}

}  // extern "C"
