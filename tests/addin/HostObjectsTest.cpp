// The host stand-in's objects beyond the windows: command bars that the add-in builds on a
// window, read back by name and clicked through a button's connection point; send/receive
// groups started and stopped with their events; the add-in's COMAddIn and a dialog's
// property pages; the ribbon and its controls.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "base/Dispatcher.h"
#include "base/HResultException.h"
#include "base/LateBinding.h"
#include "testing/TestEnvironment.h"
#include "testing/outlook/StandIn.h"

namespace {

using namespace OutlookStandIn;
using zelvo::callMethod;
using zelvo::getProperty;
using zelvo::putProperty;
using zelvo::testing::utf8;

const char kProfile[] =
    "store private name=Work service={0A000000-0000-0000-0000-000000000001} key={0B000000-0000-0000-0000-000000000001} "
    "default\n"
    "folder Inbox 0A0B default=6\n";

// What a call answered: S_OK or the failure raised.
HRESULT outcome(const std::function<void()>& call) {
  try {
    call();
    return S_OK;
  } catch (const HResultException& e) {
    return e.getHResult();
  }
}

// A click sink as the add-in has one: records the button's tag and sets CancelDefault
// when told to.
class ClickSink final : public iui_::IUnknownImpl<IDispatch> {
 public:
  explicit ClickSink(bool cancel) : cancel_(cancel) {}
  std::vector<std::wstring> clicks;

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return zelvo::comBoundary([&] {
      EXPECT_EQ(id, EventId::Click);
      EXPECT_EQ(flags, DISPATCH_METHOD);
      EXPECT_EQ(params->cArgs, 2u);
      // The button first, CancelDefault last: reversed in rgvarg.
      const VARIANT& button = params->rgvarg[1];
      const VARIANT& cancel = params->rgvarg[0];
      EXPECT_EQ(button.vt, VT_DISPATCH);
      EXPECT_EQ(cancel.vt, VT_BOOL | VT_BYREF);
      clicks.push_back(getProperty(button.pdispVal, L"Tag").toText());
      if (cancel_) *cancel.pboolVal = VARIANT_TRUE;
    });
  }

 private:
  bool cancel_;
};

class CommandBarsTest : public ::testing::Test {
 protected:
  CommandBarsTest() : host_(parseProfile(kProfile)) {
    host_.openExplorer(host_.folder(0, L"Inbox").get());
    host_.openInspector(host_.mailItem(L"0C0D").get());
  }
  ComRef<IDispatch> window(const wchar_t* which) {
    return callMethod(host_.application().get(), which).toDispatch();
  }
  ComRef<IDispatch> bars(const wchar_t* which = L"ActiveExplorer") {
    return getProperty(window(which).get(), L"CommandBars").toDispatch();
  }
  // A toolbar named name with one button tagged tag.
  ComRef<IDispatch> buildBar(const wchar_t* which, const std::wstring& name, const std::wstring& tag) {
    const ComRef<IDispatch> bar =
        callMethod(bars(which).get(), L"Add",
                   {Variant::fromText(name), Variant::fromInt32(1), Variant::fromBool(false), Variant::fromBool(true)})
            .toDispatch();
    const ComRef<IDispatch> controls = getProperty(bar.get(), L"Controls").toDispatch();
    const ComRef<IDispatch> button =
        callMethod(controls.get(), L"Add",
                   {Variant::fromInt32(1), Variant::fromInt32(1), Variant::fromText(L""), Variant::fromInt32(0),
                    Variant::fromBool(true)})
            .toDispatch();
    putProperty(button.get(), L"Tag", Variant::fromText(tag));
    return button;
  }
  DWORD advise(IDispatch* button, ClickSink* sink) {
    ComRef<IConnectionPointContainer> container =
        ComRef<IDispatch>(button).as<IConnectionPointContainer>(IID_IConnectionPointContainer);
    ComRef<IConnectionPoint> point;
    EXPECT_EQ(container->FindConnectionPoint(IID_CommandBarButtonEvents, point.put()), S_OK);
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(static_cast<IDispatch*>(sink), &cookie), S_OK);
    return cookie;
  }

  StandIn host_;
};

// Each property the add-in sets on a button, and what it reads back from the button found
// again by bar name and caption.
struct ButtonProperty {
  const wchar_t* name;
  Variant value;
};

TEST_F(CommandBarsTest, ToolbarIsFoundByNameWithTheButtonsPropertiesAsSet) {
  const ComRef<IDispatch> built = buildBar(L"ActiveExplorer", L"Zelvo", L"zelvo.sync");
  const ComRef<IDispatch> picture = host_.mailItem(L"image");
  const std::vector<ButtonProperty> properties = {
      {L"Caption", Variant::fromText(L"Synchronise")}, {L"TooltipText", Variant::fromText(L"Send and receive")},
      {L"Style", Variant::fromInt32(3)},                {L"State", Variant::fromInt32(-1)},
      {L"Enabled", Variant::fromBool(false)},           {L"Visible", Variant::fromBool(false)},
      {L"BeginGroup", Variant::fromBool(true)},         {L"Picture", Variant::fromDispatch(picture.get())},
      {L"Mask", Variant::fromDispatch(picture.get())},
  };
  for (const auto& p : properties) putProperty(built.get(), p.name, p.value);

  const ComRef<IDispatch> bar = getProperty(bars().get(), L"Item", {Variant::fromText(L"zelvo")}).toDispatch();
  EXPECT_EQ(getProperty(bar.get(), L"Name").toText(), L"Zelvo");
  const ComRef<IDispatch> controls = getProperty(bar.get(), L"Controls").toDispatch();
  EXPECT_EQ(getProperty(controls.get(), L"Count").toInt32(), 1);
  const ComRef<IDispatch> button =
      getProperty(controls.get(), L"Item", {Variant::fromText(L"Synchronise")}).toDispatch();
  EXPECT_EQ(getProperty(button.get(), L"Tag").toText(), L"zelvo.sync");
  for (const auto& p : properties) {
    SCOPED_TRACE(utf8(p.name));
    const Variant read = getProperty(button.get(), p.name);
    if (p.value.get().vt == VT_DISPATCH)
      EXPECT_EQ(read.toUnknown().get(), ComRef<IDispatch>(picture).as<IUnknown>(IID_IUnknown).get());
    else
      EXPECT_EQ(read.toText(), p.value.toText());
  }
  // Found by place as well as by name; the inspector's bars are its own.
  EXPECT_EQ(getProperty(getProperty(bars().get(), L"Item", {Variant::fromInt32(1)}).toDispatch().get(), L"Name")
                .toText(),
            L"Zelvo");
  EXPECT_EQ(getProperty(bars(L"ActiveInspector").get(), L"Count").toInt32(), 0);
}

TEST_F(CommandBarsTest, BarPropertiesReadBackAndDeleteTakesTheBarAway) {
  buildBar(L"ActiveExplorer", L"First", L"a");
  buildBar(L"ActiveExplorer", L"Second", L"b");
  const ComRef<IDispatch> bar = getProperty(bars().get(), L"Item", {Variant::fromText(L"Second")}).toDispatch();
  const std::vector<ButtonProperty> properties = {
      {L"Visible", Variant::fromBool(true)}, {L"Position", Variant::fromInt32(4)}, {L"Left", Variant::fromInt32(120)},
      {L"Top", Variant::fromInt32(-7)},      {L"RowIndex", Variant::fromInt32(2)},
  };
  for (const auto& p : properties) {
    SCOPED_TRACE(utf8(p.name));
    putProperty(bar.get(), p.name, p.value);
    EXPECT_EQ(getProperty(bar.get(), p.name).toText(), p.value.toText());
  }
  callMethod(bar.get(), L"Delete");
  EXPECT_EQ(getProperty(bars().get(), L"Count").toInt32(), 1);
  EXPECT_EQ(outcome([&] { getProperty(bars().get(), L"Item", {Variant::fromText(L"Second")}); }), E_INVALIDARG);
  EXPECT_EQ(outcome([&] { getProperty(bar.get(), L"Name"); }), E_FAIL);
  EXPECT_THROW(host_.clickButton(L"b"), HResultException);
}

TEST_F(CommandBarsTest, ClickReachesTheAdvisedSinksOfEveryButtonWithTheTag) {
  const ComRef<IDispatch> explorerButton = buildBar(L"ActiveExplorer", L"Zelvo", L"zelvo.sync");
  const ComRef<IDispatch> inspectorButton = buildBar(L"ActiveInspector", L"Zelvo", L"zelvo.sync");
  buildBar(L"ActiveExplorer", L"Other", L"other");
  const auto sink = ComRef<ClickSink>::adopt(new ClickSink(false));
  const auto cancelling = ComRef<ClickSink>::adopt(new ClickSink(true));
  advise(explorerButton.get(), sink.get());
  EXPECT_FALSE(host_.clickButton(L"zelvo.sync"));
  EXPECT_EQ(sink->clicks, (std::vector<std::wstring>{L"zelvo.sync"}));
  advise(inspectorButton.get(), cancelling.get());
  EXPECT_TRUE(host_.clickButton(L"zelvo.sync"));
  EXPECT_EQ(sink->clicks.size(), 2u);
  EXPECT_EQ(cancelling->clicks, (std::vector<std::wstring>{L"zelvo.sync"}));
  // A button deleted is clicked no more.
  callMethod(inspectorButton.get(), L"Delete");
  EXPECT_FALSE(host_.clickButton(L"zelvo.sync"));
  EXPECT_EQ(cancelling->clicks.size(), 1u);
}

// The calls the add-in makes are refused as the host would refuse them.
struct Refusal {
  const char* what;
  std::function<void(CommandBarsTest&, IDispatch* bars)> call;
  HRESULT expected;
};

class CommandBarRefusals : public CommandBarsTest {};

TEST_F(CommandBarRefusals, AnsweredWithTheHostsCodes) {
  buildBar(L"ActiveExplorer", L"Zelvo", L"t");
  const std::vector<Refusal> refusals = {
      {"a second bar of the same name",
       [](CommandBarsTest&, IDispatch* b) {
         callMethod(b, L"Add",
                    {Variant::fromText(L"ZELVO"), Variant::fromInt32(1), Variant::fromBool(false),
                     Variant::fromBool(true)});
       },
       E_INVALIDARG},
      {"no bar of the name", [](CommandBarsTest&, IDispatch* b) { getProperty(b, L"Item", {Variant::fromText(L"x")}); },
       E_INVALIDARG},
      {"no bar at the place", [](CommandBarsTest&, IDispatch* b) { getProperty(b, L"Item", {Variant::fromInt32(2)}); },
       E_INVALIDARG},
      {"a control other than a button",
       [](CommandBarsTest&, IDispatch* b) {
         const auto bar = getProperty(b, L"Item", {Variant::fromInt32(1)}).toDispatch();
         callMethod(getProperty(bar.get(), L"Controls").toDispatch().get(), L"Add",
                    {Variant::fromInt32(10), Variant::fromInt32(1), Variant::fromText(L""), Variant::fromInt32(0),
                     Variant::fromBool(true)});
       },
       E_INVALIDARG},
      {"Add without its arguments", [](CommandBarsTest&, IDispatch* b) { callMethod(b, L"Add"); },
       DISP_E_BADPARAMCOUNT},
  };
  for (const auto& r : refusals) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(outcome([&] { r.call(*this, bars().get()); }), r.expected);
  }
  EXPECT_EQ(getProperty(bars().get(), L"Count").toInt32(), 1);
}

TEST_F(CommandBarsTest, EveryMemberIsRecordedAndFailsOnDemand) {
  const ComRef<IDispatch> button = buildBar(L"ActiveExplorer", L"Zelvo", L"t");
  const ComRef<IDispatch> commandBars = bars();
  const ComRef<IDispatch> bar = getProperty(commandBars.get(), L"Item", {Variant::fromInt32(1)}).toDispatch();
  struct Member {
    IDispatch* object;
    const wchar_t* name;
    const wchar_t* recorded;
  };
  const std::vector<Member> members = {
      {commandBars.get(), L"Count", L"CommandBars.Count"}, {bar.get(), L"Name", L"CommandBar.Name"},
      {bar.get(), L"RowIndex", L"CommandBar.RowIndex"},    {button.get(), L"Caption", L"CommandBarButton.Caption"},
      {button.get(), L"Enabled", L"CommandBarButton.Enabled"},
  };
  for (const auto& m : members) {
    SCOPED_TRACE(utf8(m.name));
    host_.clearCalls();
    host_.failNext(m.name, E_ACCESSDENIED);
    EXPECT_EQ(outcome([&] { getProperty(m.object, m.name); }), E_ACCESSDENIED);
    EXPECT_EQ(outcome([&] { getProperty(m.object, m.name); }), S_OK);
    EXPECT_EQ(host_.calls(), (std::vector<std::wstring>{m.recorded, m.recorded}));
  }
  host_.failNext(L"CommandBars", E_OUTOFMEMORY);
  EXPECT_EQ(outcome([&] { bars(); }), E_OUTOFMEMORY);
}

// ---- Send/receive groups -------------------------------------------------------------

// Records each event as "Name(arguments)".
class SyncSink final : public iui_::IUnknownImpl<IDispatch> {
 public:
  std::vector<std::wstring> events;

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    return zelvo::comBoundary([&] {
      std::wstring entry = id == EventId::SyncStart ? L"SyncStart(" : id == EventId::SyncEnd ? L"SyncEnd(" :
                           id == EventId::OnError   ? L"OnError("   : L"#" + std::to_wstring(id) + L"(";
      for (UINT i = params->cArgs; i-- > 0;)
        entry += Variant::copyOf(params->rgvarg[i]).toText() + (i ? L"," : L"");
      events.push_back(entry + L")");
    });
  }
};

class SyncObjectsTest : public ::testing::Test {
 protected:
  SyncObjectsTest() : host_(parseProfile(kProfile)) {
    host_.addSyncObject(L"All Accounts");
    host_.addSyncObject(L"Zelvo");
  }
  ComRef<IDispatch> syncObjects() { return getProperty(host_.nameSpace().get(), L"SyncObjects").toDispatch(); }
  ComRef<IDispatch> advised(const wchar_t* name, SyncSink* sink) {
    const ComRef<IDispatch> sync = getProperty(syncObjects().get(), L"Item", {Variant::fromText(name)}).toDispatch();
    ComRef<IConnectionPointContainer> container = sync.as<IConnectionPointContainer>(IID_IConnectionPointContainer);
    ComRef<IConnectionPoint> point;
    EXPECT_EQ(container->FindConnectionPoint(IID_SyncObjectEvents, point.put()), S_OK);
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(static_cast<IDispatch*>(sink), &cookie), S_OK);
    return sync;
  }

  StandIn host_;
};

TEST_F(SyncObjectsTest, GroupsAreListedInOrderAndFoundByNameOrPlace) {
  const ComRef<IDispatch> groups = syncObjects();
  EXPECT_EQ(getProperty(groups.get(), L"Count").toInt32(), 2);
  const std::vector<std::pair<Variant, std::wstring>> lookups = {
      {Variant::fromInt32(1), L"All Accounts"}, {Variant::fromInt32(2), L"Zelvo"}, {Variant::fromText(L"zelvo"), L"Zelvo"}};
  for (const auto& [key, name] : lookups) {
    SCOPED_TRACE(utf8(key.toText()));
    EXPECT_EQ(getProperty(getProperty(groups.get(), L"Item", {key}).toDispatch().get(), L"Name").toText(), name);
  }
  EXPECT_EQ(outcome([&] { getProperty(groups.get(), L"Item", {Variant::fromInt32(3)}); }), E_INVALIDARG);
}

// Each run of a group as the sink sees it: what the add-in and the host did, and the events.
struct SyncRun {
  const char* what;
  std::function<void(StandIn&, IDispatch* group)> run;
  std::vector<std::wstring> events;
};

TEST_F(SyncObjectsTest, RunsFireTheirEventsToTheGroupsSinksOnly) {
  const std::vector<SyncRun> runs = {
      {"a run that ends",
       [](StandIn& host, IDispatch* g) {
         callMethod(g, L"Start");
         host.endSync(L"Zelvo");
       },
       {L"SyncStart()", L"SyncEnd()"}},
      {"a run that fails",
       [](StandIn& host, IDispatch* g) {
         callMethod(g, L"Start");
         host.endSync(L"Zelvo", std::make_pair(LONG{-2147221227}, std::wstring(L"server down")));
       },
       {L"SyncStart()", L"OnError(-2147221227,server down)", L"SyncEnd()"}},
      {"a run stopped by the add-in, stopped again",
       [](StandIn&, IDispatch* g) {
         callMethod(g, L"Start");
         callMethod(g, L"Stop");
         callMethod(g, L"Stop");
       },
       {L"SyncStart()", L"SyncEnd()"}},
      {"a second start while running",
       [](StandIn& host, IDispatch* g) {
         callMethod(g, L"Start");
         callMethod(g, L"Start");
         host.endSync(L"Zelvo");
       },
       {L"SyncStart()", L"SyncEnd()"}},
      {"a stop with nothing running", [](StandIn&, IDispatch* g) { callMethod(g, L"Stop"); }, {}},
  };
  for (const auto& r : runs) {
    SCOPED_TRACE(r.what);
    const auto sink = ComRef<SyncSink>::adopt(new SyncSink);
    const auto other = ComRef<SyncSink>::adopt(new SyncSink);
    const ComRef<IDispatch> group = advised(L"Zelvo", sink.get());
    advised(L"All Accounts", other.get());
    r.run(host_, group.get());
    EXPECT_EQ(sink->events, r.events);
    EXPECT_TRUE(other->events.empty());
  }
  EXPECT_EQ(outcome([&] { host_.endSync(L"Zelvo"); }), E_INVALIDARG);
}

TEST_F(SyncObjectsTest, StartIsRecordedAndFailsOnDemandWithoutStarting) {
  const auto sink = ComRef<SyncSink>::adopt(new SyncSink);
  const ComRef<IDispatch> group = advised(L"Zelvo", sink.get());
  host_.clearCalls();
  host_.failNext(L"Start", E_ACCESSDENIED);
  EXPECT_EQ(outcome([&] { callMethod(group.get(), L"Start"); }), E_ACCESSDENIED);
  EXPECT_TRUE(sink->events.empty());
  EXPECT_EQ(outcome([&] { host_.endSync(L"Zelvo"); }), E_INVALIDARG);
  EXPECT_EQ(host_.calls(), (std::vector<std::wstring>{L"SyncObject.Start"}));
}

// ---- The add-in's own objects ----------------------------------------------------------

struct AddInProperty {
  const wchar_t* name;
  Variant value;
};

TEST(ComAddIn, ShowsWhatTheHostKnowsAndKeepsWhatTheAddInSets) {
  StandIn host(parseProfile(kProfile));
  const ComRef<IDispatch> addIn = host.comAddIn(L"Zelvo.Connect", L"Zelvo mail add-in");
  EXPECT_EQ(getProperty(addIn.get(), L"ProgId").toText(), L"Zelvo.Connect");
  EXPECT_EQ(getProperty(addIn.get(), L"Description").toText(), L"Zelvo mail add-in");
  EXPECT_TRUE(getProperty(addIn.get(), L"Connect").toBool());
  EXPECT_FALSE(getProperty(addIn.get(), L"Object").toDispatch());

  // What the add-in sets is seen through every object over it.
  const ComRef<IDispatch> exposed = host.mailItem(L"automation");
  const std::vector<AddInProperty> properties = {{L"Description", Variant::fromText(L"renamed")},
                                                 {L"Connect", Variant::fromBool(false)},
                                                 {L"Object", Variant::fromDispatch(exposed.get())}};
  for (const auto& p : properties) putProperty(addIn.get(), p.name, p.value);
  const ComRef<IDispatch> again = host.comAddIn(L"Zelvo.Connect", L"renamed");
  for (const auto& p : properties) {
    SCOPED_TRACE(utf8(p.name));
    const Variant read = getProperty(again.get(), p.name);
    if (p.value.type() == VT_DISPATCH) EXPECT_EQ(read.toDispatch().get(), exposed.get());
    else EXPECT_EQ(read.toText(), p.value.toText());
  }
  // The ProgID is the host's to give.
  EXPECT_EQ(outcome([&] { putProperty(addIn.get(), L"ProgId", Variant::fromText(L"Other")); }),
            DISP_E_MEMBERNOTFOUND);
  host.clearCalls();
  host.failNext(L"Connect", E_ACCESSDENIED);
  EXPECT_EQ(outcome([&] { getProperty(addIn.get(), L"Connect"); }), E_ACCESSDENIED);
  EXPECT_EQ(host.calls(), (std::vector<std::wstring>{L"COMAddIn.Connect"}));
}

TEST(PropertyPages, PagesAddedAreListedInOrderAndRemovedByPlace) {
  StandIn host(parseProfile(kProfile));
  EXPECT_EQ(outcome([&] { host.pageTitles(); }), E_INVALIDARG);
  const ComRef<IDispatch> pages = host.openPropertyDialog();
  const ComRef<IDispatch> control = host.mailItem(L"page");
  callMethod(pages.get(), L"Add", {Variant::fromDispatch(control.get()), Variant::fromText(L"Zelvo")});
  callMethod(pages.get(), L"Add", {Variant::fromText(L"Zelvo.FolderPage"), Variant::fromText(L"Sharing")});
  callMethod(pages.get(), L"Add", {Variant::fromText(L"Zelvo.Extra"), Variant::fromText(L"Extra")});
  EXPECT_EQ(getProperty(pages.get(), L"Count").toInt32(), 3);
  EXPECT_EQ(getProperty(pages.get(), L"Item", {Variant::fromInt32(1)}).toDispatch().get(), control.get());
  EXPECT_EQ(getProperty(pages.get(), L"Item", {Variant::fromInt32(2)}).toText(), L"Zelvo.FolderPage");
  callMethod(pages.get(), L"Remove", {Variant::fromInt32(2)});
  EXPECT_EQ(host.pageTitles(), (std::vector<std::wstring>{L"Zelvo", L"Extra"}));
  EXPECT_EQ(getProperty(pages.get(), L"Item", {Variant::fromInt32(2)}).toText(), L"Zelvo.Extra");

  struct Refused {
    const char* what;
    std::function<void()> call;
    HRESULT expected;
  };
  const std::vector<Refused> refusals = {
      {"a page that is a number",
       [&] { callMethod(pages.get(), L"Add", {Variant::fromInt32(4), Variant::fromText(L"x")}); }, DISP_E_TYPEMISMATCH},
      {"an empty ProgID",
       [&] { callMethod(pages.get(), L"Add", {Variant::fromText(L""), Variant::fromText(L"x")}); }, E_INVALIDARG},
      {"no page at the place", [&] { getProperty(pages.get(), L"Item", {Variant::fromInt32(3)}); }, E_INVALIDARG},
      {"removing place 0", [&] { callMethod(pages.get(), L"Remove", {Variant::fromInt32(0)}); }, E_INVALIDARG},
  };
  for (const auto& r : refusals) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(outcome(r.call), r.expected);
  }
  EXPECT_EQ(getProperty(pages.get(), L"Count").toInt32(), 2);
  // A new dialog starts with no pages of its own.
  const ComRef<IDispatch> next = host.openPropertyDialog();
  EXPECT_EQ(getProperty(next.get(), L"Count").toInt32(), 0);
  EXPECT_TRUE(host.pageTitles().empty());
}

// ---- The ribbon -------------------------------------------------------------------------

bool answers(IDispatch* object, const IID& iid) {
  ComRef<IUnknown> face;
  return SUCCEEDED(object->QueryInterface(iid, face.putVoid())) && face;
}

struct Invalidation {
  const char* what;
  const wchar_t* failing;  // the member told to fail, or null
  std::function<void(IDispatch* ribbon)> calls;
  std::vector<std::wstring> invalidated;
  std::vector<std::wstring> recorded;
};

TEST(Ribbon, InvalidationsAreRecordedInOrder) {
  const std::vector<Invalidation> cases = {
      {"the whole ribbon", nullptr, [](IDispatch* r) { callMethod(r, L"Invalidate"); }, {L""}, {L"IRibbonUI.Invalidate"}},
      {"controls then the whole", nullptr,
       [](IDispatch* r) {
         callMethod(r, L"InvalidateControl", {Variant::fromText(L"zelvoSync")});
         callMethod(r, L"InvalidateControl", {Variant::fromText(L"zelvoStatus")});
         callMethod(r, L"Invalidate");
       },
       {L"zelvoSync", L"zelvoStatus", L""},
       {L"IRibbonUI.InvalidateControl", L"IRibbonUI.InvalidateControl", L"IRibbonUI.Invalidate"}},
      {"a control without an id, refused", nullptr,
       [](IDispatch* r) {
         EXPECT_EQ(outcome([&] { callMethod(r, L"InvalidateControl", {Variant::fromText(L"")}); }), E_INVALIDARG);
       },
       {},
       {L"IRibbonUI.InvalidateControl"}},
      {"a failure injected", L"Invalidate",
       [](IDispatch* r) { EXPECT_EQ(outcome([&] { callMethod(r, L"Invalidate"); }), E_OUTOFMEMORY); },
       {},
       {L"IRibbonUI.Invalidate"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    StandIn host(parseProfile(kProfile));
    const ComRef<IDispatch> ribbon = host.ribbonUI();
    EXPECT_TRUE(answers(ribbon.get(), IID_IRibbonUI));
    EXPECT_FALSE(answers(ribbon.get(), IID_IRibbonControl));
    if (c.failing) host.failNext(c.failing, E_OUTOFMEMORY);
    c.calls(ribbon.get());
    EXPECT_EQ(host.ribbonInvalidations(), c.invalidated);
    EXPECT_EQ(host.calls(), c.recorded);
  }
}

TEST(Ribbon, ControlGivesItsIdTagAndWindow) {
  StandIn host(parseProfile(kProfile));
  host.openExplorer(host.folder(0, L"Inbox").get());
  const ComRef<IDispatch> explorer = callMethod(host.application().get(), L"ActiveExplorer").toDispatch();
  struct Control {
    std::wstring id;
    std::wstring tag;
    IDispatch* context;
  };
  for (const Control& c : {Control{L"zelvoSync", L"sync", explorer.get()}, Control{L"zelvoAbout", L"", nullptr}}) {
    SCOPED_TRACE(utf8(c.id));
    const ComRef<IDispatch> control = host.ribbonControl(c.id, c.tag, c.context);
    EXPECT_TRUE(answers(control.get(), IID_IRibbonControl));
    EXPECT_EQ(getProperty(control.get(), L"Id").toText(), c.id);
    EXPECT_EQ(getProperty(control.get(), L"Tag").toText(), c.tag);
    EXPECT_EQ(getProperty(control.get(), L"Context").toDispatch().get(), c.context);
    // Read-only, as the type library has them.
    EXPECT_EQ(outcome([&] { putProperty(control.get(), L"Tag", Variant::fromText(L"x")); }), DISP_E_MEMBERNOTFOUND);
  }
  host.clearCalls();
  host.failNext(L"Context", E_ACCESSDENIED);
  const ComRef<IDispatch> control = host.ribbonControl(L"zelvoSync", L"sync", explorer.get());
  EXPECT_EQ(outcome([&] { getProperty(control.get(), L"Context"); }), E_ACCESSDENIED);
  EXPECT_EQ(host.calls(), (std::vector<std::wstring>{L"IRibbonControl.Context"}));
}

}  // namespace
