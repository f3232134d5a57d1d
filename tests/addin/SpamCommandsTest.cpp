// The junk commands against the host stand-in and a reference store: which command each
// folder and selection offers, what reaches the store, the question before marking, and
// that a failure anywhere leaves the mailbox and the allocator as they were.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "addin/GUI.h"
#include "addin/SpamCommands.h"
#include "base/Guid.h"
#include "base/HResultException.h"
#include "base/LateBinding.h"
#include "store/reference/ReferenceAllocator.h"
#include "strings/Localization.h"
#include "testing/TestEnvironment.h"
#include "testing/outlook/StandIn.h"

namespace {

using namespace zelvo::addin;
using OutlookStandIn::ItemSetup;
using OutlookStandIn::StandIn;
using ReferenceStore::Operation;

Guid numbered(uint8_t group, uint8_t n) {
  GUID value{};
  value.Data1 = static_cast<unsigned long>(group) << 24;
  value.Data4[7] = n;
  return Guid(value);
}

const Guid kStoreKey = numbered(0x0B, 1);

// An id of the product: flags, the object's own Guid, a type, the store's key.
std::string productId(const Guid& own, const Guid& store = kStoreKey, uint8_t type = 1) {
  std::string bytes(4, '\0');
  bytes.append(reinterpret_cast<const char*>(own.bytes()), 16);
  bytes.append(1, static_cast<char>(type)).append(3, '\0');
  bytes.append(reinterpret_cast<const char*>(store.bytes()), 16);
  return bytes;
}
std::string messageId(uint8_t n) { return productId(numbered(0x3E, n)); }

std::wstring hex(const std::string& bytes) {
  static const wchar_t digits[] = L"0123456789ABCDEF";
  std::wstring text;
  for (unsigned char b : bytes) text += {digits[b >> 4], digits[b & 15]};
  return text;
}

// Inbox, Junk E-Mail and Contacts allow the commands by their flags, and so does the
// Outbox, which is kept out as the default folder of its type; Drafts does not.
std::string profileText() {
  std::string text =
      "store private name=Work service={0A000000-0000-0000-0000-000000000001} "
      "key={0B000000-0000-0000-0000-000000000001} default\n";
  const std::pair<const char*, const char*> folders[] = {{"Inbox", " default=6"},
                                                         {"Outbox", " default=4"},
                                                         {"\"Junk E-Mail\"", " default=23"},
                                                         {"Contacts", ""},
                                                         {"Drafts", ""}};
  uint8_t n = 0;
  for (const auto& [path, extra] : folders) {
    const std::wstring id = hex(productId(numbered(0x0F, n++)));
    text += std::string("folder ") + path + " " + std::string(id.begin(), id.end()) + extra + "\n";
  }
  return text + "store foreign name=\"Personal Folders\" key={0F000000-0000-0000-0000-000000000009}\n";
}

HRESULT codeOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const HResultException& e) {
    return e.getHResult();
  }
  return S_OK;
}

// A box that answers for the user, and remembers what it was shown.
class UserAtBox : public GUI::MessageBoxDisplay {
 public:
  struct Shown {
    std::wstring text, caption, checkText;
    UINT style;
    bool tickedWhenShown;
  };
  int button = IDOK;
  bool ticks = false;
  std::vector<Shown> shown;

  int show(HWND, const std::wstring&, const std::wstring&, UINT) override { return IDCANCEL; }
  int showWithTickBox(HWND, const std::wstring& text, const std::wstring& caption, const std::wstring& checkText,
                      UINT style, bool& ticked) override {
    shown.push_back({text, caption, checkText, style, ticked});
    if (ticks) ticked = true;
    return button;
  }
};

class SpamCommandsTest : public ::testing::Test {
 public:
  void SetUp() override {
    ReferenceStore::ReferenceAllocator::resetDiagnostics();
    blocksBefore_ = ReferenceStore::ReferenceAllocator::liveBlocks();
    previousBox_ = GUI::setMessageBoxDisplay(&box_);
    ReferenceStore::Mailbox m = store().mailbox();
    for (auto& folder : m.folders) folder.folderFlags = folder.path == L"Drafts" ? 0 : kFolderFlagSpamCommands;
    m.messages.push_back({messageId(1), {}});
    m.messages.push_back({messageId(2), {{kJunkMarkPropertyTag, ReferenceStore::PropertyValue(true)}}});
    m.messages.push_back({messageId(3), {{kJunkMarkPropertyTag, ReferenceStore::PropertyValue(false)}}});
    store().setMailbox(m);
    host_.setDefaultItemType(0, L"Contacts", 2);
    AddIn::Utils::getMsoGlobalConfigs(host_.nameSpace().get(), configs_);
    // The settings live in keys of this test below the user's root.
    base_ = L"Software\\Zelvo Tests\\" + Guid::create().toString();
    for (auto [root, name] : {std::pair{&roots_.localMachine, L"\\Machine"},
                              {&roots_.currentUser, L"\\User"},
                              {&roots_.classesRoot, L"\\Classes"}})
      RegCreateKeyExW(HKEY_CURRENT_USER, (base_ + name).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, root, nullptr);
    resetProductKey();
    registry_ = std::make_unique<zelvo::config::RegistryConfig>(roots_);
  }
  void TearDown() override {
    GUI::setMessageBoxDisplay(previousBox_);
    for (HKEY key : {roots_.localMachine, roots_.currentUser, roots_.classesRoot}) RegCloseKey(key);
    RegDeleteTreeW(HKEY_CURRENT_USER, base_.c_str());
    EXPECT_EQ(ReferenceStore::ReferenceAllocator::liveBlocks(), blocksBefore_) << "every block went back";
    EXPECT_EQ(ReferenceStore::ReferenceAllocator::misuses(), 0u);
  }

  void resetProductKey() {
    RegDeleteTreeW(roots_.currentUser, zelvo::config::RegistryConfig::kProductKey);
    HKEY product = nullptr;
    RegCreateKeyExW(roots_.currentUser, zelvo::config::RegistryConfig::kProductKey, 0, nullptr, 0, KEY_ALL_ACCESS,
                    nullptr, &product, nullptr);
    RegCloseKey(product);
  }
  ReferenceStore::Store& store() { return host_.store(0); }
  ComRef<IDispatch> folder(const wchar_t* path, size_t storeIndex = 0) { return host_.folder(storeIndex, path); }
  ComRef<IDispatch> mail(const std::wstring& id, bool sent = true, bool isMail = true) {
    return host_.item(ItemSetup{id, isMail, sent, folder(L"Inbox")});
  }
  ComRef<IDispatch> message(uint8_t n) { return mail(hex(messageId(n))); }
  void explore(const wchar_t* path, std::vector<ComRef<IDispatch>> selection) {
    host_.openExplorer(folder(path).get());
    host_.select(std::move(selection));
  }
  SpamCommands commands() { return SpamCommands(app_.get(), ns_.get(), configs_, *registry_); }
  SpamControlsState explorerState() {
    SpamControlsState state{true, true};
    commands().determineExplorerSpamControlsStateSimple(activeExplorer().get(), state.isSpam, state.notSpam);
    return state;
  }
  ComRef<IDispatch> activeExplorer() { return zelvo::callMethod(app_.get(), L"ActiveExplorer").toDispatch(); }
  ComRef<IDispatch> activeInspector() { return zelvo::callMethod(app_.get(), L"ActiveInspector").toDispatch(); }
  std::optional<bool> junkMark(uint8_t n) {
    for (const auto& m : store().mailbox().messages)
      if (m.entryId == messageId(n)) {
        const auto found = m.properties.find(kJunkMarkPropertyTag);
        if (found != m.properties.end()) return std::get<bool>(found->second);
      }
    return std::nullopt;
  }
  void setConfirm(std::optional<bool> value) {
    if (value) zelvo::config::setConfirmMarkAsSpam(*value, *registry_);
  }

  StandIn host_{OutlookStandIn::parseProfile(profileText())};
  ComRef<IDispatch> app_ = host_.application();
  ComRef<IDispatch> ns_ = host_.nameSpace();
  AddIn::Utils::StoreConfigs configs_;
  UserAtBox box_;
  GUI::MessageBoxDisplay* previousBox_ = nullptr;
  std::wstring base_;
  zelvo::config::RegistryConfig::Roots roots_{};
  std::unique_ptr<zelvo::config::RegistryConfig> registry_;
  size_t blocksBefore_ = 0;
};

TEST_F(SpamCommandsTest, FolderTestAllowsMailFoldersOfOurStoresThatSayso) {
  const struct {
    const wchar_t* path;
    size_t store;
    bool allowed;
  } cases[] = {
      {L"Inbox", 0, true},     {L"Junk E-Mail", 0, true},
      {L"Outbox", 0, false},    // the default folder of its type, whatever its flags
      {L"Contacts", 0, false},  // holds no mail
      {L"Drafts", 0, false},    // its flags say no
      {L"Archive", 0, false},   // a folder the store does not know
      {L"Inbox", 1, false},     // a foreign store hands out no folder config
  };
  for (const auto& c : cases) {
    const ComRef<IDispatch> f = folder(c.path, c.store);
    host_.openExplorer(f.get());
    EXPECT_EQ(commands().determineExplorerSpamControlsStateAllowed(activeExplorer().get()), c.allowed)
        << zelvo::testing::utf8(c.path) << " of store " << c.store;
  }
  host_.openExplorer(nullptr);
  EXPECT_FALSE(commands().determineExplorerSpamControlsStateAllowed(activeExplorer().get())) << "no folder";
  EXPECT_EQ(codeOf([&] { commands().determineExplorerSpamControlsStateAllowed(nullptr); }), E_INVALIDARG);
  store().failNext(Operation::GetFolderFlags, E_FAIL);
  host_.openExplorer(folder(L"Inbox").get());
  EXPECT_FALSE(commands().determineExplorerSpamControlsStateAllowed(activeExplorer().get()));
}

TEST_F(SpamCommandsTest, SelectionOffersTheCommandsItsItemsAllow) {
  const struct {
    const char* what;
    std::function<std::vector<ComRef<IDispatch>>(SpamCommandsTest&)> selection;
    bool isSpam, notSpam;
  } cases[] = {
      {"nothing", [](auto&) { return std::vector<ComRef<IDispatch>>{}; }, false, false},
      {"good mail without a mark", [](auto& t) { return std::vector{t.message(1)}; }, true, false},
      {"mail the server marked junk", [](auto& t) { return std::vector{t.message(2)}; }, false, true},
      {"mail marked good", [](auto& t) { return std::vector{t.message(3)}; }, true, false},
      {"a draft", [](auto& t) { return std::vector{t.mail(hex(messageId(2)), false)}; }, false, false},
      {"an appointment", [](auto& t) { return std::vector{t.mail(hex(messageId(2)), true, false)}; }, false, false},
      {"two items of any kind",
       [](auto& t) {
         return std::vector{t.mail(L"", false), t.mail(L"", true, false)};
       },
       true, true},
      {"a message the store lacks", [](auto& t) { return std::vector{t.message(9)}; }, true, false},
      {"another provider's id", [](auto& t) { return std::vector{t.mail(L"00112233")}; }, true, false},
      {"no entry id", [](auto& t) { return std::vector{t.mail(L"")}; }, true, false},
      {"an id with a nil store part",
       [](auto& t) { return std::vector{t.mail(hex(productId(numbered(0x3E, 2), Guid())))}; }, true, false},
      {"an id of a store not ours",
       [](auto& t) { return std::vector{t.mail(hex(productId(numbered(0x3E, 2), numbered(0x0B, 7))))}; }, true, false},
  };
  for (const auto& c : cases) {
    explore(L"Inbox", c.selection(*this));
    const SpamControlsState state = explorerState();
    EXPECT_EQ(state.isSpam, c.isSpam) << c.what;
    EXPECT_EQ(state.notSpam, c.notSpam) << c.what;
  }
}

TEST_F(SpamCommandsTest, ARefusedSelectionOrAFailingStoreFallsBack) {
  explore(L"Inbox", {message(2)});
  host_.failNext(L"Selection", E_FAIL);
  SpamControlsState state{true, true};
  EXPECT_FALSE(
      commands().determineExplorerSpamControlsStateSimple(activeExplorer().get(), state.isSpam, state.notSpam));
  EXPECT_FALSE(state.isSpam || state.notSpam);
  host_.failNext(L"Count", E_FAIL);
  EXPECT_EQ(codeOf([&] { explorerState(); }), E_FAIL);
  // The store cannot say: Mark as spam only.
  for (Operation op : {Operation::GetAllocator, Operation::GetMessageProperties}) {
    store().failNext(op, MAPI_E_CALL_FAILED);
    state = explorerState();
    EXPECT_TRUE(state.isSpam && !state.notSpam);
    EXPECT_EQ(store().pendingFailures(), 0u);
  }
}

TEST_F(SpamCommandsTest, AnInspectorIsJudgedByItsItemAlone) {
  const struct {
    ComRef<IDispatch> item;
    bool isSpam, notSpam;
  } cases[] = {{message(2), false, true}, {message(1), true, false}, {mail(hex(messageId(2)), false), false, false}};
  for (const auto& c : cases) {
    host_.openInspector(c.item.get());
    const ComRef<IDispatch> inspector = activeInspector();
    SpamControlsState state;
    commands().getSpamControlStateFromButton(host_.ribbonControl(L"btnIsSpam", L"", inspector.get()).get(),
                                             state.isSpam, state.notSpam);
    EXPECT_EQ(state.isSpam, c.isSpam);
    EXPECT_EQ(state.notSpam, c.notSpam);
  }
  host_.openExplorer(folder(L"Inbox").get());
  bool isSpam, notSpam;
  EXPECT_EQ(codeOf([&] {
              commands().getSpamControlStateFromButton(
                  host_.ribbonControl(L"btnIsSpam", L"", activeExplorer().get()).get(), isSpam, notSpam);
            }),
            E_INVALIDARG);
  EXPECT_EQ(codeOf([&] { commands().getSpamControlStateFromButton(activeExplorer().get(), isSpam, notSpam); }),
            E_INVALIDARG);
}

TEST_F(SpamCommandsTest, OnlyAnInspectorOfMailIsFollowed) {
  const ComRef<IDispatch> items[] = {message(1), mail(L"", true, false), ComRef<IDispatch>()};
  for (const auto& item : items) {
    host_.openInspector(item.get());
    ComRef<IDispatch> mailItem;
    EXPECT_EQ(AddIn::Utils::isInspectorForMailItem(activeInspector().get(), &mailItem), (&item == &items[0]));
    EXPECT_EQ(static_cast<bool>(mailItem), (&item == &items[0]));
    EXPECT_EQ(AddIn::Utils::isInspectorForMailItem(activeInspector().get(), nullptr), (&item == &items[0]));
  }
  ComRef<IDispatch> taken = message(2);
  EXPECT_EQ(codeOf([&] { AddIn::Utils::isInspectorForMailItem(activeInspector().get(), &taken); }), E_INVALIDARG);
}

TEST_F(SpamCommandsTest, MarkingHandsTheReadableIdsOverAndMovesTheState) {
  setConfirm(false);
  explore(L"Inbox", {message(1), mail(L"NOT-HEX"), message(3)});
  EXPECT_TRUE(commands().markAsJunkEmail(true));
  ASSERT_EQ(store().activity().junkMarks.size(), 1u);
  EXPECT_EQ(store().activity().junkMarks[0].entryIds, (std::vector{messageId(1), messageId(3)}));
  EXPECT_TRUE(store().activity().junkMarks[0].junk);
  EXPECT_EQ(junkMark(1), true);

  host_.select({message(1)});
  SpamControlsState state = explorerState();
  EXPECT_TRUE(!state.isSpam && state.notSpam) << "the next computation sees the store's new mark";
  EXPECT_TRUE(commands().markAsJunkEmail(false));
  EXPECT_FALSE(store().activity().junkMarks.back().junk);
  state = explorerState();
  EXPECT_TRUE(state.isSpam && !state.notSpam);

  // A read inspector in front: its item, in the store of the item's folder.
  host_.openInspector(message(2).get());
  EXPECT_TRUE(commands().markAsJunkEmail(false));
  EXPECT_EQ(store().activity().junkMarks.back().entryIds, std::vector{messageId(2)});
  EXPECT_EQ(junkMark(2), false);
  host_.openInspector(host_.item(ItemSetup{hex(messageId(3))}).get());
  EXPECT_FALSE(commands().markAsJunkEmail(false)) << "an item without a folder names no store";
  host_.select({});
  host_.closeInspector();
  host_.closeInspector();
  EXPECT_FALSE(commands().markAsJunkEmail(false)) << "nothing selected";
  EXPECT_EQ(store().activity().junkMarks.size(), 3u);
}

TEST_F(SpamCommandsTest, TheQuestionIsAskedUntilTheUserTicksItAway) {
  const struct {
    std::optional<bool> stored;
    bool junk;
    int button;
    bool ticks;
    size_t selected;
    bool asked, marked, storedAfter;
  } cases[] = {
      {std::nullopt, true, IDOK, false, 1, true, true, true},
      {std::nullopt, true, IDCANCEL, false, 2, true, false, true},
      {true, true, IDOK, true, 2, true, true, false},
      // The tick counts whichever button closed the box.
      {true, true, IDCANCEL, true, 1, true, false, false},
      {false, true, IDCANCEL, false, 1, false, true, false},
      {true, false, IDCANCEL, false, 1, false, true, true},
      // Nothing to mark: no question either.
      {std::nullopt, true, IDOK, false, 0, false, false, true},
  };
  for (const auto& c : cases) {
    resetProductKey();
    setConfirm(c.stored);
    box_ = UserAtBox();
    box_.button = c.button;
    box_.ticks = c.ticks;
    const size_t marksBefore = store().activity().junkMarks.size();
    const ComRef<IDispatch> twoMessages[] = {message(1), message(3)};
    explore(L"Inbox", std::vector(std::begin(twoMessages), std::begin(twoMessages) + c.selected));
    EXPECT_EQ(commands().markAsJunkEmail(c.junk), c.marked);
    EXPECT_EQ(store().activity().junkMarks.size(), marksBefore + (c.marked ? 1 : 0));
    EXPECT_EQ(zelvo::config::getConfirmMarkAsSpam(*registry_), c.storedAfter);
    ASSERT_EQ(box_.shown.size(), c.asked ? 1u : 0u);
    if (!c.asked) continue;
    const auto& shown = box_.shown[0];
    EXPECT_EQ(shown.text, Localization::getString(c.selected == 1 ? 15005 : 15006) + L"\n\n\n");
    EXPECT_EQ(shown.caption, Localization::getString(5000));
    EXPECT_EQ(shown.checkText, Localization::getString(15007));
    EXPECT_EQ(shown.style, static_cast<UINT>(MB_OKCANCEL | MB_ICONEXCLAMATION));
    EXPECT_FALSE(shown.tickedWhenShown);
  }
}

TEST_F(SpamCommandsTest, EachFailingCallLosesNothing) {
  setConfirm(false);
  const ReferenceStore::Mailbox before = store().mailbox();
  explore(L"Inbox", {message(1), message(3)});
  const std::function<void()> failures[] = {
      [&] { store().failNext(Operation::OpenProperty, MAPI_E_CALL_FAILED); },
      [&] { store().failNext(Operation::GetGlobalConfig, MAPI_E_CALL_FAILED); },
      [&] { store().failNext(Operation::GetAllocator, MAPI_E_CALL_FAILED); },
      [&] { store().failNext(Operation::MarkAsJunk, MAPI_E_CALL_FAILED); },
      [&] { host_.failNext(L"ActiveWindow", E_FAIL); },
      [&] { host_.failNext(L"Selection", E_FAIL); },
      [&] { host_.failNext(L"CurrentFolder", E_FAIL); },
      [&] {
        host_.failNext(L"GetProps", E_FAIL);
        host_.failNext(L"GetProps", E_FAIL);
      },
  };
  for (size_t i = 0; i < std::size(failures); ++i) {
    failures[i]();
    EXPECT_FALSE(commands().markAsJunkEmail(true)) << "failure " << i;
    EXPECT_EQ(store().pendingFailures(), 0u) << "failure " << i << " was reached";
  }
  EXPECT_TRUE(store().activity().junkMarks.empty());
  EXPECT_TRUE(store().mailbox() == before);
  // Every allocation of the command in turn, the host's reading of the id among them.
  host_.select({message(1)});
  bool done = false;
  size_t failed = 0;
  for (size_t skip = 0; !done && skip < 20; ++skip) {
    ReferenceStore::ReferenceAllocator::failAllocation(E_OUTOFMEMORY, skip);
    done = commands().markAsJunkEmail(true);
    if (!done) {
      EXPECT_TRUE(store().activity().junkMarks.empty()) << "allocation " << skip;
      failed = skip + 1;
    }
    EXPECT_EQ(ReferenceStore::ReferenceAllocator::liveBlocks(), blocksBefore_);
  }
  ReferenceStore::ReferenceAllocator::resetDiagnostics();
  EXPECT_TRUE(done);
  EXPECT_GE(failed, 3u) << "the array's three blocks were each made to fail";
  EXPECT_EQ(store().activity().junkMarks.size(), 1u);
  EXPECT_EQ(junkMark(1), true);
}

TEST_F(SpamCommandsTest, TheArrayIsBuiltFromTheStoreAllocatorAndFreed) {
  const ComRef<IGlobalConfig> config = store().globalConfig();
  ComRef<IStoreAllocator> allocator;
  AddIn::Utils::getAllocatorFromConfig(config.get(), allocator);
  const std::vector<std::string> ids = {std::string(44, '\x7F'), std::string(), std::string("\0\1", 2)};
  zelvo::addin::details::executeMarkAsJunkEmail(false, config.get(), allocator.get(), ids);
  ASSERT_EQ(store().activity().junkMarks.size(), 1u);
  EXPECT_EQ(store().activity().junkMarks[0].entryIds, ids);
  EXPECT_EQ(codeOf([&] { zelvo::addin::details::executeMarkAsJunkEmail(true, nullptr, allocator.get(), ids); }),
            E_INVALIDARG);
  EXPECT_EQ(codeOf([&] { zelvo::addin::details::executeMarkAsJunkEmail(true, config.get(), nullptr, ids); }),
            E_INVALIDARG);
  const ComRef<IDispatch> item = message(1);
  EXPECT_EQ(codeOf([&] { getObjectBinaryProperty(item.get(), PR_DISPLAY_NAME_W); }), E_INVALIDARG);
  EXPECT_EQ(getObjectBinaryProperty(item.get(), PR_ENTRYID), messageId(1));
}

}  // namespace
