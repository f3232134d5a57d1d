#include "ui/ParameterDialogs.h"

#include <string>
#include <vector>

#include "ui/RuleMoveToDialog.h"
#include "ui/RuleParameterDialogs.h"

namespace zelvo::ui {

namespace details {
namespace {

// The rule kind an action link edits.
Sieve::RuleKind ruleKindOfLink(Sieve::LinkKind kind) {
  switch (kind) {
    case Sieve::LinkKind::FileInto:
      return Sieve::RuleKind::FileInto;
    case Sieve::LinkKind::Reject:
      return Sieve::RuleKind::Reject;
    case Sieve::LinkKind::Redirect:
      return Sieve::RuleKind::Redirect;
    case Sieve::LinkKind::NotifyAddress:
    case Sieve::LinkKind::NotifyMessage:
      return Sieve::RuleKind::Notify;
    case Sieve::LinkKind::Vacation:
      return Sieve::RuleKind::Vacation;
    default:
      return Sieve::RuleKind::Empty;
  }
}

}  // namespace
}  // namespace details

ParameterDialogs::ParameterDialogs(DialogHost& host, AddressBookPicker* picker, MessageStoreSession* stores,
                                   IGlobalConfig* config)
    : host_(host), picker_(picker), stores_(stores), config_(config) {}

bool ParameterDialogs::edit(Sieve::LinkKind kind, Sieve::SieveTest* test, Sieve::SieveRule* rule, HWND parent) {
  if (Sieve::isTestLink(kind)) {
    if (!test) return false;
    switch (kind) {
      case Sieve::LinkKind::AndOr:
        return editAllOrAny(*test, parent);
      case Sieve::LinkKind::Address:
      case Sieve::LinkKind::Word:
        return editValues(kind, *test, parent);
      case Sieve::LinkKind::Match:
        return editMatch(*test, parent);
      default:
        return editSize(*test, parent);
    }
  }
  if (!rule || rule->kind != details::ruleKindOfLink(kind)) return false;
  switch (kind) {
    case Sieve::LinkKind::FileInto:
      return editFolder(*rule, parent);
    case Sieve::LinkKind::Redirect:
      return editAddress(rule->argument, parent);
    case Sieve::LinkKind::NotifyAddress:
      return editAddress(rule->name, parent);
    case Sieve::LinkKind::NotifyMessage: {
      // A notify without a message opens on the one the reader gives it.
      const bool defaulted = rule->argument.empty();
      if (defaulted) rule->argument = Sieve::kDefaultNotifyMessage;
      return editMessage(rule->argument, parent) || defaulted;
    }
    default:  // Reject, Vacation
      return editMessage(rule->argument, parent);
  }
}

bool ParameterDialogs::editAllOrAny(Sieve::SieveTest& test, HWND parent) {
  if (test.kind != Sieve::TestKind::AllOf && test.kind != Sieve::TestKind::AnyOf) return false;
  bool allOf = test.kind == Sieve::TestKind::AllOf;
  if (RuleMatchDialog::run(host_, parent, allOf) != kIdOk) return false;
  const Sieve::TestKind chosen = allOf ? Sieve::TestKind::AllOf : Sieve::TestKind::AnyOf;
  if (chosen == test.kind) return false;
  test.kind = chosen;
  return true;
}

bool ParameterDialogs::editValues(Sieve::LinkKind kind, Sieve::SieveTest& test, HWND parent) {
  const bool address = kind == Sieve::LinkKind::Address;
  if (test.kind != (address ? Sieve::TestKind::Address : Sieve::TestKind::Header)) return false;
  const std::vector<std::wstring> values = Sieve::stringListToVector(test.values);
  const Sieve::MatchType type = test.matchType;
  const bool negated = test.negated;
  // The comparison may change through the nested condition dialog even when the values' dialog is
  // cancelled, so both are compared whatever it ended with.
  if (address) {
    RulePeopleDialog::run(host_, parent, test, host_, picker_);
  } else {
    RuleContainsDialog::run(host_, parent, test, host_);
  }
  return Sieve::stringListToVector(test.values) != values || test.matchType != type || test.negated != negated;
}

bool ParameterDialogs::editMatch(Sieve::SieveTest& test, HWND parent) {
  Sieve::MatchType type = test.matchType;
  bool negated = test.negated;
  if (RuleConditionDialog::run(host_, parent, type, negated) != kIdOk) return false;
  if (type == test.matchType && negated == test.negated) return false;
  test.matchType = type;
  test.negated = negated;
  return true;
}

bool ParameterDialogs::editSize(Sieve::SieveTest& test, HWND parent) {
  if (test.kind != Sieve::TestKind::Size) return false;
  Sieve::SizeMode mode = test.sizeMode;
  std::uint32_t bytes = test.sizeLimit;
  if (RuleHasSizeDialog::run(host_, parent, mode, bytes) != kIdOk) return false;
  if (mode == test.sizeMode && bytes == test.sizeLimit) return false;
  test.sizeMode = mode;
  test.sizeLimit = bytes;
  return true;
}

bool ParameterDialogs::editFolder(Sieve::SieveRule& rule, HWND parent) {
  if (!stores_ || !config_) return false;
  std::wstring path = rule.argument;
  if (RuleMoveToDialog::run(host_, parent, *stores_, config_.get(), path) != kIdOk) return false;
  if (path == rule.argument) return false;
  rule.argument = path;
  return true;
}

bool ParameterDialogs::editMessage(std::wstring& text, HWND parent) {
  std::wstring edited = text;
  if (RuleMessageDialog::run(host_, parent, edited) != kIdOk || edited == text) return false;
  text = edited;
  return true;
}

bool ParameterDialogs::editAddress(std::wstring& address, HWND parent) {
  std::wstring edited = address;
  if (RuleAddressDialog::run(host_, parent, edited, picker_) != kIdOk || edited == address) return false;
  address = edited;
  return true;
}

}  // namespace zelvo::ui
