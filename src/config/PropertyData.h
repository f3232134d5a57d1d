// The automation faces of the data objects behind the options and folder pages. The
// pages and the host reach them only through IDispatch, by these dispatch ids; the IIDs
// are this product's own and are the ones the type library declares.
#pragma once

#include "base/Iui.h"
#include "platform/Win32.h"
#include "store/AddInInterfaces.h"

extern "C" const IID IID_MsoPropertyData;
extern "C" const IID IID__ConfigProperties;
extern "C" const IID IID__FolderProperties;

// What every data object answers: the pages' common life cycle.
struct MsoPropertyData : public IDispatch {
  static constexpr DISPID kDirty = 0x1000;
  static constexpr DISPID kInitialize = 0x1001;
  static constexpr DISPID kReset = 0x1002;
  static constexpr DISPID kApply = 0x1003;
  static constexpr DISPID kGlobalConfig = 0x1100;

 protected:
  ~MsoPropertyData() = default;
};

// The store's data object, behind the options pages and their dialogs.
struct _ConfigProperties : public MsoPropertyData {
  static constexpr DISPID kMailServerOptions = 0x1111;
  static constexpr DISPID kSession = 0x1112;
  static constexpr DISPID kDelegationList = 0x1113;
  static constexpr DISPID kValidateSieveScript = 0x1201;

 protected:
  ~_ConfigProperties() = default;
};

// A folder's data object, behind the folder pages.
struct _FolderProperties : public MsoPropertyData {
  static constexpr DISPID kFolderConfig = 0x1101;
  static constexpr DISPID kAccessRights = 0x1111;
  static constexpr DISPID kCheckNames = 0x1112;
  static constexpr DISPID kSynchronization = 0x1113;
  static constexpr DISPID kFolderType = 0x1114;
  static constexpr DISPID kResynchronizeContents = 0x1201;

 protected:
  ~_FolderProperties() = default;
};

ZEL_IUI_INTERFACE(MsoPropertyData, IID_MsoPropertyData)
ZEL_IUI_INTERFACE(_ConfigProperties, IID__ConfigProperties)
ZEL_IUI_INTERFACE(_FolderProperties, IID__FolderProperties)

// The add-in's own interfaces that the data objects answer in QueryInterface.
ZEL_IUI_INTERFACE(AddIn::IMailServerOptions, AddIn::IID_IMailServerOptions)
ZEL_IUI_INTERFACE(AddIn::ISenderSettings, AddIn::IID_ISenderSettings)
ZEL_IUI_INTERFACE(AddIn::IDelegationList, AddIn::IID_IDelegationList)
ZEL_IUI_INTERFACE(AddIn::IFolderAccessRights, AddIn::IID_IFolderAccessRights)
