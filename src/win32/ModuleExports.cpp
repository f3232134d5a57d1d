// The module's entry points: what the host and regsvr32 call.
#include "addin/AddInModule.h"
#include "addin/GUI.h"
#include "addin/UserInterface.h"
#include "base/ComBoundary.h"
#include "win32/ClassFactory.h"
#include "win32/ModuleRegistration.h"
#include "win32/ModuleSetup.h"
#include "win32/TickBoxMessageBox.h"

namespace {

// {BEE5E564-0C5E-4139-B60E-F92077A29CD6}
constexpr CLSID kUserInterfaceClassId = {0xBEE5E564, 0x0C5E, 0x4139, {0xB6, 0x0E, 0xF9, 0x20, 0x77, 0xA2, 0x9C, 0xD6}};

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    DisableThreadLibraryCalls(instance);
    zelvo::addin::AddInModule::instance().setModuleHandle(instance);
    // Icons and documents come from this module, not from the host's program, and the
    // optional messages get their real tick box.
    zelvo::addin::GUI::setResourceModule(instance);
    static zelvo::win32::TickBoxMessageBox messageBoxes;
    zelvo::addin::GUI::setMessageBoxDisplay(&messageBoxes);
  }
  return TRUE;
}

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID classId, REFIID riid, void** object) {
  return zelvo::comBoundary([&]() -> HRESULT {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (!IsEqualCLSID(classId, kUserInterfaceClassId)) return CLASS_E_CLASSNOTAVAILABLE;
    zelvo::win32::installModuleSetup();
    const auto factory = zelvo::win32::ClassFactory::create(&zelvo::addin::createUserInterface);
    return factory->QueryInterface(riid, object);
  });
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() {
  return zelvo::addin::AddInModule::instance().lockCount() == 0 ? S_OK : S_FALSE;
}

extern "C" HRESULT STDAPICALLTYPE DllRegisterServer() {
  return zelvo::win32::withSystemThreadLocale([] {
    return zelvo::comBoundary(
        [] { zelvo::win32::registerModule(zelvo::addin::AddInModule::instance().moduleHandle()); });
  });
}

extern "C" HRESULT STDAPICALLTYPE DllUnregisterServer() {
  return zelvo::win32::withSystemThreadLocale([] {
    return zelvo::comBoundary(
        [] { zelvo::win32::unregisterModule(zelvo::addin::AddInModule::instance().moduleHandle()); });
  });
}
