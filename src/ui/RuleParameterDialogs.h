// The small modal dialogs behind the links of a rule's description: each edits one value of one
// node, and only OK changes anything. A dialog gets the node or values copied from it; the caller
// compares and decides whether the description must be rebuilt.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sieve/SieveModel.h"
#include "ui/AddressBookPicker.h"
#include "ui/DialogHost.h"
#include "ui/DialogLogic.h"

namespace zelvo::ui {

// The base of every parameter dialog: T is the concrete class, TemplateId its dialog template, and
// Base the logic it shares with its siblings.
template <class T, int TemplateId, class Base = DialogLogic>
class SieveEditDialogImpl : public Base {
 public:
  static constexpr int kTemplateId = TemplateId;

  // Shows T modally over parent, built on the host's view with args (kept by reference while it
  // runs); the result is what it ended with, kIdOk for OK.
  template <class... Args>
  static int run(DialogHost& host, HWND parent, Args&&... args) {
    return host.runModal(kTemplateId, parent, [&](DialogView& view) -> std::unique_ptr<DialogLogic> {
      return std::make_unique<T>(view, args...);
    });
  }

 protected:
  using Base::Base;
};

// The kind of address book dialog that picks the addresses of a rule.
constexpr unsigned kRuleAddressBookKind = 3;

// A sorted list of strings edited through an edit field, with the way the test compares them shown
// beside it: the values of a header or an address test. The test's match type and negation change
// through the condition dialog at once; the values only on OK.
class RuleValueListDialog : public DialogLogic {
 public:
  static constexpr ControlId kEdit = 10014;
  static constexpr ControlId kList = 10015;
  static constexpr ControlId kAdd = 1032;
  static constexpr ControlId kRemove = 1031;
  static constexpr ControlId kCondition = 10013;
  static constexpr ControlId kConditionLabel = 10019;

  // The nested condition dialog runs through host, owned by this dialog.
  RuleValueListDialog(DialogView& view, Sieve::SieveTest& test, DialogHost& host);

  // The values in the order the list shows them.
  const std::vector<std::wstring>& values() const { return values_; }

 protected:
  void onInitDialog() override;
  void onOk() override;
  void onCommand(ControlId id, int notification) override;

  // Adds text as the add button does: trimmed, and after a question when it is in the list already.
  void addValue(const std::wstring& text);
  void updateControls();

 private:
  void showValues(int select);
  void showCondition();
  void removeValue();
  void editCondition();

  Sieve::SieveTest& test_;
  DialogHost& host_;
  std::vector<std::wstring> values_;
};

// The words of a header condition.
class RuleContainsDialog : public SieveEditDialogImpl<RuleContainsDialog, 5021, RuleValueListDialog> {
 public:
  RuleContainsDialog(DialogView& view, Sieve::SieveTest& test, DialogHost& host)
      : SieveEditDialogImpl(view, test, host) {}
};

// The addresses of an address condition; the address book adds to them.
class RulePeopleDialog : public SieveEditDialogImpl<RulePeopleDialog, 5019, RuleValueListDialog> {
 public:
  static constexpr ControlId kAddressBook = 10012;

  // Without a picker the address book button is disabled.
  RulePeopleDialog(DialogView& view, Sieve::SieveTest& test, DialogHost& host, AddressBookPicker* picker)
      : SieveEditDialogImpl(view, test, host), picker_(picker) {}

 protected:
  void onInitDialog() override;
  void onCommand(ControlId id, int notification) override;

 private:
  AddressBookPicker* picker_;
};

// A free text: a reject, a notify message, a vacation reason. Any text goes, the empty one too.
class RuleMessageDialog : public SieveEditDialogImpl<RuleMessageDialog, 5017> {
 public:
  static constexpr ControlId kEdit = 10041;

  RuleMessageDialog(DialogView& view, std::wstring& text) : SieveEditDialogImpl(view), text_(text) {}

 protected:
  void onInitDialog() override;
  void onOk() override;

 private:
  std::wstring& text_;
};

// One line of addresses: a redirect's, or the address of a notify.
class RuleAddressDialog : public SieveEditDialogImpl<RuleAddressDialog, 5018> {
 public:
  static constexpr ControlId kEdit = 10014;
  static constexpr ControlId kAddressBook = 10012;

  RuleAddressDialog(DialogView& view, std::wstring& address, AddressBookPicker* picker)
      : SieveEditDialogImpl(view), address_(address), picker_(picker) {}

 protected:
  void onInitDialog() override;
  void onOk() override;
  void onCommand(ControlId id, int notification) override;

 private:
  void updateControls();

  std::wstring& address_;
  AddressBookPicker* picker_;
};

// Over or under a size, in bytes, kB or MB.
class RuleHasSizeDialog : public SieveEditDialogImpl<RuleHasSizeDialog, 5020> {
 public:
  static constexpr ControlId kEdit = 10014;
  static constexpr ControlId kUnit = 10017;
  static constexpr ControlId kMode = 10018;
  static constexpr int kEditLimit = 6;
  // The largest number of MB that still fits 32 bits of bytes.
  static constexpr std::uint32_t kMaxMegabytes = 4095;

  RuleHasSizeDialog(DialogView& view, Sieve::SizeMode& mode, std::uint32_t& bytes)
      : SieveEditDialogImpl(view), mode_(mode), bytes_(bytes) {}

  // The number and unit index (0 B, 1 kB, 2 MB) that a limit opens with: shifted right by ten bits
  // at most twice, while it is above 10240, as the description words it.
  static std::pair<std::uint32_t, int> displayedSize(std::uint32_t bytes);

 protected:
  void onInitDialog() override;
  void onOk() override;

 private:
  Sieve::SizeMode& mode_;
  std::uint32_t& bytes_;
};

// All conditions or any condition.
class RuleMatchDialog : public SieveEditDialogImpl<RuleMatchDialog, 5022> {
 public:
  static constexpr ControlId kAllOf = 10020;
  static constexpr ControlId kAnyOf = 10021;

  RuleMatchDialog(DialogView& view, bool& allOf) : SieveEditDialogImpl(view), allOf_(allOf) {}

 protected:
  void onInitDialog() override;
  void onOk() override;

 private:
  bool& allOf_;
};

// How a condition compares: the match type, plain or negated, with its explanation.
class RuleConditionDialog : public SieveEditDialogImpl<RuleConditionDialog, 5025> {
 public:
  static constexpr ControlId kCombo = 10018;
  static constexpr ControlId kExplanation = 10019;

  RuleConditionDialog(DialogView& view, Sieve::MatchType& type, bool& negated)
      : SieveEditDialogImpl(view), type_(type), negated_(negated) {}

 protected:
  void onInitDialog() override;
  void onOk() override;
  void onCommand(ControlId id, int notification) override;

 private:
  void showExplanation();

  Sieve::MatchType& type_;
  bool& negated_;
};

}  // namespace zelvo::ui
