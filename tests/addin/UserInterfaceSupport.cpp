#include "tests/addin/UserInterfaceSupport.h"

#include "base/Variant.h"

namespace lifecycle_test {

namespace {
HKEY createKey(const std::wstring& path, HKEY parent = HKEY_CURRENT_USER) {
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  return key;
}
}  // namespace

ScopedRegistry::ScopedRegistry() : base_(L"Software\\Zelvo Tests\\" + Guid::create().toString()) {
  roots_.localMachine = createKey(base_ + L"\\Machine");
  roots_.currentUser = createKey(base_ + L"\\User");
  roots_.classesRoot = createKey(base_ + L"\\Classes");
  config_ = std::make_unique<zelvo::config::RegistryConfig>(roots_);
  RegCloseKey(createKey(config_->productKey(), roots_.currentUser));
}

ScopedRegistry::~ScopedRegistry() {
  for (HKEY key : {roots_.localMachine, roots_.currentUser, roots_.classesRoot}) RegCloseKey(key);
  RegDeleteTreeW(HKEY_CURRENT_USER, base_.c_str());
}

int AnsweringMessageBox::show(HWND, const std::wstring& text, const std::wstring& caption, UINT style) {
  log_->push_back("message");
  shown.push_back({text, caption, std::wstring(), style});
  return button;
}

int AnsweringMessageBox::showWithTickBox(HWND, const std::wstring& text, const std::wstring& caption,
                                         const std::wstring& checkText, UINT style, bool& ticked) {
  log_->push_back("message");
  shown.push_back({text, caption, checkText, style});
  EXPECT_FALSE(ticked) << "the tick box starts clear";
  ticked = tick;
  return button;
}

HRESULT invokeByName(IDispatch* object, const std::wstring& name, std::vector<VARIANT> arguments, VARIANT* result) {
  std::wstring copy = name;
  LPOLESTR names[] = {&copy[0]};
  DISPID id = DISPID_UNKNOWN;
  const HRESULT hr = object->GetIDsOfNames(IID_NULL, names, 1, 0, &id);
  if (FAILED(hr)) return hr;
  std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
  DISPPARAMS params = {reversed.empty() ? nullptr : reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  return object->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &params, result, nullptr, nullptr);
}

}  // namespace lifecycle_test
