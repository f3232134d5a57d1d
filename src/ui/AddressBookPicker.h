// The seam to the address book dialog: the dialogs that take an address from the address
// book ask through this, and the address-book integration supplies it.
#pragma once

#include <string>

namespace zelvo::ui {

class AddressBookPicker {
 public:
  virtual ~AddressBookPicker() = default;
  // Shows the address book dialog of the given kind; true with the chosen text on OK.
  virtual bool pick(unsigned kind, std::wstring& result) = 0;
};

}  // namespace zelvo::ui
