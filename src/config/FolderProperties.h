// The data object behind a folder's property pages: its access list and its
// synchronisation mode, edited in memory by the pages and written by one Apply.
#pragma once

#include <functional>
#include <string>

#include "base/ComRef.h"
#include "base/Dispatcher.h"
#include "config/FolderSettings.h"
#include "config/PropertyData.h"
#include "store/AddInInterfaces.h"
#include "store/StoreInterfaces.h"

namespace zelvo {
namespace config {

// The product's configuration of a host folder; raises for a foreign folder.
using FolderConfigSource = std::function<ComRef<IFolderConfig>(IDispatch* folder)>;

class FolderProperties final
    : public iui_::IUnknownImpl<DispatchImpl<FolderProperties, _FolderProperties>, iui_::QI<MsoPropertyData>,
                                iui_::QI<IDispatch>, AddIn::IFolderAccessRights> {
 public:
  // Without a source every folder counts as foreign.
  explicit FolderProperties(FolderConfigSource folderConfigs = {}) : folderConfigs_(std::move(folderConfigs)) {}

  static const DispatchTable<FolderProperties>& dispatchTable();

  // The automation members. Failures are raised; the results are the success codes.
  HRESULT Initialize(IUnknown* folder);
  HRESULT Reset();
  HRESULT Apply();
  bool Dirty() const { return settings_.dirty(); }
  ComRef<IGlobalConfig> globalConfig() const;
  IFolderConfig* folderConfig() const { return config_.get(); }
  // The object's identity; the page asks it for the access rights interface.
  IUnknown* accessRights() { return static_cast<IUnknown*>(static_cast<MsoPropertyData*>(this)); }
  LONG getSynchronization() const { return settings_.synchronization().getSynchronization(); }
  void putSynchronization(LONG value) { settings_.synchronization().putSynchronization(value); }
  LONG folderType() const { return folderType_; }
  void resynchronizeContents();

  // Whether the load of Initialize went through; pages of a failed folder show nothing.
  bool resetSucceeded() const { return resetSucceeded_; }

  // AddIn::IFolderAccessRights: the list in memory.
  HRESULT STDMETHODCALLTYPE getCount(ULONG* count) override { return settings_.access().getCount(count); }
  HRESULT STDMETHODCALLTYPE getItem(ULONG index, AddIn::AccessItem* item) override {
    return settings_.access().getItem(index, item);
  }
  HRESULT STDMETHODCALLTYPE isLocked(AddIn::AccessItem item) override { return settings_.access().isLocked(item); }
  HRESULT STDMETHODCALLTYPE addAccess(ULONG type, const std::wstring& name, ULONG level,
                                      AddIn::AccessItem* item) override {
    return settings_.access().addAccess(type, name, level, item);
  }
  HRESULT STDMETHODCALLTYPE setLevel(AddIn::AccessItem item, ULONG level) override {
    return settings_.access().setLevel(item, level);
  }
  HRESULT STDMETHODCALLTYPE removeAccess(AddIn::AccessItem item) override {
    return settings_.access().removeAccess(item);
  }
  HRESULT STDMETHODCALLTYPE getLevel(AddIn::AccessItem item, ULONG* level) override {
    return settings_.access().getLevel(item, level);
  }
  HRESULT STDMETHODCALLTYPE getType(AddIn::AccessItem item, ULONG* type) override {
    return settings_.access().getType(item, type);
  }
  HRESULT STDMETHODCALLTYPE getName(AddIn::AccessItem item, std::wstring& name) override {
    return settings_.access().getName(item, name);
  }
  HRESULT STDMETHODCALLTYPE setRecursive(bool recursive) override { return settings_.access().setRecursive(recursive); }
  HRESULT STDMETHODCALLTYPE isRecursiveHidden() override { return settings_.access().isRecursiveHidden(); }
  bool STDMETHODCALLTYPE isDelegate(const std::wstring& name) override { return settings_.access().isDelegate(name); }

  const FolderSettings& settings() const { return settings_; }

 private:
  ~FolderProperties() override = default;
  IFolderConfig* requireConfig() const;

  FolderConfigSource folderConfigs_;
  ComRef<IDispatch> folder_;
  ComRef<IFolderConfig> config_;
  LONG folderType_ = 0;
  bool resetSucceeded_ = false;
  FolderSettings settings_;
};

}  // namespace config
}  // namespace zelvo
