#include "addin/ribbon/Ribbon.h"

#include <array>
#include <regex>
#include <unordered_map>

#include "base/HResultException.h"
#include "strings/Localization.h"
#include "strings/StringIds.h"

namespace zelvo {
namespace addin {

namespace {

struct ControlRow {
  const wchar_t* id;
  RibbonControlId number;
};

// Every control id of the XML that has a number. The reverse table is the same rows
// without the launcher, so each number has one name to invalidate by.
constexpr ControlRow kControlRows[] = {
    {L"tabZelvoHub", kTabZelvoHub},
    {L"grpExplorerMain", kGrpExplorerMain},
    {L"grpOptions", kGrpOptions},
    {L"grpInspectorSpam", kGrpInspectorSpam},
    {L"btnIsSpam", kBtnIsSpam},
    {L"btnNotSpam", kBtnNotSpam},
    {L"btnOutOfOffice", kBtnOutOfOffice},
    {L"btnOptions", kBtnOptions},
    {L"btnOptionsLauncher", kBtnOptions},
    {L"btnDelegation", kBtnDelegation},
    {L"btnAbout", kBtnAbout},
    {L"btnHelp", kBtnHelp},
};
constexpr const wchar_t* kLauncherId = L"btnOptionsLauncher";

// The host asks by text on every repaint; the map is built once, at the first ask. A
// function-local static is initialised under the compiler's guard lock, so two first
// callers on different threads build it once between them, and after that it is only read.
const std::unordered_map<std::wstring_view, RibbonControlId>& controlIdTable() {
  static const std::unordered_map<std::wstring_view, RibbonControlId> table = [] {
    std::unordered_map<std::wstring_view, RibbonControlId> rows;
    for (const ControlRow& row : kControlRows) rows.emplace(row.id, row.number);
    return rows;
  }();
  return table;
}

const std::array<const wchar_t*, kUnknownRibbonControl>& controlNameTable() {
  static const std::array<const wchar_t*, kUnknownRibbonControl> table = [] {
    std::array<const wchar_t*, kUnknownRibbonControl> names{};
    for (const ControlRow& row : kControlRows) {
      if (std::wstring_view(row.id) != kLauncherId) names[row.number] = row.id;
    }
    return names;
  }();
  return table;
}

// Per number: label, screen tip, super tip, icon when enabled, icon when disabled, large.
constexpr RibbonControlInfo kControlInfo[] = {
    /* 0  tabZelvoHub      */ {IDS_RIBBON_TAB, 0, 0, 0, 0, false},
    /* 1  grpExplorerMain  */ {IDS_RIBBON_GROUP_MAIL, 0, 0, 0, 0, false},
    /* 2  grpOptions       */ {IDS_RIBBON_GROUP_OPTIONS, 0, 0, 0, 0, false},
    /* 3  grpInspectorSpam */ {IDS_RIBBON_GROUP_SPAM, 0, 0, 0, 0, false},
    /* 4  btnIsSpam        */ {IDS_RIBBON_IS_SPAM, IDS_RIBBON_IS_SPAM, IDS_RIBBON_IS_SPAM_TIP, 301, 302, true},
    /* 5  btnNotSpam       */ {IDS_RIBBON_NOT_SPAM, IDS_RIBBON_NOT_SPAM, IDS_RIBBON_NOT_SPAM_TIP, 303, 304, true},
    /* 6  btnOutOfOffice   */
    {IDS_RIBBON_OUT_OF_OFFICE, IDS_RIBBON_OUT_OF_OFFICE, IDS_RIBBON_OUT_OF_OFFICE_TIP, 251, 265, true},
    /* 7  btnOptions       */ {IDS_RIBBON_OPTIONS, IDS_RIBBON_OPTIONS, IDS_RIBBON_OPTIONS_TIP, 305, 309, false},
    /* 8  btnDelegation    */
    {IDS_RIBBON_DELEGATION, IDS_RIBBON_DELEGATION, IDS_RIBBON_DELEGATION_TIP, 308, 310, false},
    /* 9  btnAbout         */ {IDS_RIBBON_ABOUT, IDS_RIBBON_ABOUT, IDS_RIBBON_ABOUT_TIP, 306, 306, false},
    /* 10 btnHelp          */ {IDS_RIBBON_HELP, IDS_RIBBON_HELP, IDS_RIBBON_HELP_TIP, 307, 307, false},
};
static_assert(std::size(kControlInfo) == kUnknownRibbonControl, "one row per known number");

// In dispid order, from 1; the interface's spelling.
constexpr const wchar_t* kCallbackNames[kRibbonCallbackCount] = {
    L"explorerOnLoad",
    L"inspectorOnLoad",
    L"explorerOnButtonAction",
    L"explorerOnToggleButtonAction",
    L"inspectorOnButtonAction",
    L"explorerOnGetLabel",
    L"inspectorOnGetLabel",
    L"explorerOnGetButtonImage",
    L"inspectorOnGetButtonImage",
    L"explorerOnGetButtonEnabled",
    L"inspectorOnGetButtonEnabled",
    L"explorerOnGetButtonScreentip",
    L"inspectorOnGetButtonScreentip",
    L"explorerOnGetButtonSupertip",
    L"inspectorOnGetButtonSupertip",
    L"explorerOnGetButtonPressed",
    L"toggleOnlineCommandOnAction",
    L"sendReceiveAllCommandOnAction",
    L"rulesAndAlertsCommandOnAction",
    L"createMailRuleCommandOnAction",
};

// The names are ASCII; folding only ASCII keeps the answer the same whatever the locale.
wchar_t foldAscii(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; }

bool equalsIgnoringCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (foldAscii(a[i]) != foldAscii(b[i])) return false;
  }
  return true;
}

std::vector<RibbonInvalidation> explorerInvalidations(bool haveExplorerRibbon,
                                                      std::initializer_list<RibbonControlId> numbers) {
  std::vector<RibbonInvalidation> calls;
  if (!haveExplorerRibbon) return calls;
  for (RibbonControlId number : numbers) calls.push_back({RibbonInvalidation::kExplorerRibbon, getRibbonControlName(number)});
  return calls;
}

}  // namespace

RibbonControlId getRibbonControlId(std::wstring_view controlId) {
  const auto& table = controlIdTable();
  const auto found = table.find(controlId);
  return found == table.end() ? kUnknownRibbonControl : found->second;
}

const wchar_t* getRibbonControlName(int number) {
  if (number < 0 || number >= kUnknownRibbonControl) return nullptr;
  return controlNameTable()[static_cast<std::size_t>(number)];
}

const RibbonControlInfo* findRibbonControlInfo(int number) {
  if (number < 0 || number >= kUnknownRibbonControl) return nullptr;
  return &kControlInfo[number];
}

std::optional<std::wstring> getRibbonControlText(int number, RibbonText which) {
  const RibbonControlInfo* info = findRibbonControlInfo(number);
  if (!info) return std::nullopt;
  const unsigned id = which == RibbonText::kLabel       ? info->label
                      : which == RibbonText::kScreenTip ? info->screenTip
                                                        : info->superTip;
  if (id == 0) return std::nullopt;
  return Localization::getString(id);
}

int findRibbonCallbackDispid(std::wstring_view name) {
  for (int i = 0; i < kRibbonCallbackCount; ++i) {
    if (equalsIgnoringCase(name, kCallbackNames[i])) return i + 1;
  }
  return -1;
}

const wchar_t* getRibbonCallbackName(int dispid) {
  if (dispid < 1 || dispid > kRibbonCallbackCount) return nullptr;
  return kCallbackNames[dispid - 1];
}

bool isReadInspectorRibbonId(std::wstring_view ribbonId) {
  // Compiled once, at the first read inspector's ask.
  static const std::wregex readInspector(L"^Microsoft\\.Outlook\\..+\\.Read$", std::regex::ECMAScript);
  return std::regex_match(ribbonId.begin(), ribbonId.end(), readInspector);
}

RibbonXmlResource selectRibbonXml(std::wstring_view ribbonId, bool ribbonAllowed, int hostMajorVersion) {
  if (!ribbonAllowed) return kNoRibbonXml;
  if (ribbonId == L"Microsoft.Outlook.Explorer") return kExplorerRibbonXml;
  if (!isReadInspectorRibbonId(ribbonId)) return kNoRibbonXml;
  return hostMajorVersion >= 14 ? kInspectorRibbonXml : kOldInspectorRibbonXml;
}

void getCustomUi(std::wstring_view ribbonId, bool ribbonAllowed, int hostMajorVersion, BSTR* xml) {
  if (!xml) ZEL_HERE.raise(E_POINTER);
  const RibbonXmlResource resource = selectRibbonXml(ribbonId, ribbonAllowed, hostMajorVersion);
  if (resource == kNoRibbonXml) {
    *xml = nullptr;
    return;
  }
  // The documents are ASCII (a test holds them to it), so each byte is one character.
  const std::string_view bytes = getRibbonXml(resource);
  const std::wstring text(bytes.begin(), bytes.end());
  BSTR copy = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (!copy) ZEL_HERE.raise(E_OUTOFMEMORY);
  *xml = copy;
}

bool isRibbonControlEnabled(int number, const RibbonControlState& state) {
  const bool explorer = state.window == RibbonWindowKind::kExplorer;
  switch (number) {
    case kBtnIsSpam:
      // Outside a folder that passes the folder test neither junk command is offered,
      // whatever is selected; an inspector has no folder test.
      return (!explorer || state.spamFolderAllowed) && state.isSpam;
    case kBtnNotSpam:
      return (!explorer || state.spamFolderAllowed) && state.notSpam;
    case kBtnOutOfOffice:
    case kBtnOptions:
    case kBtnDelegation:
      return !explorer || state.storeFolder;
    default:
      return true;
  }
}

std::optional<bool> getRibbonControlPressed(int number, const RibbonControlState& state) {
  // The toggle shows what the server says, not what the last click said.
  if (number == kBtnOutOfOffice) return state.outOfOfficeOn;
  return std::nullopt;
}

std::optional<RibbonImage> getRibbonControlImage(int number, const RibbonControlState& state) {
  const RibbonControlInfo* info = findRibbonControlInfo(number);
  if (!info || info->imageEnabled == 0) return std::nullopt;
  bool enabled = true;
  switch (number) {
    case kBtnIsSpam:
    case kBtnNotSpam:
      enabled = isRibbonControlEnabled(number, state);
      break;
    case kBtnOutOfOffice:
    case kBtnOptions:
    case kBtnDelegation:
      enabled = state.storeFolder;
      break;
    default:
      break;
  }
  return RibbonImage{enabled ? info->imageEnabled : info->imageDisabled, info->largeImage};
}

RibbonCommand getRibbonButtonCommand(int number) {
  switch (number) {
    case kBtnIsSpam: return RibbonCommand::kMarkAsSpam;
    case kBtnNotSpam: return RibbonCommand::kMarkAsNotSpam;
    case kBtnOptions: return RibbonCommand::kOptions;
    case kBtnDelegation: return RibbonCommand::kDelegation;
    case kBtnAbout: return RibbonCommand::kAbout;
    case kBtnHelp: return RibbonCommand::kHelp;
    default: return RibbonCommand::kNone;
  }
}

bool isRibbonToggleCommand(int number) { return number == kBtnOutOfOffice; }

bool RibbonInvalidation::operator==(const RibbonInvalidation& other) const {
  return ribbon == other.ribbon && std::wstring_view(control) == other.control;
}

std::vector<RibbonInvalidation> spamControlInvalidations(bool explorerOnly, bool haveExplorerRibbon,
                                                         std::size_t inspectorRibbons) {
  std::vector<RibbonInvalidation> calls = explorerInvalidations(haveExplorerRibbon, {kBtnNotSpam, kBtnIsSpam});
  if (explorerOnly) return calls;
  for (std::size_t i = 0; i < inspectorRibbons; ++i) {
    const auto index = static_cast<std::ptrdiff_t>(i);
    calls.push_back({index, getRibbonControlName(kBtnNotSpam)});
    calls.push_back({index, getRibbonControlName(kBtnIsSpam)});
  }
  return calls;
}

std::vector<RibbonInvalidation> outOfOfficeInvalidations(bool haveExplorerRibbon) {
  return explorerInvalidations(haveExplorerRibbon, {kBtnOutOfOffice});
}

std::vector<RibbonInvalidation> storeControlInvalidations(bool haveExplorerRibbon) {
  return explorerInvalidations(haveExplorerRibbon, {kBtnOutOfOffice, kBtnOptions, kBtnDelegation});
}

}  // namespace addin
}  // namespace zelvo
