// The three ribbon documents as the module carries them: well-formed, in the right
// custom-UI schema, with the controls and callbacks the tables and the dispatcher expect.
#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "addin/ribbon/Ribbon.h"
#include "testing/TestEnvironment.h"

using namespace zelvo::addin;

namespace {

struct Element {
  std::string name;
  std::map<std::string, std::string> attributes;
  std::vector<Element> children;
};

// A strict reader for the small subset of XML the documents use: a declaration, comments,
// elements and quoted attributes. Text content, references, doctypes and processing
// instructions after the declaration are refused, as is anything not well-formed.
class StrictXmlReader {
 public:
  explicit StrictXmlReader(std::string_view text) : text_(text) {}

  Element read() {
    if (text_.substr(0, 6) == "<?xml ") {
      const auto end = text_.find("?>");
      if (end == std::string_view::npos) fail("unterminated declaration");
      pos_ = end + 2;
    }
    skipMisc();
    Element root = element();
    skipMisc();
    if (pos_ != text_.size()) fail("content after the root element");
    return root;
  }

 private:
  [[noreturn]] void fail(const std::string& what) const {
    throw std::runtime_error(what + " at offset " + std::to_string(pos_));
  }
  bool at(std::string_view s) const { return text_.substr(pos_, s.size()) == s; }
  void expect(std::string_view s) {
    if (!at(s)) fail("expected '" + std::string(s) + "'");
    pos_ += s.size();
  }
  bool skipSpace() {
    const std::size_t start = pos_;
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t' || text_[pos_] == '\r' || text_[pos_] == '\n')) {
      ++pos_;
    }
    return pos_ != start;
  }
  void skipMisc() {
    for (;;) {
      skipSpace();
      if (!at("<!--")) return;
      const auto end = text_.find("--", pos_ + 4);
      if (end == std::string_view::npos || text_.substr(end, 3) != "-->") fail("bad comment");
      pos_ = end + 3;
    }
  }
  std::string name() {
    const std::size_t start = pos_;
    auto isNameChar = [](char c) {
      return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
             c == '.' || c == ':';
    };
    while (pos_ < text_.size() && isNameChar(text_[pos_])) ++pos_;
    if (pos_ == start || (text_[start] >= '0' && text_[start] <= '9') || text_[start] == '-' || text_[start] == '.') {
      fail("expected a name");
    }
    return std::string(text_.substr(start, pos_ - start));
  }
  Element element() {
    expect("<");
    Element e;
    e.name = name();
    for (;;) {
      const bool spaced = skipSpace();
      if (at("/>")) {
        pos_ += 2;
        return e;
      }
      if (at(">")) {
        ++pos_;
        break;
      }
      if (!spaced) fail("expected a blank before an attribute");
      std::string key = name();
      skipSpace();
      expect("=");
      skipSpace();
      if (pos_ >= text_.size() || (text_[pos_] != '"' && text_[pos_] != '\'')) fail("unquoted value");
      const char quote = text_[pos_++];
      const auto end = text_.find(quote, pos_);
      if (end == std::string_view::npos) fail("unterminated value");
      std::string value(text_.substr(pos_, end - pos_));
      if (value.find_first_of("<&") != std::string::npos) fail("'<' or a reference in a value");
      pos_ = end + 1;
      if (!e.attributes.emplace(std::move(key), std::move(value)).second) fail("duplicate attribute");
    }
    for (;;) {
      skipMisc();
      if (pos_ >= text_.size()) fail("unterminated element " + e.name);
      if (at("</")) break;
      if (!at("<") || at("<!") || at("<?")) fail("text or markup other than elements inside " + e.name);
      e.children.push_back(element());
    }
    expect("</");
    if (name() != e.name) fail("end tag does not match " + e.name);
    skipSpace();
    expect(">");
    return e;
  }

  std::string_view text_;
  std::size_t pos_ = 0;
};

Element parse(std::string_view text) { return StrictXmlReader(text).read(); }

const int kDocuments[] = {15000, 15001, 15002};

void forEachElement(const Element& e, const std::function<void(const Element&)>& visit) {
  visit(e);
  for (const Element& child : e.children) forEachElement(child, visit);
}

// The document as the expected tree says, compared element by element.
void expectSameTree(const Element& actual, const Element& expected, const std::string& path) {
  const std::string here = path + "/" + expected.name;
  EXPECT_EQ(actual.name, expected.name) << path;
  EXPECT_EQ(actual.attributes, expected.attributes) << here;
  ASSERT_EQ(actual.children.size(), expected.children.size()) << here;
  for (std::size_t i = 0; i < expected.children.size(); ++i) {
    expectSameTree(actual.children[i], expected.children[i], here + "[" + std::to_string(i) + "]");
  }
}

using Attributes = std::map<std::string, std::string>;

Element node(std::string name, Attributes attributes, std::vector<Element> children = {}) {
  return Element{std::move(name), std::move(attributes), std::move(children)};
}

Attributes with(Attributes base, const Attributes& extra) {
  for (const auto& [k, v] : extra) base[k] = v;
  return base;
}

Element command(const std::string& idMso, const std::string& onAction) {
  return node("command", {{"idMso", idMso}, {"onAction", onAction}});
}

// An explorer button: every one has these unless its row says otherwise.
Element explorerButton(const std::string& id, const std::string& keytip, const Attributes& extra) {
  return node("button", with({{"id", id},
                              {"keytip", keytip},
                              {"onAction", "explorerOnButtonAction"},
                              {"getImage", "explorerOnGetButtonImage"},
                              {"getScreentip", "explorerOnGetButtonScreenTip"},
                              {"getSupertip", "explorerOnGetButtonSuperTip"}},
                             extra));
}

Element expectedExplorerDocument() {
  const Attributes labelAndEnabled{{"getLabel", "explorerOnGetLabel"}, {"getEnabled", "explorerOnGetButtonEnabled"}};
  const Attributes large{{"size", "large"}, {"getLabel", "explorerOnGetLabel"}};
  const Element launcher = node("button", {{"id", "btnOptionsLauncher"},
                                           {"keytip", "K4"},
                                           {"onAction", "explorerOnButtonAction"},
                                           {"getScreentip", "explorerOnGetButtonScreenTip"},
                                           {"getSupertip", "explorerOnGetButtonSuperTip"}});
  const Element toggle = node("toggleButton", {{"id", "btnOutOfOffice"},
                                               {"keytip", "K3"},
                                               {"onAction", "explorerOnToggleButtonAction"},
                                               {"getPressed", "explorerOnGetButtonPressed"},
                                               {"getLabel", "explorerOnGetLabel"},
                                               {"getEnabled", "explorerOnGetButtonEnabled"},
                                               {"getImage", "explorerOnGetButtonImage"}});
  const Element mailTab = node(
      "tab", {{"idMso", "TabMail"}},
      {node("group",
            {{"id", "grpExplorerMain"}, {"keytip", "K"}, {"getLabel", "explorerOnGetLabel"},
             {"insertBeforeMso", "GroupMailRespond"}},
            {node("box", {{"id", "box"}, {"boxStyle", "vertical"}},
                  {explorerButton("btnIsSpam", "K1", labelAndEnabled), explorerButton("btnNotSpam", "K2", labelAndEnabled),
                   toggle}),
             node("dialogBoxLauncher", {}, {launcher})})});
  const Element ourTab = node(
      "tab", {{"id", "tabZelvoHub"}, {"keytip", "K"}, {"getLabel", "explorerOnGetLabel"}},
      {node("group", {{"id", "grpOptions"}, {"getLabel", "explorerOnGetLabel"}},
            {explorerButton("btnOptions", "K1", with(large, {{"getEnabled", "explorerOnGetButtonEnabled"}})),
             explorerButton("btnDelegation", "K2", with(large, {{"getEnabled", "explorerOnGetButtonEnabled"}})),
             explorerButton("btnAbout", "K3", large), explorerButton("btnHelp", "K4", large)})});
  return node("customUI",
              {{"xmlns", "http://schemas.microsoft.com/office/2009/07/customui"}, {"onLoad", "explorerOnLoad"}},
              {node("commands", {},
                    {command("ToggleOnline", "toggleOnlineCommandOnAction"),
                     command("SendReceiveAll", "sendReceiveAllCommandOnAction"),
                     command("RulesAndAlerts", "rulesAndAlertsCommandOnAction"),
                     command("CreateMailRule", "createMailRuleCommandOnAction")}),
               node("ribbon", {}, {node("tabs", {}, {mailTab, ourTab})})});
}

Element expectedInspectorDocument(bool withRulesAndAlerts) {
  auto button = [](const std::string& id) {
    return node("button", {{"id", id},
                           {"size", "normal"},
                           {"onAction", "inspectorOnButtonAction"},
                           {"getLabel", "inspectorOnGetLabel"},
                           {"getImage", "inspectorOnGetButtonImage"},
                           {"getEnabled", "inspectorOnGetButtonEnabled"},
                           {"getScreentip", "inspectorOnGetButtonScreenTip"},
                           {"getSupertip", "inspectorOnGetButtonSuperTip"}});
  };
  std::vector<Element> commands;
  if (withRulesAndAlerts) commands.push_back(command("RulesAndAlerts", "rulesAndAlertsCommandOnAction"));
  commands.push_back(command("CreateMailRule", "createMailRuleCommandOnAction"));
  const Element tab = node(
      "tab", {{"idMso", "TabReadMessage"}},
      {node("group",
            {{"id", "grpInspectorSpam"}, {"getLabel", "inspectorOnGetLabel"}, {"insertBeforeMso", "GroupRespond"}},
            {node("box", {{"id", "box"}, {"boxStyle", "vertical"}}, {button("btnIsSpam"), button("btnNotSpam")})})});
  return node("customUI",
              {{"xmlns", "http://schemas.microsoft.com/office/2006/01/customui"}, {"onLoad", "inspectorOnLoad"}},
              {node("commands", {}, commands), node("ribbon", {}, {node("tabs", {}, {tab})})});
}

TEST(RibbonXml, TheModuleCarriesTheRepositorysFilesByteForByte) {
  if (zelvo::testing::sourceDir().empty()) GTEST_SKIP() << "ZELVO_SOURCE_DIR is not set";
  for (int id : kDocuments) {
    SCOPED_TRACE(id);
    const std::string file =
        zelvo::testing::readFile(zelvo::testing::sourcePath("src/addin/ribbon/ribbon" + std::to_string(id) + ".xml"));
    EXPECT_EQ(getRibbonXml(id), file);
  }
}

TEST(RibbonXml, OnlyTheThreeDocumentsExist) {
  for (int id : {0, 14999, 15003, 16000, -15000}) EXPECT_TRUE(getRibbonXml(id).empty()) << id;
}

TEST(RibbonXml, DocumentsAreWellFormedAsciiWithTheirControlsAndCallbacks) {
  const struct {
    int id;
    Element expected;
  } cases[] = {
      {kExplorerRibbonXml, expectedExplorerDocument()},
      {kInspectorRibbonXml, expectedInspectorDocument(true)},
      {kOldInspectorRibbonXml, expectedInspectorDocument(false)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.id);
    const std::string_view xml = getRibbonXml(c.id);
    ASSERT_FALSE(xml.empty());
    // The text goes to the host as a wide string of the same length.
    for (unsigned char byte : xml) ASSERT_LT(byte, 0x80u);
    Element root;
    try {
      root = parse(xml);
    } catch (const std::exception& e) {
      FAIL() << e.what();
    }
    expectSameTree(root, c.expected, "");
  }
}

// Attributes whose value the host calls back by name.
const std::set<std::string> kCallbackAttributes = {"onLoad",     "onAction",   "getLabel",     "getImage",
                                                   "getEnabled", "getPressed", "getScreentip", "getSupertip"};

TEST(RibbonXml, EveryControlIdHasItsNumberAndEveryCallbackIsOneOfTheTwenty) {
  for (int id : kDocuments) {
    SCOPED_TRACE(id);
    const Element root = parse(getRibbonXml(id));
    const bool explorer = id == kExplorerRibbonXml;
    std::set<std::string> ids;
    forEachElement(root, [&](const Element& e) {
      SCOPED_TRACE(e.name);
      const auto idAttribute = e.attributes.find("id");
      int number = kUnknownRibbonControl;
      if (idAttribute != e.attributes.end()) {
        const std::string& text = idAttribute->second;
        EXPECT_TRUE(ids.insert(text).second) << "id used twice: " << text;
        number = getRibbonControlId(std::wstring(text.begin(), text.end()));
        if (e.name == "box") {
          EXPECT_EQ(number, kUnknownRibbonControl) << text;
        } else {
          ASSERT_NE(number, kUnknownRibbonControl) << text;
          if (text != "btnOptionsLauncher") {
            const wchar_t* back = getRibbonControlName(number);
            ASSERT_NE(back, nullptr) << text;
            EXPECT_EQ(std::wstring(back), std::wstring(text.begin(), text.end()));
          }
        }
      }
      for (const auto& [attribute, value] : e.attributes) {
        if (!kCallbackAttributes.count(attribute)) continue;
        SCOPED_TRACE(attribute + "=" + value);
        const int dispid = findRibbonCallbackDispid(std::wstring(value.begin(), value.end()));
        ASSERT_NE(dispid, -1);
        // A callback of the other window's kind would read its state from the wrong Context.
        const std::wstring_view interfaceName = getRibbonCallbackName(dispid);
        EXPECT_NE(interfaceName.substr(0, explorer ? 9 : 8), explorer ? L"inspector" : L"explorer");
        // What a control asks for, its number's row must have.
        if (attribute == "onLoad" || attribute == "onAction" || attribute == "getEnabled" ||
            attribute == "getPressed") {
          continue;
        }
        const RibbonControlInfo* info = findRibbonControlInfo(number);
        ASSERT_NE(info, nullptr);
        const unsigned asked = attribute == "getLabel"       ? info->label
                               : attribute == "getImage"     ? info->imageEnabled
                               : attribute == "getScreentip" ? info->screenTip
                                                             : info->superTip;
        EXPECT_NE(asked, 0u);
      }
      // Clicking a button must reach a command.
      const auto onAction = e.attributes.find("onAction");
      if (onAction != e.attributes.end() && e.name == "button") {
        EXPECT_NE(getRibbonButtonCommand(number), RibbonCommand::kNone);
      }
      if (e.name == "toggleButton") {
        EXPECT_TRUE(isRibbonToggleCommand(number));
      }
    });
  }
}

TEST(StrictXmlReader, RefusesWhatIsNotWellFormed) {
  const char* bad[] = {
      "",
      "<a>",
      "<a></b>",
      "<a><b></a></b>",
      "<a x=1/>",
      "<a x=\"1\" x=\"2\"/>",
      "<a x=\"1\"y=\"2\"/>",
      "<a x=\"&amp;\"/>",
      "<a>text</a>",
      "<a/><b/>",
      "<a><!-- -- --></a>",
      "<?xml version=\"1.0\"<a/>",
      "<1a/>",
      "<a x=\"1/>",
  };
  for (const char* text : bad) {
    SCOPED_TRACE(text);
    EXPECT_THROW(parse(text), std::runtime_error);
  }
  const Element e = parse("<?xml version=\"1.0\"?>\n<!-- c --><a x='1'>\n <b/><!-- d --><c y=\"2\"></c>\n</a >\n");
  EXPECT_EQ(e.name, "a");
  EXPECT_EQ(e.attributes, (Attributes{{"x", "1"}}));
  ASSERT_EQ(e.children.size(), 2u);
  EXPECT_EQ(e.children[1].attributes, (Attributes{{"y", "2"}}));
}

}  // namespace
