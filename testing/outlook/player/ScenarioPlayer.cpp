#include "testing/outlook/player/ScenarioPlayer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iomanip>
#include <map>
#include <mutex>
#include <optional>
#include <ostream>
#include <regex>
#include <sstream>
#include <thread>
#include <vector>

#include "addin/HostInterfaces.h"
#include "addin/ribbon/Ribbon.h"
#include "base/Bstr.h"
#include "base/HResultException.h"
#include "base/LateBinding.h"
#include "base/RegistryUtils.h"
#include "config/RegistryConfig.h"
#include "platform/Utf8.h"
#include "store/reference/ReferenceStore.h"
#include "testing/outlook/Actions.h"

namespace OutlookStandIn {

namespace details {

constexpr wchar_t kProgId[] = L"DravAddIn.UserInterface.1";
constexpr wchar_t kModuleName[] = L"DravAddIn.dll";

std::vector<std::string> words(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> out;
  for (std::string word; in >> word;) out.push_back(word);
  return out;
}

std::wstring wide(const std::string& text) { return platform::fromUtf8Lenient(text); }
std::string narrow(const std::wstring& text) { return platform::toUtf8(text); }

[[noreturn]] void refuse(unsigned number, const std::string& what) {
  ZEL_HERE.raise(E_INVALIDARG, wide("scenario line " + std::to_string(number) + ": " + what));
}

std::string resultText(HRESULT code) {
  if (code == S_OK) return "S_OK";
  if (code == S_FALSE) return "S_FALSE";
  std::ostringstream out;
  out << "0x" << std::hex << std::uppercase << std::setw(8) << std::setfill('0') << static_cast<unsigned long>(code);
  return out.str();
}

ComRef<IDispatch> createAddIn() {
  CLSID classId{};
  ZEL_CHECK(CLSIDFromProgID(kProgId, &classId));
  ComRef<IDispatch> addIn;
  ZEL_CHECK(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, addIn.putVoid()));
  return addIn;
}

ComRef<zelvo::addin::IDTExtensibility2> extensibility(const ComRef<IDispatch>& addIn) {
  if (!addIn) ZEL_HERE.raise(E_POINTER, L"no add-in: create it first");
  return addIn.as<zelvo::addin::IDTExtensibility2>(zelvo::addin::IID_IDTExtensibility2);
}

HRESULT connect(StandIn& host, const ComRef<IDispatch>& addIn, int mode) {
  const ComRef<IDispatch> comAddIn = host.comAddIn(L"DravAddIn.UserInterface", L"Zelvo Mail Bridge");
  return extensibility(addIn)->OnConnection(host.application().get(), mode, comAddIn.get(), nullptr);
}

// A call by name through IDispatch, as the host makes it: the name looked up, the
// arguments in the member's order, the answer as the result.
HRESULT invokeByName(IDispatch* object, const std::wstring& name, std::vector<Variant> arguments, Variant& result) {
  std::wstring copy = name;
  LPOLESTR names[] = {&copy[0]};
  DISPID id = DISPID_UNKNOWN;
  const HRESULT found = object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
  if (FAILED(found)) return found;
  std::vector<VARIANT> reversed;
  for (auto it = arguments.rbegin(); it != arguments.rend(); ++it) reversed.push_back(it->get());
  DISPPARAMS params = {reversed.empty() ? nullptr : reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  result = Variant();
  return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result.put(), nullptr, nullptr);
}

// The module's own document of that resource id, as text.
std::wstring moduleDocument(int id) {
  HMODULE module = GetModuleHandleW(kModuleName);
  if (!module) ZEL_HERE.raise(E_UNEXPECTED, L"the add-in module isn't loaded");
  HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(10) /* RT_RCDATA */);
  if (!found) ZEL_HERE.raise(E_UNEXPECTED, L"the module has no document " + std::to_wstring(id));
  const char* bytes = static_cast<const char*>(LockResource(LoadResource(module, found)));
  return platform::fromUtf8Lenient(std::string_view(bytes, SizeofResource(module, found)));
}

// A text of the module's string table; empty when it has none.
std::wstring moduleString(unsigned id) {
  const wchar_t* text = nullptr;
  const int length = LoadStringW(GetModuleHandleW(kModuleName), id, reinterpret_cast<LPWSTR>(&text), 0);
  return length > 0 ? std::wstring(text, length) : std::wstring();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0 : values[values.size() / 2];
}

double milliseconds(std::chrono::steady_clock::time_point from, std::chrono::steady_clock::time_point to) {
  return std::chrono::duration<double, std::milli>(to - from).count();
}

}  // namespace details

// Plays the user at the message boxes the add-in shows: on a thread of its own, it finds
// each box of this process, ticks the tick box when told to, and presses a button.
class MessageBoxAnswerer {
 public:
  struct Answer {
    bool tick = false;
    bool yes = false;
  };
  struct Seen {
    bool expected = false;
    bool ticked = false;
  };

  MessageBoxAnswerer() : thread_([this] { run(); }) {}
  ~MessageBoxAnswerer() {
    stop_ = true;
    thread_.join();
  }
  void arm(Answer answer) {
    std::lock_guard<std::mutex> guard(mutex_);
    armed_ = answer;
  }
  std::vector<Seen> seen() {
    std::lock_guard<std::mutex> guard(mutex_);
    return seen_;
  }

 private:
  static constexpr int kTickBoxId = 0x5A01;

  static BOOL CALLBACK findBox(HWND window, LPARAM found) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    wchar_t className[16] = {};
    GetClassNameW(window, className, 16);
    if (process != GetCurrentProcessId() || wcscmp(className, L"#32770") != 0) return TRUE;
    *reinterpret_cast<HWND*>(found) = window;
    return FALSE;
  }

  void run() {
    while (!stop_) {
      HWND box = nullptr;
      EnumWindows(findBox, reinterpret_cast<LPARAM>(&box));
      if (box) answer(box);
      Sleep(10);
    }
  }

  static void press(HWND box, int first, int second) {
    HWND button = GetDlgItem(box, first);
    if (!button) button = GetDlgItem(box, second);
    if (button) {
      SendMessageW(button, BM_CLICK, 0, 0);
    } else {
      PostMessageW(box, WM_COMMAND, IDCANCEL, 0);
    }
  }

  void answer(HWND box) {
    std::optional<Answer> answer;
    {
      std::lock_guard<std::mutex> guard(mutex_);
      answer.swap(armed_);
    }
    // A sent message is answered once the box runs its loop; by then the tick box is in.
    SendMessageW(box, WM_NULL, 0, 0);
    Seen seen{answer.has_value(), false};
    if (answer && answer->tick) {
      HWND tickBox = nullptr;
      for (int i = 0; i < 200 && !(tickBox = GetDlgItem(box, kTickBoxId)); ++i) Sleep(10);
      if (tickBox) {
        SendMessageW(tickBox, BM_CLICK, 0, 0);
        seen.ticked = SendMessageW(tickBox, BM_GETCHECK, 0, 0) == BST_CHECKED;
      }
    }
    // Counted before the press: the add-in's call returns as soon as the box is gone.
    {
      std::lock_guard<std::mutex> guard(mutex_);
      seen_.push_back(seen);
    }
    if (answer && answer->yes) {
      press(box, IDYES, IDOK);
    } else {
      press(box, IDNO, IDCANCEL);
    }
    for (int i = 0; i < 500 && IsWindow(box); ++i) Sleep(10);
  }

  std::mutex mutex_;
  std::optional<Answer> armed_;
  std::vector<Seen> seen_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

ScenarioPlayer::ScenarioPlayer(std::unique_ptr<StandIn> host, std::string scenarioFolder, std::ostream& out)
    : host_(std::move(host)),
      scenarioFolder_(std::move(scenarioFolder)),
      out_(out),
      boxes_(std::make_unique<MessageBoxAnswerer>()) {}

ScenarioPlayer::~ScenarioPlayer() = default;

void ScenarioPlayer::play(const std::string& scenario) {
  std::istringstream in(scenario);
  unsigned number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const auto first = line.find_first_not_of(" \t");
    if (first == std::string::npos || line[first] == '#') continue;
    step(line.substr(first), number);
  }
  // A box nobody expected fails the scenario, though the user closed it.
  for (const auto& box : boxes_->seen())
    if (!box.expected) fail(number, "a message box came that the scenario didn't expect");
}

void ScenarioPlayer::step(const std::string& line, unsigned number) {
  const std::vector<std::string> w = details::words(line);
  const std::string& verb = w[0];
  auto argument = [&](size_t index) -> const std::string& {
    if (index >= w.size()) details::refuse(number, verb + ": too few arguments");
    return w[index];
  };
  if (verb == "create") {
    addIn_ = details::createAddIn();
  } else if (verb == "connect") {
    lastResult_ = details::connect(*host_, addIn_, std::stoi(argument(1)));
  } else if (verb == "startup-complete") {
    lastResult_ = details::extensibility(addIn_)->OnStartupComplete(nullptr);
  } else if (verb == "begin-shutdown") {
    lastResult_ = details::extensibility(addIn_)->OnBeginShutdown(nullptr);
  } else if (verb == "disconnect") {
    lastResult_ = details::extensibility(addIn_)->OnDisconnection(1 /* the host shuts down */, nullptr);
  } else if (verb == "release") {
    addIn_.reset();
  } else if (verb == "custom-ui") {
    const auto ribbon = addIn_.as<zelvo::addin::IRibbonExtensibility>(zelvo::addin::IID_IRibbonExtensibility);
    const Bstr ribbonId(details::wide(argument(1)));
    Bstr xml;
    lastResult_ = ribbon->GetCustomUI(ribbonId.get(), xml.put());
    haveXml_ = xml.get() != nullptr;
    xml_ = xml.text();
  } else if (verb == "on-load") {
    const std::wstring name = argument(1) == "explorer" ? L"explorerOnLoad" : L"inspectorOnLoad";
    lastResult_ = details::invokeByName(addIn_.get(), name, {Variant::fromDispatch(host_->ribbonUI().get())}, value_);
  } else if (verb == "call") {
    lastResult_ = callByName(details::wide(argument(1)), details::wide(argument(2)), argument(3),
                             w.size() > 4 ? w[4] : std::string());
  } else if (verb == "check-callbacks") {
    checkCallbacks(argument(1), number);
  } else if (verb == "select-many") {
    HostAction select;
    select.verb = HostAction::Verb::Select;
    select.line = number;
    const int count = std::stoi(argument(1));
    for (int i = 0; i < count; ++i) {
      std::ostringstream id;
      id << std::hex << std::uppercase << std::setw(8) << std::setfill('0') << 0x5E1EC700 + i;
      select.entryIds.push_back(details::wide(id.str()));
    }
    host_->play({select});
  } else if (verb == "time-startup") {
    timeStartup(scenarioFolder_ + "/" + argument(1), std::stoi(argument(2)));
  } else if (verb == "time-call") {
    timeCall(std::stoi(argument(1)), details::wide(argument(2)), details::wide(argument(3)), argument(4));
  } else if (verb == "answer-box") {
    boxes_->arm({argument(1) == "tick", argument(2) == "yes"});
  } else if (verb == "set-confirm-option") {
    // A fresh prefix has no product key yet; the installer would have made it.
    const auto& registry = zelvo::config::RegistryConfig::instance();
    RegistryUtils::ScopedKey key;
    if (RegCreateKeyExW(registry.root(zelvo::config::ConfigRoot::CurrentUser), registry.productKey().c_str(), 0,
                        nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, key.out(), nullptr) != ERROR_SUCCESS)
      details::refuse(number, "the product key can't be made");
    zelvo::config::setConfirmMarkAsSpam(argument(1) == "true", registry);
  } else if (verb == "expect") {
    std::string rest;
    for (size_t i = 2; i < w.size(); ++i) rest += (i > 2 ? " " : "") + w[i];
    expect(argument(1), rest, number);
  } else {
    std::vector<HostAction> actions = parseActions(line + "\n");
    for (auto& action : actions) action.line = number;
    host_->play(actions);
  }
}

ComRef<IDispatch> ScenarioPlayer::windowContext(const std::string& window) {
  if (window == "none") return {};
  const std::wstring member = window == "explorer" ? L"ActiveExplorer" : L"ActiveInspector";
  const Variant found = zelvo::callMethod(host_->application().get(), member);
  return found.type() == VT_DISPATCH ? ComRef<IDispatch>(found.get().pdispVal) : ComRef<IDispatch>();
}

HRESULT ScenarioPlayer::callByName(const std::wstring& name, const std::wstring& control, const std::string& window,
                                   const std::string& pressed) {
  const ComRef<IDispatch> context = windowContext(window);
  const ComRef<IDispatch> ribbonControl = host_->ribbonControl(control, L"", context.get());
  std::vector<Variant> arguments = {Variant::fromDispatch(ribbonControl.get())};
  if (!pressed.empty()) arguments.push_back(Variant::fromBool(pressed == "true"));
  return details::invokeByName(addIn_.get(), name, std::move(arguments), value_);
}

void ScenarioPlayer::expect(const std::string& what, const std::string& value, unsigned number) {
  if (what == "result") {
    const std::string got = details::resultText(lastResult_);
    if (got != value) fail(number, "result " + got + ", expected " + value);
  } else if (what == "xml") {
    if (value == "none") {
      if (haveXml_) fail(number, "a document came, expected none");
    } else if (!haveXml_) {
      fail(number, "no document came, expected " + value);
    } else if (xml_ != details::moduleDocument(std::stoi(value))) {
      fail(number, "the document isn't resource " + value);
    }
  } else if (what == "value") {
    std::string got;
    switch (value_.type()) {
      case VT_EMPTY:
        got = "empty";
        break;
      case VT_BOOL:
        got = value_.get().boolVal != VARIANT_FALSE ? "true" : "false";
        break;
      case VT_BSTR:
        got = "text \"" + details::narrow(Bstr(value_.get().bstrVal).text()) + "\"";
        break;
      default:
        got = "a variant of type " + std::to_string(value_.type());
        break;
    }
    std::string wanted = value;
    if (value.rfind("string:", 0) == 0)
      wanted = "text \"" + details::narrow(details::moduleString(std::stoul(value.substr(7)))) + "\"";
    if (got != wanted) fail(number, "answer " + got + ", expected " + wanted);
  } else if (what == "calls") {
    const auto parts = details::words(value);
    if (parts.size() != 2) details::refuse(number, "expect calls OBJECT.MEMBER N");
    const auto calls = host_->calls();
    const auto count = std::count(calls.begin(), calls.end(), details::wide(parts[0]));
    if (count != std::stol(parts[1]))
      fail(number, parts[0] + " called " + std::to_string(count) + " times, expected " + parts[1]);
  } else if (what == "boxes") {
    const auto seen = boxes_->seen();
    if (seen.size() != std::stoul(value))
      fail(number, std::to_string(seen.size()) + " message boxes, expected " + value);
    for (const auto& box : seen)
      if (!box.expected) fail(number, "a message box came that the scenario didn't expect");
  } else if (what == "confirm-option") {
    const bool confirm = zelvo::config::getConfirmMarkAsSpam();
    if ((confirm ? "true" : "false") != value)
      fail(number, "the option to confirm is " + std::string(confirm ? "true" : "false"));
  } else if (what == "junk-marks") {
    const auto parts = details::words(value);
    if (parts.size() != 2) details::refuse(number, "expect junk-marks STORE N");
    const size_t count = host_->store(std::stoul(parts[0])).activity().junkMarks.size();
    if (count != std::stoul(parts[1]))
      fail(number, "store " + parts[0] + " received " + std::to_string(count) + " junk marks, expected " + parts[1]);
  } else if (what == "junk-mark") {
    expectJunkMark(details::words(value), number);
  } else {
    details::refuse(number, "unknown expectation '" + what + "'");
  }
}

void ScenarioPlayer::expectJunkMark(const std::vector<std::string>& parts, unsigned number) {
  if (parts.size() < 3) details::refuse(number, "expect junk-mark STORE INDEX junk|good ENTRYID...");
  const auto& marks = host_->store(std::stoul(parts[0])).activity().junkMarks;
  const size_t index = std::stoul(parts[1]);
  if (index >= marks.size()) return fail(number, "no junk mark " + parts[1]);
  const auto& mark = marks[index];
  if (mark.junk != (parts[2] == "junk")) fail(number, "junk mark " + parts[1] + " is the other way round");
  std::vector<std::string> wanted(parts.begin() + 3, parts.end());
  std::vector<std::string> got;
  static const char digits[] = "0123456789ABCDEF";
  for (const auto& id : mark.entryIds) {
    std::string text;
    for (unsigned char b : id) text += {digits[b >> 4], digits[b & 15]};
    got.push_back(text);
  }
  if (got != wanted) {
    std::string shown;
    for (const auto& id : got) shown += " " + id;
    fail(number, "junk mark " + parts[1] + " handed over" + shown);
  }
}

// Every callback the last document names, by the name it uses there, for each control
// with an id: labels and tips must be the module's string table texts of the ribbon's
// table, states must be answered, pictures given; the names of actions must be known.
void ScenarioPlayer::checkCallbacks(const std::string& window, unsigned number) {
  if (!haveXml_) details::refuse(number, "check-callbacks without a document");
  static const std::wregex element(L"<([A-Za-z:]+)\\s([^>]*?)/?>");
  static const std::wregex attribute(L"(\\w+)=\"([^\"]*)\"");
  int answered = 0;
  int resolved = 0;
  for (std::wsregex_iterator it(xml_.begin(), xml_.end(), element), end; it != end; ++it) {
    std::map<std::wstring, std::wstring> attributes;
    const std::wstring body = (*it)[2].str();
    for (std::wsregex_iterator a(body.begin(), body.end(), attribute); a != end; ++a)
      attributes[(*a)[1].str()] = (*a)[2].str();
    const std::wstring id = attributes.count(L"id") ? attributes[L"id"] : std::wstring();
    const int control = zelvo::addin::getRibbonControlId(id);
    const auto* info = zelvo::addin::findRibbonControlInfo(control);
    for (const auto& [name, callback] : attributes) {
      const std::string where = details::narrow(callback) + " for '" + details::narrow(id) + "'";
      if (name == L"onAction" || name == L"onLoad") {
        std::wstring copy = callback;
        LPOLESTR names[] = {&copy[0]};
        DISPID dispid = DISPID_UNKNOWN;
        if (FAILED(addIn_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &dispid)))
          fail(number, "unknown callback " + where);
        ++resolved;
        continue;
      }
      if (name.rfind(L"get", 0) != 0) continue;
      const HRESULT result = callByName(callback, id, window, std::string());
      ++answered;
      if (result != S_OK) {
        fail(number, where + " gave " + details::resultText(result));
        continue;
      }
      unsigned textId = 0;
      if (name == L"getLabel") textId = info ? info->label : 0;
      if (name == L"getScreentip") textId = info ? info->screenTip : 0;
      if (name == L"getSupertip") textId = info ? info->superTip : 0;
      if (name == L"getLabel" || name == L"getScreentip" || name == L"getSupertip") {
        const std::wstring wanted = textId ? details::moduleString(textId) : std::wstring();
        const std::wstring got = value_.type() == VT_BSTR ? Bstr(value_.get().bstrVal).text() : std::wstring();
        if (wanted.empty() || got != wanted) fail(number, where + ": \"" + details::narrow(got) + "\"");
        out_ << details::narrow(id) << " " << details::narrow(name) << ": " << details::narrow(got) << "\n";
      } else if (name == L"getEnabled" || name == L"getPressed") {
        if (value_.type() != VT_BOOL)
          fail(number, where + " gave no boolean");
        else
          out_ << details::narrow(id) << " " << details::narrow(name) << ": "
               << (value_.get().boolVal != VARIANT_FALSE ? "true" : "false") << "\n";
      } else if (name == L"getImage") {
        const bool picture = (value_.type() == VT_DISPATCH && value_.get().pdispVal) ||
                             (value_.type() == VT_UNKNOWN && value_.get().punkVal);
        if (!picture) fail(number, where + " gave no picture");
      }
    }
  }
  out_ << "check-callbacks: " << answered << " answered, " << resolved << " action names known\n";
}

void ScenarioPlayer::timeStartup(const std::string& profile, int runs) {
  std::vector<double> times;
  size_t stores = 0;
  for (int run = 0; run < runs; ++run) {
    const std::unique_ptr<StandIn> host = StandIn::load(profile);
    stores = host->profile().stores.size();
    const ComRef<IDispatch> addIn = details::createAddIn();
    const auto extensibility = details::extensibility(addIn);
    const auto start = std::chrono::steady_clock::now();
    const HRESULT connected = details::connect(*host, addIn, 1);
    const HRESULT completed = extensibility->OnStartupComplete(nullptr);
    const auto end = std::chrono::steady_clock::now();
    if (connected != S_FALSE || completed != S_OK) {
      fail(0, "start-up gave " + details::resultText(connected) + " and " + details::resultText(completed));
    }
    extensibility->OnBeginShutdown(nullptr);
    extensibility->OnDisconnection(1, nullptr);
    times.push_back(details::milliseconds(start, end));
  }
  out_ << "start-up with " << stores << " stores: median " << std::fixed << std::setprecision(2)
       << details::median(times) << " ms of " << runs << " runs\n";
}

void ScenarioPlayer::timeCall(int runs, const std::wstring& name, const std::wstring& control,
                              const std::string& window) {
  std::vector<double> times;
  for (int run = 0; run < runs; ++run) {
    const auto start = std::chrono::steady_clock::now();
    const HRESULT result = callByName(name, control, window, std::string());
    const auto end = std::chrono::steady_clock::now();
    if (result != S_OK) fail(0, details::narrow(name) + " gave " + details::resultText(result));
    times.push_back(details::milliseconds(start, end));
  }
  out_ << details::narrow(name) << " on " << details::narrow(control) << ": median " << std::fixed
       << std::setprecision(2) << details::median(times) << " ms of " << runs << " runs\n";
}

void ScenarioPlayer::fail(unsigned number, const std::string& message) {
  ++failures_;
  out_ << "FAILED (line " << number << "): " << message << "\n";
}

}  // namespace OutlookStandIn
