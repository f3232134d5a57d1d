// What the tests of UserInterface share: profiles for the host stand-in, a registry of the
// test's own, a message box that answers for the user, and recording stand-ins for the
// pieces behind the add-in's seams.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "addin/GUI.h"
#include "addin/UserInterface.h"
#include "base/Guid.h"
#include "config/RegistryConfig.h"
#include "testing/TestEnvironment.h"
#include "testing/outlook/StandIn.h"

namespace lifecycle_test {

inline std::wstring service(int n) {
  return L"{0A000000-0000-0000-0000-0000000000" + std::wstring(n < 10 ? L"0" : L"") + std::to_wstring(n) + L"}";
}
inline std::wstring storeKey(int n) {
  return L"{0B000000-0000-0000-0000-0000000000" + std::wstring(n < 10 ? L"0" : L"") + std::to_wstring(n) + L"}";
}

inline Guid guidOf(const std::wstring& text) { return *OutlookStandIn::parseGuid(text); }

inline std::string hexOf(const std::string& bytes) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned char b : bytes) {
    text.push_back(digits[b >> 4]);
    text.push_back(digits[b & 15]);
  }
  return text;
}

// An entry id of the product for an object of store n: flags, provider, type, object.
inline std::string entryIdOf(int store, uint32_t type, int object) {
  std::string bytes(4, '\0');
  const Guid provider = guidOf(service(store));
  bytes.append(reinterpret_cast<const char*>(provider.bytes()), 16);
  bytes.push_back(static_cast<char>(type));
  bytes.append(3, '\0');
  Guid target = guidOf(storeKey(store));
  if (object) {
    GUID raw = {0x0C000000u + static_cast<unsigned>(object), 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
    target = Guid(raw);
  }
  bytes.append(reinterpret_cast<const char*>(target.bytes()), 16);
  return bytes;
}

// A private store n of account n with an Inbox and an Outbox, the default folders of their
// kinds when it is the default store.
inline std::string privateStore(int n, bool isDefault = false) {
  std::string line = "store private name=Account" + std::to_string(n) + " service=" + zelvo::testing::utf8(service(n)) +
                     " key=" + zelvo::testing::utf8(storeKey(n)) + (isDefault ? " default" : "") + "\n";
  line += "folder Inbox " + hexOf(entryIdOf(n, 1, 0)) + (isDefault ? " default=6" : "") + "\n";
  line += "folder Outbox " + hexOf(entryIdOf(n, 1, 2)) + (isDefault ? " default=4" : "") + "\n";
  return line;
}
inline std::string publicStore(int account, int key) {
  return "store public service=" + zelvo::testing::utf8(service(account)) +
         " key=" + zelvo::testing::utf8(storeKey(key)) + "\n";
}
// A store of another provider; the stand-in gives its folders no entry id of ours.
inline std::string foreignStore(int key, bool isDefault = false) {
  return "store foreign name=\"Personal Folders\" key=" + zelvo::testing::utf8(storeKey(key)) +
         (isDefault ? " default" : "") + "\n";
}

// The product key of a registry of the test's own, below the user's root; removed after.
class ScopedRegistry {
 public:
  ScopedRegistry();
  ~ScopedRegistry();
  const zelvo::config::RegistryConfig& config() const { return *config_; }

 private:
  std::wstring base_;
  zelvo::config::RegistryConfig::Roots roots_{};
  std::unique_ptr<zelvo::config::RegistryConfig> config_;
};

// One log for every piece, so that order across them shows.
using Log = std::vector<std::string>;

// Answers each message box as the user would: the button, and whether the tick box is ticked.
class AnsweringMessageBox : public zelvo::addin::GUI::MessageBoxDisplay {
 public:
  explicit AnsweringMessageBox(std::shared_ptr<Log> log) : log_(std::move(log)) {
    previous_ = zelvo::addin::GUI::setMessageBoxDisplay(this);
  }
  ~AnsweringMessageBox() override { zelvo::addin::GUI::setMessageBoxDisplay(previous_); }
  int show(HWND, const std::wstring& text, const std::wstring& caption, UINT style) override;
  int showWithTickBox(HWND, const std::wstring& text, const std::wstring& caption, const std::wstring& checkText,
                      UINT style, bool& ticked) override;

  int button = IDOK;
  bool tick = false;
  struct Shown {
    std::wstring text, caption, checkText;
    UINT style;
  };
  std::vector<Shown> shown;

 private:
  std::shared_ptr<Log> log_;
  zelvo::addin::GUI::MessageBoxDisplay* previous_ = nullptr;
};

class RecordingSteps : public zelvo::addin::HostSteps {
 public:
  explicit RecordingSteps(std::shared_ptr<Log> log) : log_(std::move(log)) {}
  void configureActiveExplorer(zelvo::addin::UserInterface&) override { log_->push_back("configureActiveExplorer"); }
  void updateOfflineState(zelvo::addin::UserInterface&) override { log_->push_back("updateOfflineState"); }
  void adviseSyncObjectEvents(zelvo::addin::UserInterface&) override { log_->push_back("adviseSyncObjectEvents"); }
  void showContactsInAddressBook(IDispatch*) override { log_->push_back("showContactsInAddressBook"); }
  void addFolderToAddressBook(IDispatch*, const SBinary*, ULONG) override { log_->push_back("addFolderToAddressBook"); }
  void removeFolderFromAddressBook(IDispatch*, const SBinary*, const SBinary*, ULONG) override {
    log_->push_back("removeFolderFromAddressBook");
  }
  void remindOutOfOffice(zelvo::addin::UserInterface&) override { log_->push_back("remindOutOfOffice"); }
  bool getOutOfOfficeEnabled(IDispatch*) override { return outOfOfficeOn; }
  void toggleOnline(zelvo::addin::UserInterface&, bool pressed, bool& cancelDefault) override {
    log_->push_back(pressed ? "toggleOnline on" : "toggleOnline off");
    cancelDefault = true;
  }
  void sendReceiveAll(zelvo::addin::UserInterface&, bool&) override { log_->push_back("sendReceiveAll"); }

  bool outOfOfficeOn = false;

 private:
  std::shared_ptr<Log> log_;
};

class RecordingDialogs : public zelvo::addin::CommandDialogs {
 public:
  explicit RecordingDialogs(std::shared_ptr<Log> log) : log_(std::move(log)) {}
  int options(zelvo::addin::UserInterface&, IGlobalConfig* config, HWND) override {
    log_->push_back(config ? "options on a store" : "options without a store");
    return answer;
  }
  int delegation(zelvo::addin::UserInterface&, IGlobalConfig* config, HWND) override {
    log_->push_back(config ? "delegation on a store" : "delegation without a store");
    return answer;
  }
  void about(zelvo::addin::UserInterface&, HWND) override { log_->push_back("about"); }
  void outOfOffice(zelvo::addin::UserInterface&) override { log_->push_back("outOfOffice"); }
  void help(zelvo::addin::UserInterface&) override { log_->push_back("help"); }
  void rulesAndAlerts(zelvo::addin::UserInterface&, bool& cancelDefault) override {
    log_->push_back("rulesAndAlerts");
    cancelDefault = true;
  }
  void createMailRule(zelvo::addin::UserInterface&, IDispatch*, bool&) override { log_->push_back("createMailRule"); }

  int answer = IDOK;

 private:
  std::shared_ptr<Log> log_;
};

// The junk commands' answers, chosen by the test.
class ChosenSpam : public zelvo::addin::SpamActions {
 public:
  explicit ChosenSpam(std::shared_ptr<Log> log) : log_(std::move(log)) {}
  bool markAsJunkEmail(zelvo::addin::UserInterface&, bool junk) override {
    log_->push_back(junk ? "mark as spam" : "mark as not spam");
    return markSucceeds;
  }
  bool explorerSpamControlsAllowed(zelvo::addin::UserInterface&, IDispatch*) override { return folderAllowed; }
  bool explorerSpamControlsState(zelvo::addin::UserInterface&, IDispatch*, bool& isSpam, bool& notSpam) override {
    isSpam = selectionIsSpam;
    notSpam = selectionNotSpam;
    return true;
  }
  void inspectorSpamControlsState(zelvo::addin::UserInterface&, IDispatch*, bool& isSpam, bool& notSpam) override {
    isSpam = itemIsSpam;
    notSpam = itemNotSpam;
  }

  bool markSucceeds = true;
  bool folderAllowed = true;
  bool selectionIsSpam = false, selectionNotSpam = false;
  bool itemIsSpam = false, itemNotSpam = false;

 private:
  std::shared_ptr<Log> log_;
};

// A call by name through IDispatch, as the host makes it; the arguments in the member's order.
HRESULT invokeByName(IDispatch* object, const std::wstring& name, std::vector<VARIANT> arguments, VARIANT* result);

}  // namespace lifecycle_test
