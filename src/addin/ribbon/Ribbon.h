// The ribbon as data plus logic: the control ids of our ribbon XML and their numbers, the
// texts and images per number, the callback names the host calls by, which document a
// ribbon id gets, and the enabled, pressed and image rules. Everything here is free of the
// host: what the host knows (its version, the window's kind, the state of the selection)
// comes in as plain values, so the COM callbacks stay thin and this stays testable.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Win32.h"

namespace zelvo {
namespace addin {

// The number behind a control id. The launcher shares btnOptions' number: one command.
enum RibbonControlId : int {
  kTabZelvoHub = 0,
  kGrpExplorerMain = 1,
  kGrpOptions = 2,
  kGrpInspectorSpam = 3,
  kBtnIsSpam = 4,
  kBtnNotSpam = 5,
  kBtnOutOfOffice = 6,
  kBtnOptions = 7,
  kBtnDelegation = 8,
  kBtnAbout = 9,
  kBtnHelp = 10,
  kUnknownRibbonControl = 11,
};

// The number of a control id, exact in case; kUnknownRibbonControl for any other text.
RibbonControlId getRibbonControlId(std::wstring_view controlId);
// The control id to invalidate for a number; null for a number without one. The launcher
// has no entry: it cannot be invalidated by name.
const wchar_t* getRibbonControlName(int number);

// Texts (string ids) and icons (resource ids) of a number; 0 where the control has none.
struct RibbonControlInfo {
  unsigned label;
  unsigned screenTip;
  unsigned superTip;
  unsigned imageEnabled;
  unsigned imageDisabled;
  bool largeImage;
};
// The row of a number, or null: a number without a row has no text and no image.
const RibbonControlInfo* findRibbonControlInfo(int number);

enum class RibbonText { kLabel, kScreenTip, kSuperTip };
// A label or tip in the language in force; none for a number without that text, which
// leaves the host's out value as it was.
std::optional<std::wstring> getRibbonControlText(int number, RibbonText which);

// The callbacks the XML names, with the dispids the host reaches them by.
enum RibbonCallbackDispid : int {
  kExplorerOnLoad = 1,
  kInspectorOnLoad,
  kExplorerOnButtonAction,
  kExplorerOnToggleButtonAction,
  kInspectorOnButtonAction,
  kExplorerOnGetLabel,
  kInspectorOnGetLabel,
  kExplorerOnGetButtonImage,
  kInspectorOnGetButtonImage,
  kExplorerOnGetButtonEnabled,
  kInspectorOnGetButtonEnabled,
  kExplorerOnGetButtonScreentip,
  kInspectorOnGetButtonScreentip,
  kExplorerOnGetButtonSupertip,
  kInspectorOnGetButtonSupertip,
  kExplorerOnGetButtonPressed,
  kToggleOnlineCommandOnAction,
  kSendReceiveAllCommandOnAction,
  kRulesAndAlertsCommandOnAction,
  kCreateMailRuleCommandOnAction,
};
constexpr int kRibbonCallbackCount = 20;
// The dispid of a callback name, without regard to case (the XML writes ...ScreenTip where
// the interface has ...Screentip); -1 (DISPID_UNKNOWN) for any other name.
int findRibbonCallbackDispid(std::wstring_view name);
// The interface's spelling of a callback; null outside 1 to 20.
const wchar_t* getRibbonCallbackName(int dispid);

// The ribbon XML documents, as resource ids of the module.
enum RibbonXmlResource : int {
  kNoRibbonXml = 0,
  kExplorerRibbonXml = 15000,
  kInspectorRibbonXml = 15001,       // read inspectors of hosts with major version 14 or more
  kOldInspectorRibbonXml = 15002,    // read inspectors of earlier hosts
};
// Which document a ribbon id gets. ribbonAllowed is false in a profile without one of our
// stores, which has no ribbon at all. The host's major version only counts for a read
// inspector. Compose windows and other item classes get none.
RibbonXmlResource selectRibbonXml(std::wstring_view ribbonId, bool ribbonAllowed, int hostMajorVersion);
// Whether a ribbon id is a read inspector's: "Microsoft.Outlook.<class>.Read" with a
// non-empty class.
bool isReadInspectorRibbonId(std::wstring_view ribbonId);

// The bytes of a document as the module carries them; empty for another id.
std::string_view getRibbonXml(int resourceId);

// GetCustomUI's answer: the chosen document into *xml as a fresh string of the same length,
// or null when the ribbon id gets none. Raises E_POINTER for a null xml and E_OUTOFMEMORY
// when the copy cannot be made; *xml is left alone then.
void getCustomUi(std::wstring_view ribbonId, bool ribbonAllowed, int hostMajorVersion, BSTR* xml);

// What the host and the stores say about the window a control sits in, gathered by the
// callbacks before the rules below are applied.
enum class RibbonWindowKind { kExplorer, kInspector };
struct RibbonControlState {
  RibbonWindowKind window = RibbonWindowKind::kExplorer;
  // Explorer only: the current folder passes the junk commands' folder test.
  bool spamFolderAllowed = false;
  // The selection's (or the inspector item's) state: Mark as spam, Not spam may run.
  bool isSpam = false;
  bool notSpam = false;
  // The entry id of the window's folder parses to one of our stores.
  bool storeFolder = false;
  // The server's out-of-office state.
  bool outOfOfficeOn = false;
};

// The answer of getEnabled.
bool isRibbonControlEnabled(int number, const RibbonControlState& state);
// The answer of getPressed; none for a control that leaves the value as it is.
std::optional<bool> getRibbonControlPressed(int number, const RibbonControlState& state);

struct RibbonImage {
  unsigned iconId;
  bool large;
};
// The icon for getImage; none for a number without an image. Unlike getEnabled, the
// store controls look at the folder in an inspector as well.
std::optional<RibbonImage> getRibbonControlImage(int number, const RibbonControlState& state);

// What a click on a button runs.
enum class RibbonCommand { kNone, kMarkAsSpam, kMarkAsNotSpam, kOptions, kDelegation, kAbout, kHelp };
RibbonCommand getRibbonButtonCommand(int number);
// The toggle acts for the out-of-office button only.
bool isRibbonToggleCommand(int number);

// One InvalidateControl call: on the explorer ribbon (ribbon == kExplorerRibbon) or on the
// inspector ribbon of that index.
struct RibbonInvalidation {
  static constexpr std::ptrdiff_t kExplorerRibbon = -1;
  std::ptrdiff_t ribbon;
  const wchar_t* control;
  bool operator==(const RibbonInvalidation& other) const;
};
// After a junk command: the two spam buttons on the explorer ribbon, and unless
// explorerOnly on every inspector ribbon too, which happens even without an explorer ribbon.
std::vector<RibbonInvalidation> spamControlInvalidations(bool explorerOnly, bool haveExplorerRibbon,
                                                         std::size_t inspectorRibbons);
// After the out-of-office state may have changed.
std::vector<RibbonInvalidation> outOfOfficeInvalidations(bool haveExplorerRibbon);
// After the store in front may have changed.
std::vector<RibbonInvalidation> storeControlInvalidations(bool haveExplorerRibbon);

}  // namespace addin
}  // namespace zelvo
