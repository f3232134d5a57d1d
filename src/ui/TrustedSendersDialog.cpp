#include "ui/TrustedSendersDialog.h"

#include <string>
#include <vector>

#include "base/HResultException.h"
#include "base/SizeCast.h"

namespace zelvo::ui {

TrustedSendersDialog::TrustedSendersDialog(DialogView& view, AddIn::IMailServerOptions& options,
                                           AddressBookPicker* picker)
    : DialogLogic(view), options_(options), picker_(picker) {}

TrustedSendersDialog::TrustedSendersDialog(DialogView& view, IUnknown* data, AddressBookPicker* picker)
    : DialogLogic(view),
      held_(ComRef<IUnknown>(data).as<AddIn::IMailServerOptions>(AddIn::IID_IMailServerOptions)),
      options_(*held_.get()),
      picker_(picker) {}

void TrustedSendersDialog::onInitDialog() {
  // The list grows with the frame; the buttons keep to its right, OK and Cancel to the
  // corner.
  view().enableResizing(0, 0);
  view().setAnchor(kList, anchor::all);
  view().setAnchor(kEdit, anchor::left | anchor::top | anchor::right);
  for (ControlId button : {kAdd, kRemove, kAddressBook}) view().setAnchor(button, anchor::top | anchor::right);
  view().setAnchor(kTrustContacts, anchor::left | anchor::bottom);
  for (ControlId button : {kIdOk, kIdCancel}) view().setAnchor(button, anchor::right | anchor::bottom);
  view().enable(kAddressBook, picker_ != nullptr);
  try {
    readSenders();
  } catch (const HResultException&) {
    // A rule set that did not load leaves nothing to edit; the user can only leave.
    view().setRedraw(kList, true);
    view().beep(Beep::Stop);
    view().enable(kEdit, false);
    view().enable(kList, false);
    return;
  }
  updateState();
}

void TrustedSendersDialog::readSenders() {
  view().setRedraw(kList, false);
  view().listBoxClear(kList);
  view().setChecked(kTrustContacts, options_.getJunkEmailTrustContacts());
  senders_ = Sieve::TrustedSenderList(options_.getJunkEmailTrustedSenders());
  for (const std::wstring& sender : senders_.entries()) view().listBoxAdd(kList, sender);
  if (!senders_.empty()) view().listBoxSelect(kList, 0);
  view().setRedraw(kList, true);
}

void TrustedSendersDialog::updateState() {
  const bool canAdd = senders_.canAdd(view().getText(kEdit));
  view().enable(kAdd, canAdd);
  // Enter adds while a new entry is being typed, and closes the dialog otherwise.
  const ControlId wanted = canAdd && view().focus() == kEdit ? kAdd : kIdOk;
  if (view().defaultButton() != wanted) view().setDefaultButton(wanted);
  view().enable(kRemove, !senders_.empty() && view().listBoxSelection(kList) != kNoItem);
}

void TrustedSendersDialog::addSender() {
  std::size_t position = Sieve::TrustedSenderList::npos;
  switch (senders_.add(view().getText(kEdit), &position)) {
    case Sieve::TrustedSenderList::AddResult::Empty:
      return;
    case Sieve::TrustedSenderList::AddResult::Added:
      view().listBoxSelect(kList, view().listBoxAdd(kList, senders_.entries()[position]));
      view().setText(kEdit, std::wstring());
      view().setFocus(kEdit);
      break;
    case Sieve::TrustedSenderList::AddResult::Duplicate:
      view().beep(Beep::Exclamation);
      view().listBoxSelect(kList, size_cast<int>(position));
      break;
  }
  updateState();
}

void TrustedSendersDialog::removeSender() {
  const int selected = view().listBoxSelection(kList);
  if (selected == kNoItem) return;
  const std::size_t next = senders_.removeAt(static_cast<std::size_t>(selected));
  view().listBoxDelete(kList, selected);
  if (next == Sieve::TrustedSenderList::npos) {
    view().setFocus(kEdit);
  } else {
    view().listBoxSelect(kList, size_cast<int>(next));
    view().setFocus(kList);
  }
  updateState();
}

void TrustedSendersDialog::pickFromAddressBook() {
  if (!picker_) return;
  std::wstring address;
  if (!picker_->pick(kAddressBookKind, address)) return;
  view().setText(kEdit, address);
  updateState();
}

void TrustedSendersDialog::onOk() {
  try {
    options_.setJunkEmailTrustContacts(view().isChecked(kTrustContacts));
    options_.setJunkEmailTrustedSenders(senders_.entries());
  } catch (const HResultException&) {
    // The dialog stays open; the failure itself ends in the handler frame.
    view().beep(Beep::Exclamation);
    throw;
  }
  view().endDialog(kIdOk);
}

void TrustedSendersDialog::onCommand(ControlId id, int notification) {
  switch (id) {
    case kEdit:
      if (notification == notify::editChange || notification == notify::editUpdate ||
          notification == notify::editSetFocus || notification == notify::editKillFocus) {
        updateState();
      }
      break;
    case kList:
      if (notification == notify::listSelChange) updateState();
      break;
    case kAdd:
      if (notification == notify::buttonClicked) addSender();
      break;
    case kRemove:
      if (notification == notify::buttonClicked) removeSender();
      break;
    case kAddressBook:
      if (notification == notify::buttonClicked) pickFromAddressBook();
      break;
    default:
      break;
  }
}

}  // namespace zelvo::ui
