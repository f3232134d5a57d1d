#include "addin/HostCommandDialogs.h"

#include <utility>

#include "addin/GUI.h"
#include "addin/SessionMessageStores.h"
#include "base/HResultException.h"
#include "config/ConfigProperties.h"
#include "strings/Localization.h"
#include "strings/StringIds.h"
#include "ui/FilterRulesSelectionDialog.h"
#include "ui/ParameterDialogs.h"
#include "ui/ParameterLinkHost.h"
#include "ui/ScriptRepair.h"
#include "ui/SieveRulesDialog.h"

namespace zelvo {
namespace addin {

namespace details {

// The store's data object with its rule set read, as every command on a store makes it.
// A null config (a folder of another provider) raises here.
ComRef<config::ConfigProperties> openRules(IDispatch* nameSpace, IGlobalConfig* globalConfig,
                                          const config::RegistryConfig& registry) {
  auto properties = ComRef<config::ConfigProperties>::adopt(new config::ConfigProperties({}, &registry));
  ZEL_CHECK(properties->Initialize(nameSpace, globalConfig, config::ConfigProperties::kLoadRules));
  return properties;
}

// The record of the out-of-office reply of the store in front; left as it is when the store
// can't be read.
void getOutOfOffice(UserInterface& addIn, const config::RegistryConfig& registry, Sieve::OutOfOfficeParams& record) {
  if (!addIn.nameSpace()) return;
  try {
    const ComRef<IGlobalConfig> globalConfig = addIn.getActualGlobalConfig();
    openRules(addIn.nameSpace(), globalConfig.get(), registry)->getOutOfOffice(record);
  } catch (const std::exception&) {
  }
}

void setOutOfOffice(UserInterface& addIn, const config::RegistryConfig& registry,
                    const Sieve::OutOfOfficeParams& record) {
  if (!addIn.nameSpace()) return;
  try {
    const ComRef<IGlobalConfig> globalConfig = addIn.getActualGlobalConfig();
    const auto properties = openRules(addIn.nameSpace(), globalConfig.get(), registry);
    properties->setOutOfOffice(record);
    ZEL_CHECK(properties->Apply());
  } catch (const std::exception&) {
  }
}

// The choice dialog, handing the choice back when the host lets go of it after the run.
class RememberedSelection final : public ui::FilterRulesSelectionDialog {
 public:
  RememberedSelection(ui::DialogView& view, bool& choice) : FilterRulesSelectionDialog(view, choice), choice_(choice) {}
  ~RememberedSelection() override { choice_ = useServerRules(); }

 private:
  bool& choice_;
};

}  // namespace details

HostCommandDialogs::HostCommandDialogs(std::shared_ptr<ui::DialogHost> host, const config::RegistryConfig& registry,
                                       OutOfOfficeSettings settings, ParentSource parent)
    : host_(std::move(host)), registry_(registry), settings_(std::move(settings)), parent_(std::move(parent)) {
  if (!host_) ZEL_HERE.raise(E_INVALIDARG);
  if (!settings_) settings_ = [this] { return ui::OutOfOfficeDialog::Settings::ofMachine(registry_); };
}

HWND HostCommandDialogs::parent() const { return parent_ ? parent_() : GetActiveWindow(); }

// The options, delegation and about pages and the help file are not part of the module yet.
int HostCommandDialogs::options(UserInterface&, IGlobalConfig*, HWND) { return IDCANCEL; }
int HostCommandDialogs::delegation(UserInterface&, IGlobalConfig*, HWND) { return IDCANCEL; }
void HostCommandDialogs::about(UserInterface&, HWND) {}
void HostCommandDialogs::help(UserInterface&) {}

void HostCommandDialogs::rulesAndAlerts(UserInterface& addIn, bool& cancelDefault) {
  // The host's dialog opens only when the user chose it, or when the store is not ours.
  cancelDefault = !commandRulesAndAlerts(addIn);
}

void HostCommandDialogs::createMailRule(UserInterface&, IDispatch*, bool& cancelDefault) {
  warnRulesNotWorking();
  cancelDefault = false;
}

void HostCommandDialogs::outOfOffice(UserInterface& addIn) { commandOutOfOffice(addIn); }

bool HostCommandDialogs::commandRulesAndAlerts(UserInterface& addIn) {
  if (!addIn.nameSpace()) {
    warnRulesNotWorking();
    return true;
  }
  ComRef<config::ConfigProperties> properties;
  try {
    const ComRef<IGlobalConfig> globalConfig = addIn.getActualGlobalConfig();
    properties = details::openRules(addIn.nameSpace(), globalConfig.get(), registry_);
  } catch (const HResultException&) {
    // A store that is not ours: the client's own rules are all there is.
    warnRulesNotWorking();
    return true;
  }

  const HWND owner = parent();
  bool serverRules = addIn.serverRulesChosen;
  const int chosen = host_->runModal(ui::FilterRulesSelectionDialog::kTemplateId, owner, [&](ui::DialogView& view) {
    return std::make_unique<details::RememberedSelection>(view, serverRules);
  });
  if (chosen != ui::kIdOk) return false;  // neither dialog, and the host's is cancelled
  addIn.serverRulesChosen = serverRules;
  if (!serverRules) return true;

  try {
    runServerRules(addIn.nameSpace(), *properties.get(), owner);
  } catch (const HResultException&) {
    // A script the user did not repair, or a store that refused the new one: the server's
    // rules were chosen, so the host's dialog stays away all the same.
  }
  return false;
}

void HostCommandDialogs::runServerRules(IDispatch* nameSpace, config::ConfigProperties& properties, HWND owner) {
  config::ConfigProperties* object = &properties;
  ui::ScriptRepair repair(*host_);
  object->setScriptRepair(&repair);
  struct Detach {
    config::ConfigProperties* object;
    ~Detach() { object->setScriptRepair(nullptr); }
  } detach{object};
  ZEL_CHECK(object->ValidateSieveScript(owner));

  AddIn::Utils::SessionMessageStores stores(nameSpace);
  ui::ParameterDialogs parameters(*host_, nullptr, &stores, object->globalConfig());
  ui::ParameterLinkHost links(parameters);
  const auto editor = ui::SieveRulesDialog::ruleEditor(&links, nullptr);
  host_->runModal(ui::SieveRulesDialog::kTemplateId, owner, [&](ui::DialogView& view) {
    return std::make_unique<ui::SieveRulesDialog>(view, static_cast<_ConfigProperties*>(object), *host_, editor);
  });
  if (object->Dirty()) ZEL_CHECK(object->Apply());
}

bool HostCommandDialogs::commandOutOfOffice(UserInterface& addIn) {
  try {
    Sieve::OutOfOfficeParams record;
    details::getOutOfOffice(addIn, registry_, record);
    const ComRef<IGlobalConfig> globalConfig = addIn.getActualGlobalConfig();
    const int result = host_->runModal(ui::OutOfOfficeDialog::kTemplateId, parent(), [&](ui::DialogView& view) {
      return std::make_unique<ui::OutOfOfficeDialog>(view, globalConfig.get(), record, *host_, settings_());
    });
    if (result != ui::kIdOk) return false;
    details::setOutOfOffice(addIn, registry_, record);
    return record.enabled;
  } catch (const std::exception&) {
    return false;
  }
}

void HostCommandDialogs::warnRulesNotWorking() {
  if (config::getDontInformRulesNotWorking(registry_)) return;
  const std::wstring text = Localization::getString(IDS_FILTER_RULES_QUESTION) + L"\n\n" +
                            Localization::getString(IDS_CLIENT_RULES_NOT_WORKING) + L"\n\n" +
                            Localization::getString(IDS_FILTER_RULES_INTRO);
  bool ticked = false;
  GUI::showOptionalMessage(parent(), text, Localization::getString(IDS_MESSAGE_TITLE),
                           Localization::getString(IDS_DEFAULT_STORE_DONT_WARN), ticked, MB_OK | MB_ICONEXCLAMATION);
  if (ticked) config::setDontInformRulesNotWorking(registry_);
}

}  // namespace addin
}  // namespace zelvo
