// Opens the parameter dialog that a link of a rule's description stands for, on the node's present
// values, and writes them back on OK. The rule dialogs' description control reaches the dialogs
// through this one class.
#pragma once

#include "base/ComRef.h"
#include "sieve/RuleDescription.h"
#include "sieve/SieveModel.h"
#include "store/StoreInterfaces.h"
#include "ui/AddressBookPicker.h"
#include "ui/DialogHost.h"
#include "ui/RuleMoveToStruct.h"

namespace zelvo::ui {

class ParameterDialogs {
 public:
  // picker may be null (no address book buttons); stores and config serve the folder picker, which
  // cannot open without them. All must outlive this object.
  ParameterDialogs(DialogHost& host, AddressBookPicker* picker, MessageStoreSession* stores, IGlobalConfig* config);

  // Opens the dialog of kind over parent: on test for the kinds of a condition, on rule for those
  // of an action. True when the node was changed; a node of the wrong kind, a missing node or
  // Cancel leave it as it is and give false.
  bool edit(Sieve::LinkKind kind, Sieve::SieveTest* test, Sieve::SieveRule* rule, HWND parent);

 private:
  bool editAllOrAny(Sieve::SieveTest& test, HWND parent);
  bool editValues(Sieve::LinkKind kind, Sieve::SieveTest& test, HWND parent);
  bool editMatch(Sieve::SieveTest& test, HWND parent);
  bool editSize(Sieve::SieveTest& test, HWND parent);
  bool editFolder(Sieve::SieveRule& rule, HWND parent);
  bool editMessage(std::wstring& text, HWND parent);
  bool editAddress(std::wstring& address, HWND parent);

  DialogHost& host_;
  AddressBookPicker* picker_;
  MessageStoreSession* stores_;
  ComRef<IGlobalConfig> config_;
};

}  // namespace zelvo::ui
