// The host stand-in's events: sinks advised through connection points see exactly what is
// fired while they are advised, with its arguments, and runs of host actions read from a
// text move the windows and fire what the host fires.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "base/Dispatcher.h"
#include "base/HResultException.h"
#include "base/LateBinding.h"
#include "testing/TestEnvironment.h"
#include "testing/outlook/StandIn.h"

namespace {

using namespace OutlookStandIn;
using zelvo::testing::utf8;

const char kProfile[] =
    "store public name=Public service={0A000000-0000-0000-0000-000000000001} key={0B000000-0000-0000-0000-000000000002}\n"
    "store private name=Work service={0A000000-0000-0000-0000-000000000001} key={0B000000-0000-0000-0000-000000000001} "
    "default\n"
    "folder Inbox 0A0B default=6\n";

// Every event of every sink, in one log, as "Source.Event(arguments)".
using Log = std::vector<std::wstring>;

std::wstring describe(const VARIANT& v) {
  if (v.vt == (VT_BOOL | VT_BYREF)) return *v.pboolVal ? L"cancel" : L"send";
  if (v.vt != VT_DISPATCH || !v.pdispVal) return L"?";
  // Windows answer their own dispinterfaces; items do not.
  const auto answers = [&](const IID& iid) {
    ComRef<IUnknown> face;
    return SUCCEEDED(v.pdispVal->QueryInterface(iid, face.putVoid())) && face;
  };
  if (answers(IID_OutlookInspector))
    return L"Inspector:" + zelvo::getProperty(zelvo::getProperty(v.pdispVal, L"CurrentItem").toDispatch().get(),
                                              L"EntryID").toText();
  if (answers(IID_OutlookExplorer))
    return L"Explorer:" + zelvo::getProperty(zelvo::getProperty(v.pdispVal, L"CurrentFolder").toDispatch().get(),
                                             L"Name").toText();
  return L"Item:" + zelvo::getProperty(v.pdispVal, L"EntryID").toText();
}

ComRef<IConnectionPoint> pointOf(IDispatch* source, const IID& events) {
  ComRef<IConnectionPointContainer> container = ComRef<IDispatch>(source).as<IConnectionPointContainer>(
      IID_IConnectionPointContainer);
  ComRef<IConnectionPoint> point;
  ZEL_CHECK(container->FindConnectionPoint(events, point.put()));
  return point;
}

// A sink as the add-in has them: answers IDispatch and records what it is called with. On
// a new window it advises a sink of its own there, as the add-in does; it cancels a send
// when told to.
class Sink final : public iui_::IUnknownImpl<IDispatch> {
 public:
  Sink(Log& log, std::wstring source, std::map<DISPID, std::wstring> names)
      : log_(log), source_(std::move(source)), names_(std::move(names)) {}

  bool cancelSends = false;

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return zelvo::comBoundary([&] {
      EXPECT_EQ(flags, DISPATCH_METHOD);
      const auto name = names_.find(id);
      std::wstring entry = source_ + L"." + (name == names_.end() ? L"#" + std::to_wstring(id) : name->second) + L"(";
      // The arguments come last first.
      for (UINT i = params->cArgs; i-- > 0;) {
        VARIANT& argument = params->rgvarg[i];
        if (argument.vt == (VT_BOOL | VT_BYREF) && cancelSends) *argument.pboolVal = VARIANT_TRUE;
        entry += describe(argument) + (i ? L"," : L"");
      }
      log_.push_back(entry + L")");
      if (name != names_.end() && (name->second == L"NewExplorer" || name->second == L"NewInspector"))
        adviseOnWindow(params->rgvarg[0].pdispVal, name->second == L"NewExplorer");
    });
  }

 private:
  void adviseOnWindow(IDispatch* window, bool explorer) {
    const std::map<DISPID, std::wstring> names =
        explorer ? std::map<DISPID, std::wstring>{{EventId::FolderSwitch, L"FolderSwitch"},
                                                  {EventId::SelectionChange, L"SelectionChange"},
                                                  {EventId::Close, L"Close"}}
                 : std::map<DISPID, std::wstring>{{EventId::Close, L"Close"}};
    const auto sink = ComRef<IDispatch>::adopt(new Sink(log_, explorer ? L"Explorer" : L"Inspector", names));
    DWORD cookie = 0;
    ZEL_CHECK(pointOf(window, explorer ? IID_ExplorerEvents_10 : IID_InspectorEvents_10)->Advise(sink.get(), &cookie));
  }

  Log& log_;
  std::wstring source_;
  std::map<DISPID, std::wstring> names_;
};

const std::map<DISPID, std::wstring> kApplicationNames = {
    {EventId::Startup, L"Startup"}, {EventId::Quit, L"Quit"}, {EventId::ItemSend, L"ItemSend"}};

class HostEvents : public ::testing::Test {
 protected:
  HostEvents() : host_(parseProfile(kProfile)), application_(host_.application()) {}

  ComRef<Sink> sink(const wchar_t* source, std::map<DISPID, std::wstring> names) {
    return ComRef<Sink>::adopt(new Sink(log_, source, std::move(names)));
  }
  DWORD advise(IDispatch* source, const IID& events, Sink* sink) {
    DWORD cookie = 0;
    EXPECT_EQ(pointOf(source, events)->Advise(static_cast<IDispatch*>(sink), &cookie), S_OK);
    EXPECT_NE(cookie, 0u);
    return cookie;
  }
  ComRef<IDispatch> collection(const wchar_t* name) { return zelvo::getProperty(application_.get(), name).toDispatch(); }
  // The sinks of a whole session: the application's, and the windows' through the
  // collections' new-window events.
  void adviseAll() {
    advise(application_.get(), IID_ApplicationEvents_11, appSink_.get());
    advise(collection(L"Explorers").get(), IID_ExplorersEvents, explorersSink_.get());
    advise(collection(L"Inspectors").get(), IID_InspectorsEvents, inspectorsSink_.get());
  }
  void play(const char* text) { host_.play(parseActions(text)); }

  StandIn host_;
  ComRef<IDispatch> application_;
  Log log_;
  ComRef<Sink> appSink_ = sink(L"Application", kApplicationNames);
  ComRef<Sink> explorersSink_ = sink(L"Explorers", {{EventId::NewExplorer, L"NewExplorer"}});
  ComRef<Sink> inspectorsSink_ = sink(L"Inspectors", {{EventId::NewInspector, L"NewInspector"}});
};

// ---- Connection points ----------------------------------------------------------------

TEST_F(HostEvents, SinkSeesExactlyTheEventsFiredWhileAdvised) {
  // Both generations of the application's events, each on its own point.
  for (const IID* events : {&IID_ApplicationEvents, &IID_ApplicationEvents_11}) {
    log_.clear();
    play("startup\n");
    const ComRef<IConnectionPoint> point = pointOf(application_.get(), *events);
    const DWORD cookie = advise(application_.get(), *events, appSink_.get());
    play("open-inspector 0C0D compose\nsend 1\n");
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    EXPECT_EQ(point->Unadvise(cookie), CONNECT_E_NOCONNECTION);
    play("open-inspector 0E0F compose\nsend 1\nquit\n");
    EXPECT_EQ(log_, (Log{L"Application.ItemSend(Item:0C0D,send)"}));
  }
}

TEST_F(HostEvents, EachSinkHasItsOwnCookie) {
  const auto second = sink(L"Second", kApplicationNames);
  const DWORD first = advise(application_.get(), IID_ApplicationEvents, appSink_.get());
  const DWORD other = advise(application_.get(), IID_ApplicationEvents, second.get());
  EXPECT_NE(first, other);
  play("startup\n");
  EXPECT_EQ(pointOf(application_.get(), IID_ApplicationEvents)->Unadvise(first), S_OK);
  play("quit\n");
  EXPECT_EQ(log_, (Log{L"Application.Startup()", L"Second.Startup()", L"Second.Quit()"}));
}

// A sink that leaves while it is called, as an add-in does on Quit.
class LeavingSink final : public iui_::IUnknownImpl<IDispatch> {
 public:
  LeavingSink(ComRef<IConnectionPoint> point, int& calls) : point_(std::move(point)), calls_(calls) {}
  DWORD cookie = 0;
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    ++calls_;
    return point_->Unadvise(cookie);
  }

 private:
  ComRef<IConnectionPoint> point_;
  int& calls_;
};

TEST_F(HostEvents, SinkThatUnadvisesWhileCalledIsCalledOnceAndOthersStillAre) {
  const ComRef<IConnectionPoint> point = pointOf(application_.get(), IID_ApplicationEvents);
  int calls = 0;
  const auto leaving = ComRef<LeavingSink>::adopt(new LeavingSink(point, calls));
  EXPECT_EQ(point->Advise(static_cast<IDispatch*>(leaving.get()), &leaving->cookie), S_OK);
  advise(application_.get(), IID_ApplicationEvents, appSink_.get());
  play("startup\nquit\n");
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(log_, (Log{L"Application.Startup()", L"Application.Quit()"}));
}

TEST_F(HostEvents, ConnectionPointsKnowTheirInterfaceAndContainer) {
  host_.openExplorer(nullptr);
  host_.openInspector(nullptr);
  const struct {
    ComRef<IDispatch> source;
    const IID* events;
  } cases[] = {{application_, &IID_ApplicationEvents},
               {application_, &IID_ApplicationEvents_11},
               {collection(L"Explorers"), &IID_ExplorersEvents},
               {collection(L"Inspectors"), &IID_InspectorsEvents},
               {zelvo::callMethod(application_.get(), L"ActiveExplorer").toDispatch(), &IID_ExplorerEvents_10},
               {zelvo::callMethod(application_.get(), L"ActiveInspector").toDispatch(), &IID_InspectorEvents_10}};
  for (const auto& c : cases) {
    const ComRef<IConnectionPoint> point = pointOf(c.source.get(), *c.events);
    IID iid = IID_NULL;
    EXPECT_EQ(point->GetConnectionInterface(&iid), S_OK);
    EXPECT_TRUE(IsEqualIID(iid, *c.events));
    ComRef<IConnectionPointContainer> container;
    EXPECT_EQ(point->GetConnectionPointContainer(container.put()), S_OK);
    EXPECT_TRUE(container);
    // Another object's events are not found here.
    ComRef<IConnectionPoint> none;
    const IID* other = c.events == &IID_InspectorEvents_10 ? &IID_ExplorerEvents_10 : &IID_InspectorEvents_10;
    EXPECT_EQ(container->FindConnectionPoint(*other, none.put()), CONNECT_E_NOCONNECTION);
    EXPECT_FALSE(none);
  }
}

TEST_F(HostEvents, FailuresOfAdviseAndFindAreAnsweredAndLeaveNoSink) {
  const ComRef<IConnectionPoint> point = pointOf(application_.get(), IID_ApplicationEvents);
  for (const HRESULT code : {E_ACCESSDENIED, E_OUTOFMEMORY, CONNECT_E_ADVISELIMIT}) {
    host_.failNext(L"Advise", code);
    DWORD cookie = 7;
    EXPECT_EQ(point->Advise(static_cast<IDispatch*>(appSink_.get()), &cookie), code);
    EXPECT_EQ(cookie, 0u);
  }
  host_.failNext(L"FindConnectionPoint", E_FAIL);
  ComRef<IConnectionPointContainer> container =
      application_.as<IConnectionPointContainer>(IID_IConnectionPointContainer);
  ComRef<IConnectionPoint> none;
  EXPECT_EQ(container->FindConnectionPoint(IID_ApplicationEvents, none.put()), E_FAIL);
  host_.failNext(L"Unadvise", E_UNEXPECTED);
  const DWORD cookie = advise(application_.get(), IID_ApplicationEvents, appSink_.get());
  EXPECT_EQ(point->Unadvise(cookie), E_UNEXPECTED);
  play("startup\n");
  // The failed Unadvise kept the one sink that was advised.
  EXPECT_EQ(log_, (Log{L"Application.Startup()"}));
  // Something that is no IDispatch cannot be a sink.
  struct NotDispatch final : iui_::IUnknownImpl<IConnectionPointContainer> {
    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID, IConnectionPoint**) override { return E_NOTIMPL; }
  };
  const auto stranger = ComRef<IConnectionPointContainer>::adopt(new NotDispatch);
  DWORD refused = 0;
  EXPECT_EQ(point->Advise(stranger.get(), &refused), CONNECT_E_CANNOTCONNECT);
}

// ---- Runs of host actions -------------------------------------------------------------

TEST_F(HostEvents, ScenarioFileGivesTheWindowsAndTheEventsInOrder) {
  const std::string path = zelvo::testing::sourcePath("tests/addin/data/actions-scenario.txt");
  ASSERT_FALSE(path.empty()) << "ZELVO_SOURCE_DIR is not set";
  const std::vector<HostAction> actions = loadActions(path);
  ASSERT_EQ(actions.size(), 9u);
  adviseAll();
  // Up to the last two steps, then the state, then the rest.
  host_.play(std::vector<HostAction>(actions.begin(), actions.end() - 2));
  EXPECT_EQ(log_, (Log{L"Application.Startup()", L"Explorers.NewExplorer(Explorer:Inbox)",
                       L"Explorer.SelectionChange()", L"Inspectors.NewInspector(Inspector:00BB)",
                       L"Explorer.FolderSwitch()", L"Inspectors.NewInspector(Inspector:00CC)",
                       L"Application.ItemSend(Item:00CC,send)", L"Inspector.Close()"}));
  EXPECT_EQ(zelvo::getProperty(collection(L"Explorers").get(), L"Count").toInt32(), 1);
  EXPECT_EQ(zelvo::getProperty(collection(L"Inspectors").get(), L"Count").toInt32(), 1);
  const ComRef<IDispatch> explorer = zelvo::callMethod(application_.get(), L"ActiveExplorer").toDispatch();
  EXPECT_EQ(zelvo::getProperty(zelvo::getProperty(explorer.get(), L"CurrentFolder").toDispatch().get(), L"Name").toText(),
            L"All Public Folders");
  // The folder switch dropped the selection.
  EXPECT_EQ(zelvo::getProperty(zelvo::getProperty(explorer.get(), L"Selection").toDispatch().get(), L"Count").toInt32(), 0);
  const ComRef<IDispatch> inspector = zelvo::callMethod(application_.get(), L"ActiveInspector").toDispatch();
  EXPECT_EQ(zelvo::getProperty(zelvo::getProperty(inspector.get(), L"CurrentItem").toDispatch().get(), L"EntryID").toText(),
            L"00BB");

  log_.clear();
  host_.play(std::vector<HostAction>(actions.end() - 2, actions.end()));
  EXPECT_EQ(log_, (Log{L"Inspector.Close()", L"Explorer.Close()", L"Application.Quit()"}));
  EXPECT_EQ(zelvo::getProperty(collection(L"Explorers").get(), L"Count").toInt32(), 0);
  EXPECT_EQ(zelvo::getProperty(collection(L"Inspectors").get(), L"Count").toInt32(), 0);
  EXPECT_FALSE(zelvo::callMethod(application_.get(), L"ActiveExplorer").toDispatch());
}

TEST_F(HostEvents, SelectionListsTheSelectedItemsInOrder) {
  const struct {
    const char* select;
    std::vector<std::wstring> ids;
  } cases[] = {{"select 01", {L"01"}}, {"select 0A 0B 0C", {L"0A", L"0B", L"0C"}}, {"select", {}}};
  play("open-folder 1 Inbox\n");
  for (const auto& c : cases) {
    play(c.select);
    const ComRef<IDispatch> selection = zelvo::getProperty(
        zelvo::callMethod(application_.get(), L"ActiveExplorer").toDispatch().get(), L"Selection").toDispatch();
    ASSERT_EQ(zelvo::getProperty(selection.get(), L"Count").toInt32(), static_cast<LONG>(c.ids.size())) << c.select;
    for (size_t i = 0; i < c.ids.size(); ++i)
      EXPECT_EQ(zelvo::getProperty(zelvo::callMethod(selection.get(), L"Item", {Variant::fromInt32(static_cast<LONG>(i + 1))})
                                       .toDispatch()
                                       .get(),
                                   L"EntryID")
                    .toText(),
                c.ids[i]);
    EXPECT_THROW(zelvo::callMethod(selection.get(), L"Item", {Variant::fromInt32(static_cast<LONG>(c.ids.size() + 1))}),
                 HResultException);
  }
}

TEST_F(HostEvents, CancelledSendKeepsTheInspectorOpen) {
  adviseAll();
  for (const bool cancel : {false, true}) {
    log_.clear();
    appSink_->cancelSends = cancel;
    play("open-inspector 0101 read\nopen-inspector 0202 compose\nsend 2\n");
    const Log expected = {L"Inspectors.NewInspector(Inspector:0101)", L"Inspectors.NewInspector(Inspector:0202)",
                          std::wstring(L"Application.ItemSend(Item:0202,") + (cancel ? L"cancel)" : L"send)")};
    Log closing = expected;
    if (!cancel) closing.push_back(L"Inspector.Close()");
    EXPECT_EQ(log_, closing) << cancel;
    EXPECT_EQ(zelvo::getProperty(collection(L"Inspectors").get(), L"Count").toInt32(), cancel ? 2 : 1);
    play("quit\n");
  }
}

TEST_F(HostEvents, AddInActionsGoToTheCallersHook) {
  std::vector<std::wstring> seen;
  host_.play(parseActions("connect\nclick zelvoSpam\nstartup\n"),
             [&](const HostAction& a) { seen.push_back(a.verb == HostAction::Verb::Click ? L"click " + a.text : L"connect"); });
  EXPECT_EQ(seen, (std::vector<std::wstring>{L"connect", L"click zelvoSpam"}));
}

struct Refusal {
  const char* text;
  HRESULT code;
  const char* message;
};

class Refusals : public ::testing::TestWithParam<Refusal> {};

TEST_P(Refusals, NameTheLineAndWhatTheStateLacks) {
  StandIn host(parseProfile(kProfile));
  try {
    host.play(parseActions(GetParam().text));
    ADD_FAILURE() << "played: " << GetParam().text;
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), GetParam().code) << GetParam().text;
    EXPECT_NE(utf8(e.text()).find(GetParam().message), std::string::npos) << utf8(e.text());
  }
}

INSTANTIATE_TEST_SUITE_P(Play, Refusals,
                         ::testing::Values(Refusal{"startup\nselect 01\n", E_INVALIDARG, "actions line 2: no explorer"},
                                           Refusal{"open-folder 2 Inbox\n", E_INVALIDARG, "actions line 1: no store 2"},
                                           Refusal{"open-inspector 01 read\nclose-inspector 2\n", E_INVALIDARG,
                                                   "actions line 2: no inspector 2"},
                                           Refusal{"open-inspector 01 read\nsend 1\n", E_INVALIDARG,
                                                   "actions line 2: inspector 1 is not composing"},
                                           Refusal{"\n\nclick zelvoSpam\n", E_NOTIMPL, "actions line 3: no add-in"}));

// ---- The text of an action run --------------------------------------------------------

struct ParseError {
  const char* text;
  const char* message;
};

class ActionErrors : public ::testing::TestWithParam<ParseError> {};

TEST_P(ActionErrors, NameTheLineAndWhatWasExpected) {
  try {
    parseActions(GetParam().text);
    ADD_FAILURE() << "parsed: " << GetParam().text;
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_INVALIDARG);
    EXPECT_NE(utf8(e.text()).find(GetParam().message), std::string::npos) << utf8(e.text());
  }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ActionErrors,
    ::testing::Values(ParseError{"startup\nfly away\n", "actions line 2: expected an action, not fly"},
                      ParseError{"# comment\n\nopen-folder 0\n", "actions line 3: expected open-folder STORE PATH"},
                      ParseError{"open-folder x Inbox\n", "actions line 1: expected a store number, not x"},
                      ParseError{"select 0A XY\n", "actions line 1: expected an entry id in hex, not XY"},
                      ParseError{"select 0A1\n", "actions line 1: expected an entry id in hex, not 0A1"},
                      ParseError{"open-inspector 01 edit\n", "actions line 1: expected read or compose, not edit"},
                      ParseError{"open-inspector 01\n", "actions line 1: expected open-inspector ENTRYID read|compose"},
                      ParseError{"send\n", "actions line 1: expected send N"},
                      ParseError{"close-inspector 0\n", "actions line 1: inspectors are numbered from 1"},
                      ParseError{"close-inspector -1\n", "actions line 1: expected an inspector number, not -1"},
                      ParseError{"quit now\n", "actions line 1: expected quit alone"},
                      ParseError{"click\n", "actions line 1: expected click CONTROLID"},
                      ParseError{"startup\n\xff\n", "actions line 2: not UTF-8"}));

TEST(ActionTexts, ReadEveryVerbWithItsArguments) {
  const std::vector<HostAction> actions = parseActions(
      "# comment\r\nstartup\r\n  open-folder 3  Public Folders/All  \nselect 0a 0B\nopen-inspector 0C compose\n"
      "send 2\nclose-inspector 12\nquit\nconnect\nclick btn\n");
  ASSERT_EQ(actions.size(), 9u);
  using V = HostAction::Verb;
  const V verbs[] = {V::Startup, V::OpenFolder, V::Select, V::OpenInspector, V::Send,
                     V::CloseInspector, V::Quit, V::Connect, V::Click};
  for (size_t i = 0; i < actions.size(); ++i) {
    EXPECT_EQ(actions[i].verb, verbs[i]) << i;
    EXPECT_EQ(actions[i].line, i + 2) << i;
  }
  EXPECT_EQ(actions[1].store, 3u);
  EXPECT_EQ(actions[1].text, L"Public Folders/All");
  EXPECT_EQ(actions[2].entryIds, (std::vector<std::wstring>{L"0a", L"0B"}));
  EXPECT_TRUE(actions[3].compose);
  EXPECT_EQ(actions[3].entryIds, (std::vector<std::wstring>{L"0C"}));
  EXPECT_EQ(actions[4].window, 2u);
  EXPECT_EQ(actions[5].window, 12u);
  EXPECT_EQ(actions[8].text, L"btn");
  EXPECT_THROW(loadActions(zelvo::testing::uniqueTempPath("no-actions").string()), HResultException);
}

}  // namespace
