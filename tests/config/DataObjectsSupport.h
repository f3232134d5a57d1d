// Shared by the data object tests: calls through IDispatch as the host and the pages make
// them, a registry of the test's own for the local options, and small host objects.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/ComRef.h"
#include "base/Dispatcher.h"
#include "base/Guid.h"
#include "base/Variant.h"
#include "config/RegistryConfig.h"

namespace datatest {

// GetIDsOfNames by the given name, then Invoke with the arguments in the member's order.
inline HRESULT invoke(IDispatch* object, const std::wstring& name, WORD kind, std::vector<Variant> arguments = {},
                      Variant* result = nullptr) {
  std::wstring nameCopy = name;
  LPOLESTR names[] = {&nameCopy[0]};
  DISPID id = 0;
  const HRESULT found = object->GetIDsOfNames(IID_NULL, names, 1, 0, &id);
  if (FAILED(found)) return found;
  std::vector<VARIANT> slots;
  for (auto it = arguments.rbegin(); it != arguments.rend(); ++it) slots.push_back(it->detach());
  DISPID putId = DISPID_PROPERTYPUT;
  DISPPARAMS params{slots.data(), kind == DISPATCH_PROPERTYPUT ? &putId : nullptr, static_cast<UINT>(slots.size()),
                    kind == DISPATCH_PROPERTYPUT ? 1u : 0u};
  VARIANT out;
  VariantInit(&out);
  UINT argumentError = 0;
  const HRESULT hr = object->Invoke(id, IID_NULL, 0, kind, &params, &out, nullptr, &argumentError);
  for (VARIANT& slot : slots) VariantClear(&slot);
  if (result) *result = Variant::adopt(out);
  else VariantClear(&out);
  return hr;
}

inline HRESULT call(IDispatch* object, const std::wstring& name, std::vector<Variant> arguments = {}) {
  return invoke(object, name, DISPATCH_METHOD, std::move(arguments));
}

inline Variant get(IDispatch* object, const std::wstring& name) {
  Variant result;
  EXPECT_EQ(invoke(object, name, DISPATCH_PROPERTYGET, {}, &result), S_OK) << "get of a property";
  return result;
}

// The product key of a registry of the test's own, under the user's root; removed after.
class ScopedRegistry {
 public:
  ScopedRegistry() : base_(L"Software\\Zelvo Tests\\" + Guid::create().toString()) {
    roots_.localMachine = create(base_ + L"\\Machine");
    roots_.currentUser = create(base_ + L"\\User");
    roots_.classesRoot = create(base_ + L"\\Classes");
    config_ = std::make_unique<zelvo::config::RegistryConfig>(roots_);
    RegCloseKey(create(config_->productKey(), roots_.currentUser));
  }
  ~ScopedRegistry() {
    for (HKEY key : {roots_.localMachine, roots_.currentUser, roots_.classesRoot}) RegCloseKey(key);
    RegDeleteTreeW(HKEY_CURRENT_USER, base_.c_str());
  }
  const zelvo::config::RegistryConfig& config() const { return *config_; }

 private:
  static HKEY create(const std::wstring& path, HKEY parent = HKEY_CURRENT_USER) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    return key;
  }

  std::wstring base_;
  zelvo::config::RegistryConfig::Roots roots_{};
  std::unique_ptr<zelvo::config::RegistryConfig> config_;
};

// A host object with plain properties by name: the namespace, a folder, a button. A
// property listed in failing answers E_FAIL.
class HostObject : public iui_::IUnknownImpl<IDispatch> {
 public:
  std::vector<std::pair<std::wstring, Variant>> properties;
  std::vector<std::wstring> failing;
  std::vector<std::pair<std::wstring, LONG>> puts;  // every put, in order

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    for (size_t i = 0; i < properties.size(); ++i)
      if (properties[i].first == names[0]) {
        *ids = static_cast<DISPID>(i + 1);
        return S_OK;
      }
    return DISP_E_UNKNOWNNAME;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                   EXCEPINFO*, UINT*) override {
    if (id < 1 || static_cast<size_t>(id) > properties.size()) return DISP_E_MEMBERNOTFOUND;
    auto& property = properties[id - 1];
    for (const auto& name : failing)
      if (name == property.first) return E_FAIL;
    if (flags & DISPATCH_PROPERTYPUT) {
      property.second = Variant::copyOf(params->rgvarg[0]);
      puts.emplace_back(property.first, property.second.toInt32());
      return S_OK;
    }
    if (result) *result = Variant(property.second).detach();
    return S_OK;
  }
};

}  // namespace datatest
