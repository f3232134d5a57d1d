// The trusted senders of the junk e-mail filter, and whether mail from the user's contacts
// is trusted too. Edits a copy of the list; OK stores both through the mail server options.
#pragma once

#include "base/ComRef.h"
#include "sieve/TrustedSenderList.h"
#include "store/AddInInterfaces.h"
#include "ui/AddressBookPicker.h"
#include "ui/DialogLogic.h"

namespace zelvo::ui {

class TrustedSendersDialog : public DialogLogic {
 public:
  static constexpr int kTemplateId = 5005;
  static constexpr ControlId kList = 0x271F;
  static constexpr ControlId kEdit = 0x271E;
  static constexpr ControlId kAdd = 0x408;
  static constexpr ControlId kRemove = 0x407;
  static constexpr ControlId kAddressBook = 0x271C;
  static constexpr ControlId kTrustContacts = 0x2753;
  static constexpr ControlId kIcon = 0x2752;  // icon 254, set by the template
  // The kind of address book dialog that picks a sender.
  static constexpr unsigned kAddressBookKind = 3;

  // The caller keeps options alive while the dialog runs. Without a picker the address
  // book button is disabled.
  TrustedSendersDialog(DialogView& view, AddIn::IMailServerOptions& options, AddressBookPicker* picker);
  // On the data object of the options pages, held while the dialog lives. An object without
  // mail server options, or none, raises E_NOINTERFACE.
  TrustedSendersDialog(DialogView& view, IUnknown* data, AddressBookPicker* picker);

 protected:
  void onInitDialog() override;
  void onOk() override;
  void onCommand(ControlId id, int notification) override;

 private:
  void readSenders();
  // Add, default button and remove follow the edit field, the focus and the selection.
  void updateState();
  void addSender();
  void removeSender();
  void pickFromAddressBook();

  ComRef<AddIn::IMailServerOptions> held_;  // set when made on a data object
  AddIn::IMailServerOptions& options_;
  AddressBookPicker* picker_;
  // The entries in the order the list shows them: the list has no sort style, so its rows
  // and these entries share their indexes.
  Sieve::TrustedSenderList senders_;
};

}  // namespace zelvo::ui
