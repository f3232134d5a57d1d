// Shared by the tests of the rules dialog and of the script repair: a mailbox of the
// reference store behind the store's data object, as the add-in opens it for the dialogs.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/ComRef.h"
#include "config/ConfigProperties.h"
#include "store/reference/ReferenceStore.h"
#include "tests/config/DataObjectsSupport.h"

namespace zelvo::ui::test {

// One rule as the writer words it, so that a script of them reads back unchanged.
inline std::wstring ruleText(const std::wstring& name, const std::wstring& test, const std::wstring& block,
                             bool enabled = true) {
  std::wstring text = (enabled ? L"#!1 " : L"#!0 ") + name + L"\r\n";
  const std::wstring body = L"if " + test + L" \r\n{\r\n" + block + L"}\r\n";
  if (enabled) return text + body;
  // A disabled rule is written as comments.
  std::wstring::size_type start = 0;
  while (start < body.size()) {
    const std::wstring::size_type end = body.find(L"\r\n", start);
    text += L"# " + body.substr(start, end - start) + L"\r\n";
    start = end + 2;
  }
  return text;
}

inline std::wstring keepRule(const std::wstring& name, bool enabled = true) {
  return ruleText(name, L"true", L"  keep;\r\n", enabled);
}

inline const std::wstring kJunkEmailRule =
    ruleText(L"__WebmailJunk__", L"spamtest", L"  fileinto \"Junk E-Mail\";\r\n  stop;\r\n");
inline const std::wstring kOutOfOfficeRule =
    ruleText(L"__WebmailAutoreply__", L"true", L"  vacation :days 7 \"Away\";\r\n");

// The store's data object over a mailbox holding script, loaded as the rules command
// loads it (the rule set alone).
class MailboxFixture : public ::testing::Test {
 protected:
  std::unique_ptr<ReferenceStore::Store> store;
  datatest::ScopedRegistry registry;
  ComRef<datatest::HostObject> nameSpace = ComRef<datatest::HostObject>::adopt(new datatest::HostObject);
  ComRef<config::ConfigProperties> object;

  HRESULT openMailbox(const std::wstring& script) {
    ReferenceStore::Mailbox mailbox;
    mailbox.script = script;
    store = std::make_unique<ReferenceStore::Store>(mailbox);
    object = ComRef<config::ConfigProperties>::adopt(new config::ConfigProperties({}, &registry.config()));
    return datatest::call(data(), L"Initialize",
                          {Variant::fromUnknown(nameSpace.get()), Variant::fromUnknown(store->globalConfig().get()),
                           Variant::fromUInt32(config::ConfigProperties::kLoadRules)});
  }
  _ConfigProperties* properties() const { return static_cast<_ConfigProperties*>(object.get()); }
  IDispatch* data() const { return static_cast<IDispatch*>(properties()); }
  // What the caller of the dialogs does after them: Apply when the object is dirty.
  void applyWhenDirty() {
    if (datatest::get(data(), L"Dirty").toBool()) {
      EXPECT_EQ(datatest::call(data(), L"Apply"), S_OK);
    }
  }
  std::wstring storedScript() const { return store->mailbox().script; }
};

}  // namespace zelvo::ui::test
