// The ribbon side of UserInterface: its documents, the callbacks the host calls by name,
// the button commands and the invalidations after them; and the dispatch faces of the
// life cycle and the documents.
#include "addin/GUI.h"
#include "addin/UserInterface.h"
#include "base/HResultException.h"
#include "base/LateBinding.h"
#include "base/Variant.h"

namespace zelvo {
namespace addin {

namespace details {

ComRef<IDispatch> dispatchOrNull(const Variant& value) {
  if (value.type() == VT_EMPTY || value.type() == VT_NULL) return {};
  return value.toDispatch();
}

// The control the host called for, as IRibbonControl; anything else raises E_INVALIDARG.
ComRef<IDispatch> ribbonControlOf(IDispatch* control) {
  if (!control) ZEL_HERE.raise(E_INVALIDARG);
  ComRef<IDispatch> ribbonControl;
  if (FAILED(control->QueryInterface(IID_IRibbonControl, ribbonControl.putVoid())) || !ribbonControl)
    ZEL_HERE.raise(E_INVALIDARG);
  return ribbonControl;
}

int controlNumber(IDispatch* ribbonControl) { return getRibbonControlId(getProperty(ribbonControl, L"Id").toText()); }

// The window a control sits in.
ComRef<IDispatch> contextOf(IDispatch* ribbonControl) {
  const ComRef<IDispatch> context = dispatchOrNull(getProperty(ribbonControl, L"Context"));
  if (!context) ZEL_HERE.raise(E_INVALIDARG);
  return context;
}

ComRef<IDispatch> explorerOf(IDispatch* ribbonControl) {
  const ComRef<IDispatch> context = contextOf(ribbonControl);
  ComRef<IDispatch> explorer;
  if (FAILED(context->QueryInterface(AddIn::Utils::IID__Explorer, explorer.putVoid())) || !explorer)
    ZEL_HERE.raise(E_INVALIDARG);
  return explorer;
}

bool isSpamButton(int number) { return number == kBtnIsSpam || number == kBtnNotSpam; }
bool isStoreButton(int number) {
  return number == kBtnOutOfOffice || number == kBtnOptions || number == kBtnDelegation;
}

// The host passes cancelDefault by reference; a value given otherwise is read and dropped.
class CancelDefault {
 public:
  CancelDefault(const DispatchCall& call, UINT place) : argument_(call.argument(place)) {
    if (argument_.type() == (VT_BOOL | VT_BYREF)) {
      target_ = argument_.get().pboolVal;
      if (!target_) ZEL_HERE.raise(E_INVALIDARG);
      value_ = *target_ != VARIANT_FALSE;
    } else {
      value_ = argument_.toBool();
    }
  }
  bool& value() { return value_; }
  void store() const {
    if (target_) *target_ = value_ ? VARIANT_TRUE : VARIANT_FALSE;
  }

 private:
  Variant argument_;
  VARIANT_BOOL* target_ = nullptr;
  bool value_ = false;
};

UserInterface& owner(ExtensibilityFace& face) { return static_cast<UserInterface&>(face); }
UserInterface& owner(RibbonExtensibilityFace& face) { return static_cast<UserInterface&>(face); }
UserInterface& owner(RibbonCallbackFace& face) { return static_cast<UserInterface&>(face); }

void answer(DispatchCall& call, HRESULT hr) {
  if (FAILED(hr)) ZEL_HERE.raise(hr);
  call.answer = hr;
}

void answerText(DispatchCall& call, const std::optional<std::wstring>& text) {
  if (text) call.result = Variant::fromText(*text);
}

const DispatchTable<ExtensibilityFace>& ExtensibilityFace::dispatchTable() {
  static const DispatchTable<ExtensibilityFace> table({
      {L"OnConnection", 1, DISPATCH_METHOD, 4,
       [](ExtensibilityFace& f, DispatchCall& c) {
         answer(c, owner(f).OnConnection(c.dispatch(0).get(), c.int32(1), c.dispatch(2).get(), nullptr));
       }},
      {L"OnDisconnection", 2, DISPATCH_METHOD, 2,
       [](ExtensibilityFace& f, DispatchCall& c) { answer(c, owner(f).OnDisconnection(c.int32(0), nullptr)); }},
      {L"OnAddInsUpdate", 3, DISPATCH_METHOD, 1,
       [](ExtensibilityFace& f, DispatchCall& c) { answer(c, owner(f).OnAddInsUpdate(nullptr)); }},
      {L"OnStartupComplete", 4, DISPATCH_METHOD, 1,
       [](ExtensibilityFace& f, DispatchCall& c) { answer(c, owner(f).OnStartupComplete(nullptr)); }},
      {L"OnBeginShutdown", 5, DISPATCH_METHOD, 1,
       [](ExtensibilityFace& f, DispatchCall& c) { answer(c, owner(f).OnBeginShutdown(nullptr)); }},
  });
  return table;
}

const DispatchTable<RibbonExtensibilityFace>& RibbonExtensibilityFace::dispatchTable() {
  static const DispatchTable<RibbonExtensibilityFace> table({
      {L"GetCustomUI", 1, DISPATCH_METHOD, 1,
       [](RibbonExtensibilityFace& f, DispatchCall& c) {
         const Variant id = Variant::fromText(c.text(0));
         BSTR xml = nullptr;
         answer(c, owner(f).GetCustomUI(id.get().bstrVal, &xml));
         if (!xml) return;
         VARIANT value;
         VariantInit(&value);
         value.vt = VT_BSTR;
         value.bstrVal = xml;
         c.result = Variant::adopt(value);
       }},
  });
  return table;
}

const DispatchTable<RibbonCallbackFace>& RibbonCallbackFace::dispatchTable() {
  // Names as the interface spells them; GetIDsOfNames goes through the ribbon's own table.
  static const DispatchTable<RibbonCallbackFace> table({
      {L"explorerOnLoad", kExplorerOnLoad, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) { owner(f).explorerOnLoad(c.dispatch(0).get()); }},
      {L"inspectorOnLoad", kInspectorOnLoad, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) { owner(f).inspectorOnLoad(c.dispatch(0).get()); }},
      {L"explorerOnButtonAction", kExplorerOnButtonAction, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) { owner(f).explorerOnButtonAction(c.dispatch(0).get()); }},
      {L"explorerOnToggleButtonAction", kExplorerOnToggleButtonAction, DISPATCH_METHOD, 2,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         owner(f).explorerOnToggleButtonAction(c.dispatch(0).get(), c.boolean(1));
       }},
      {L"inspectorOnButtonAction", kInspectorOnButtonAction, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) { owner(f).explorerOnButtonAction(c.dispatch(0).get()); }},
      {L"explorerOnGetLabel", kExplorerOnGetLabel, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         answerText(c, owner(f).onGetText(c.dispatch(0).get(), RibbonText::kLabel));
       }},
      {L"inspectorOnGetLabel", kInspectorOnGetLabel, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         answerText(c, owner(f).onGetText(c.dispatch(0).get(), RibbonText::kLabel));
       }},
      {L"explorerOnGetButtonImage", kExplorerOnGetButtonImage, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         const ComRef<IPictureDisp> picture = owner(f).getButtonImage(c.dispatch(0).get(), true);
         if (picture) c.result = Variant::fromDispatch(picture.get());
       }},
      {L"inspectorOnGetButtonImage", kInspectorOnGetButtonImage, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         const ComRef<IPictureDisp> picture = owner(f).getButtonImage(c.dispatch(0).get(), false);
         if (picture) c.result = Variant::fromDispatch(picture.get());
       }},
      {L"explorerOnGetButtonEnabled", kExplorerOnGetButtonEnabled, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         c.result = Variant::fromBool(owner(f).explorerOnGetButtonEnabled(c.dispatch(0).get()));
       }},
      {L"inspectorOnGetButtonEnabled", kInspectorOnGetButtonEnabled, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         c.result = Variant::fromBool(owner(f).inspectorOnGetButtonEnabled(c.dispatch(0).get()));
       }},
      {L"explorerOnGetButtonScreentip", kExplorerOnGetButtonScreentip, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         answerText(c, owner(f).onGetText(c.dispatch(0).get(), RibbonText::kScreenTip));
       }},
      {L"inspectorOnGetButtonScreentip", kInspectorOnGetButtonScreentip, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         answerText(c, owner(f).onGetText(c.dispatch(0).get(), RibbonText::kScreenTip));
       }},
      {L"explorerOnGetButtonSupertip", kExplorerOnGetButtonSupertip, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         answerText(c, owner(f).onGetText(c.dispatch(0).get(), RibbonText::kSuperTip));
       }},
      {L"inspectorOnGetButtonSupertip", kInspectorOnGetButtonSupertip, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         answerText(c, owner(f).onGetText(c.dispatch(0).get(), RibbonText::kSuperTip));
       }},
      {L"explorerOnGetButtonPressed", kExplorerOnGetButtonPressed, DISPATCH_METHOD, 1,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         if (const auto pressed = owner(f).explorerOnGetButtonPressed(c.dispatch(0).get()))
           c.result = Variant::fromBool(*pressed);
       }},
      {L"toggleOnlineCommandOnAction", kToggleOnlineCommandOnAction, DISPATCH_METHOD, 3,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         CancelDefault cancel(c, 2);
         owner(f).toggleOnlineCommandOnAction(c.dispatch(0).get(), c.boolean(1), cancel.value());
         cancel.store();
       }},
      {L"sendReceiveAllCommandOnAction", kSendReceiveAllCommandOnAction, DISPATCH_METHOD, 2,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         CancelDefault cancel(c, 1);
         owner(f).sendReceiveAllCommandOnAction(c.dispatch(0).get(), cancel.value());
         cancel.store();
       }},
      {L"rulesAndAlertsCommandOnAction", kRulesAndAlertsCommandOnAction, DISPATCH_METHOD, 2,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         CancelDefault cancel(c, 1);
         owner(f).rulesAndAlertsCommandOnAction(c.dispatch(0).get(), cancel.value());
         cancel.store();
       }},
      {L"createMailRuleCommandOnAction", kCreateMailRuleCommandOnAction, DISPATCH_METHOD, 2,
       [](RibbonCallbackFace& f, DispatchCall& c) {
         CancelDefault cancel(c, 1);
         owner(f).createMailRuleCommandOnAction(c.dispatch(0).get(), cancel.value());
         cancel.store();
       }},
  });
  return table;
}

HRESULT RibbonCallbackFace::GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (!IsEqualIID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
  if (!names || !ids || count == 0) return E_INVALIDARG;
  for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
  if (!names[0]) return DISP_E_UNKNOWNNAME;
  const int id = findRibbonCallbackDispid(names[0]);
  if (id < 0) return DISP_E_UNKNOWNNAME;
  ids[0] = id;
  return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT RibbonCallbackFace::Invoke(DISPID id, REFIID riid, LCID locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                                   EXCEPINFO* exception, UINT* argumentError) {
  // The getters answer through the result: without a place for it they have nothing to do.
  if (!result && id >= kExplorerOnGetLabel && id <= kExplorerOnGetButtonPressed) return E_INVALIDARG;
  return DispatchImpl::Invoke(id, riid, locale, flags, params, result, exception, argumentError);
}

}  // namespace details

HRESULT UserInterface::GetCustomUI(BSTR ribbonId, BSTR* xml) {
  return comBoundary([&] {
    const std::wstring_view id = ribbonId ? std::wstring_view(ribbonId, SysStringLen(ribbonId)) : std::wstring_view();
    // The version is only asked where it decides.
    const bool readInspector = ribbonAllowed_ && id != L"Microsoft.Outlook.Explorer" && isReadInspectorRibbonId(id);
    const int major = readInspector ? static_cast<int>(queryMsoApplicationVersion().major) : 0;
    getCustomUi(id, ribbonAllowed_, major, xml);
  });
}

void UserInterface::explorerOnLoad(IDispatch* ribbonUi) {
  if (!ribbonUi) ZEL_HERE.raise(E_INVALIDARG);
  explorerRibbon_ = ComRef<IDispatch>(ribbonUi);
}

void UserInterface::inspectorOnLoad(IDispatch* ribbonUi) {
  if (!ribbonUi) ZEL_HERE.raise(E_INVALIDARG);
  inspectorRibbons_.emplace_back(ribbonUi);
}

void UserInterface::explorerOnButtonAction(IDispatch* control) {
  const int number = details::controlNumber(details::ribbonControlOf(control).get());
  switch (getRibbonButtonCommand(number)) {
    case RibbonCommand::kMarkAsSpam:
      if (markAsJunkEmail(true)) invalidateSpamControls(false);
      break;
    case RibbonCommand::kMarkAsNotSpam:
      if (markAsJunkEmail(false)) invalidateSpamControls(false);
      break;
    case RibbonCommand::kOptions:
      commandOptions();
      break;
    case RibbonCommand::kDelegation:
      commandDelegation();
      break;
    case RibbonCommand::kAbout:
      commandAbout();
      break;
    case RibbonCommand::kHelp:
      commandHelp();
      break;
    case RibbonCommand::kNone:
      break;
  }
}

void UserInterface::explorerOnToggleButtonAction(IDispatch* control, bool) {
  // The toggle shows what the server says afterwards, not what the click said.
  const int number = details::controlNumber(details::ribbonControlOf(control).get());
  if (!isRibbonToggleCommand(number)) return;
  commandOutOfOffice();
  invalidateOutOfOffice();
}

std::optional<std::wstring> UserInterface::onGetText(IDispatch* control, RibbonText which) {
  return getRibbonControlText(details::controlNumber(details::ribbonControlOf(control).get()), which);
}

RibbonControlState UserInterface::explorerControlState(int number, IDispatch* explorer) {
  RibbonControlState state;
  state.window = RibbonWindowKind::kExplorer;
  if (details::isSpamButton(number) && spam_ && spam_->explorerSpamControlsAllowed(*this, explorer)) {
    state.spamFolderAllowed = true;
    spam_->explorerSpamControlsState(*this, explorer, state.isSpam, state.notSpam);
  }
  if (details::isStoreButton(number)) {
    Guid store;
    state.storeFolder = AddIn::Utils::getStoreGuid(AddIn::Utils::Explorer{explorer}, store) == 1;
  }
  return state;
}

RibbonControlState UserInterface::inspectorControlState(int number, IDispatch* control) {
  RibbonControlState state;
  state.window = RibbonWindowKind::kInspector;
  if (details::isSpamButton(number) && spam_)
    spam_->inspectorSpamControlsState(*this, control, state.isSpam, state.notSpam);
  return state;
}

bool UserInterface::storeFolderShown(IDispatch* window) {
  Guid store;
  return AddIn::Utils::getStoreGuid(AddIn::Utils::Window{window}, store) == 1;
}

bool UserInterface::explorerOnGetButtonEnabled(IDispatch* control) {
  const ComRef<IDispatch> ribbonControl = details::ribbonControlOf(control);
  const ComRef<IDispatch> explorer = details::explorerOf(ribbonControl.get());
  const int number = details::controlNumber(ribbonControl.get());
  return isRibbonControlEnabled(number, explorerControlState(number, explorer.get()));
}

bool UserInterface::inspectorOnGetButtonEnabled(IDispatch* control) {
  const ComRef<IDispatch> ribbonControl = details::ribbonControlOf(control);
  const int number = details::controlNumber(ribbonControl.get());
  return isRibbonControlEnabled(number, inspectorControlState(number, ribbonControl.get()));
}

ComRef<IPictureDisp> UserInterface::getButtonImage(IDispatch* control, bool isExplorer) {
  const ComRef<IDispatch> ribbonControl = details::ribbonControlOf(control);
  const int number = details::controlNumber(ribbonControl.get());
  const RibbonControlInfo* info = findRibbonControlInfo(number);
  if (!info || info->imageEnabled == 0) return {};
  RibbonControlState state;
  if (details::isSpamButton(number)) {
    state = isExplorer ? explorerControlState(number, details::explorerOf(ribbonControl.get()).get())
                       : inspectorControlState(number, ribbonControl.get());
  } else if (details::isStoreButton(number)) {
    // Unlike getEnabled, an inspector's folder counts here too.
    state.storeFolder = storeFolderShown(details::contextOf(ribbonControl.get()).get());
  }
  const std::optional<RibbonImage> image = getRibbonControlImage(number, state);
  if (!image) return {};
  return GUI::loadIconForButton(image->iconId, image->large);
}

std::optional<bool> UserInterface::explorerOnGetButtonPressed(IDispatch* control) {
  if (!control) ZEL_HERE.raise(E_INVALIDARG);
  ComRef<IDispatch> ribbonControl;
  if (FAILED(control->QueryInterface(IID_IRibbonControl, ribbonControl.putVoid())) || !ribbonControl)
    ZEL_HERE.raise(E_POINTER, L"Can't get button control.");
  const int number = details::controlNumber(ribbonControl.get());
  RibbonControlState state;
  if (number == kBtnOutOfOffice)
    state.outOfOfficeOn = hostSteps_ && hostSteps_->getOutOfOfficeEnabled(nameSpace_.get());
  return getRibbonControlPressed(number, state);
}

void UserInterface::toggleOnlineCommandOnAction(IDispatch*, bool pressed, bool& cancelDefault) {
  // The host's own command runs unless ours cancels it; our failure must not stop it.
  try {
    if (hostSteps_) hostSteps_->toggleOnline(*this, pressed, cancelDefault);
  } catch (const HResultException&) {
  }
}

void UserInterface::sendReceiveAllCommandOnAction(IDispatch*, bool& cancelDefault) {
  try {
    if (hostSteps_) hostSteps_->sendReceiveAll(*this, cancelDefault);
  } catch (const HResultException&) {
  }
}

void UserInterface::rulesAndAlertsCommandOnAction(IDispatch*, bool& cancelDefault) {
  if (dialogs_) dialogs_->rulesAndAlerts(*this, cancelDefault);
}

void UserInterface::createMailRuleCommandOnAction(IDispatch* control, bool& cancelDefault) {
  if (dialogs_) dialogs_->createMailRule(*this, control, cancelDefault);
}

// ---- Commands ----------------------------------------------------------------------

void UserInterface::commandOptions() {
  if (!dialogs_) return;
  const ComRef<IGlobalConfig> config = getActualGlobalConfig();
  // The options may have switched the out-of-office rule.
  if (dialogs_->options(*this, config.get(), GetActiveWindow()) == IDOK) invalidateOutOfOffice();
}

void UserInterface::commandDelegation() {
  if (!dialogs_) return;
  const ComRef<IGlobalConfig> config = getActualGlobalConfig();
  dialogs_->delegation(*this, config.get(), GetActiveWindow());
}

void UserInterface::commandAbout() {
  if (dialogs_) dialogs_->about(*this, GetActiveWindow());
}

void UserInterface::commandHelp() {
  if (dialogs_) dialogs_->help(*this);
}

void UserInterface::commandOutOfOffice() {
  if (dialogs_) dialogs_->outOfOffice(*this);
}

bool UserInterface::markAsJunkEmail(bool junk) { return spam_ && spam_->markAsJunkEmail(*this, junk); }

// ---- Invalidation ------------------------------------------------------------------

void UserInterface::invalidate(const std::vector<RibbonInvalidation>& calls) {
  for (const RibbonInvalidation& call : calls) {
    IDispatch* ribbon = call.ribbon == RibbonInvalidation::kExplorerRibbon
                            ? explorerRibbon_.get()
                            : inspectorRibbons_.at(static_cast<size_t>(call.ribbon)).get();
    if (ribbon) callMethod(ribbon, L"InvalidateControl", {Variant::fromText(call.control)});
  }
}

void UserInterface::invalidateSpamControls(bool explorerOnly) {
  invalidate(spamControlInvalidations(explorerOnly, static_cast<bool>(explorerRibbon_), inspectorRibbons_.size()));
}

void UserInterface::invalidateOutOfOffice() {
  invalidate(outOfOfficeInvalidations(static_cast<bool>(explorerRibbon_)));
}

void UserInterface::invalidateStoreControls() {
  invalidate(storeControlInvalidations(static_cast<bool>(explorerRibbon_)));
}

}  // namespace addin
}  // namespace zelvo
