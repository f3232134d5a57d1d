#include "addin/GUI.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "base/HResultException.h"
#include "strings/Localization.h"
#include "testing/TestEnvironment.h"

namespace {

namespace GUI = zelvo::addin::GUI;

HRESULT codeOf(const std::function<void()>& body, std::wstring* text = nullptr) {
  try {
    body();
  } catch (const HResultException& e) {
    if (text) *text = e.text();
    return e.getHResult();
  }
  return S_OK;
}

// Answers for the user: presses a button, and ticks the box or leaves it.
class ScriptedBox : public GUI::MessageBoxDisplay {
 public:
  struct Call {
    bool withTickBox;
    std::wstring text, caption, checkText;
    UINT style;
    bool tickedWhenShown;
  };
  int button = IDOK;
  bool userTicks = false;  // the user's click toggles the box
  DWORD failure = 0;       // when set, the box fails with this error
  std::vector<Call> calls;

  int show(HWND, const std::wstring& text, const std::wstring& caption, UINT style) override {
    calls.push_back({false, text, caption, L"", style, false});
    return answer();
  }
  int showWithTickBox(HWND, const std::wstring& text, const std::wstring& caption, const std::wstring& checkText,
                      UINT style, bool& ticked) override {
    calls.push_back({true, text, caption, checkText, style, ticked});
    if (userTicks) ticked = !ticked;
    return answer();
  }

 private:
  int answer() {
    if (!failure) return button;
    SetLastError(failure);
    return 0;
  }
};

class OptionalMessageTest : public ::testing::Test {
 protected:
  void SetUp() override { previous_ = GUI::setMessageBoxDisplay(&box_); }
  void TearDown() override { GUI::setMessageBoxDisplay(previous_); }

  ScriptedBox box_;
  GUI::MessageBoxDisplay* previous_ = nullptr;
};

TEST_F(OptionalMessageTest, TickBoxStateGoesInAndComesBack) {
  const struct {
    bool tickedBefore;
    bool userTicks;
    int button;
  } cases[] = {{false, true, IDOK}, {false, false, IDOK}, {true, true, IDCANCEL}, {true, false, IDYES}};
  for (const auto& c : cases) {
    box_.calls.clear();
    box_.userTicks = c.userTicks;
    box_.button = c.button;
    bool ticked = c.tickedBefore;
    const int pressed = GUI::showOptionalMessage(nullptr, L"Move the messages?", L"Title", L"Don't ask again", ticked,
                                                 MB_YESNO | MB_ICONQUESTION);
    EXPECT_EQ(pressed, c.button);
    EXPECT_EQ(ticked, c.tickedBefore != c.userTicks);
    ASSERT_EQ(box_.calls.size(), 1u);
    const auto& call = box_.calls.front();
    EXPECT_TRUE(call.withTickBox);
    EXPECT_EQ(call.text, L"Move the messages?\n\n\n") << "room for the tick box";
    EXPECT_EQ(call.checkText, L"Don't ask again");
    EXPECT_EQ(call.caption, L"Title");
    EXPECT_EQ(call.style, static_cast<UINT>(MB_YESNO | MB_ICONQUESTION));
    EXPECT_EQ(call.tickedWhenShown, c.tickedBefore);
  }
}

TEST_F(OptionalMessageTest, WithoutCheckTextTheBoxIsPlain) {
  bool ticked = true;
  EXPECT_EQ(GUI::showOptionalMessage(nullptr, L"Plain", L"Title", L"", ticked, MB_OK), IDOK);
  int result = -1;
  EXPECT_TRUE(GUI::detail::doOptionalMessage(nullptr, L"Also plain", L"Title", nullptr, MB_OK, &result, &ticked));
  EXPECT_EQ(result, IDOK);
  EXPECT_TRUE(ticked) << "untouched";
  ASSERT_EQ(box_.calls.size(), 2u);
  EXPECT_FALSE(box_.calls[0].withTickBox);
  EXPECT_EQ(box_.calls[0].text, L"Plain") << "the text is unchanged";
  EXPECT_FALSE(box_.calls[1].withTickBox);
  EXPECT_EQ(box_.calls[1].text, L"Also plain");
}

TEST_F(OptionalMessageTest, FailedBoxRaisesAsShowOptionalMessage) {
  box_.failure = ERROR_NOT_ENOUGH_MEMORY;
  bool ticked = false;
  int result = -1;
  EXPECT_FALSE(GUI::detail::doOptionalMessage(nullptr, L"T", L"C", L"Check", MB_OK, &result, &ticked));
  EXPECT_EQ(result, IDCANCEL) << "the result starts as Cancel";
  std::wstring text;
  EXPECT_EQ(codeOf([&] { GUI::showOptionalMessage(nullptr, L"T", L"C", L"Check", ticked, MB_OK); }, &text),
            static_cast<HRESULT>(0x80070008));
  EXPECT_NE(text.find(L"GUI::showOptionalMessage"), std::wstring::npos) << zelvo::testing::utf8(text);
}

TEST_F(OptionalMessageTest, TextsByIdComeFromTheLanguageInForce) {
  Localization::TableTranslator german({{5000, L"Titel"}, {90001, L"Wirklich?"}, {90002, L"Nicht mehr fragen"}});
  Localization::setTranslator(&german);
  bool ticked = false;
  box_.userTicks = true;
  EXPECT_EQ(GUI::showOptionalMessage(90001, 5000, 90002, ticked, MB_OKCANCEL), IDOK);
  EXPECT_EQ(GUI::showMessage(90001, 5000, MB_OK), IDOK);
  Localization::setTranslator(nullptr);
  EXPECT_TRUE(ticked);
  ASSERT_EQ(box_.calls.size(), 2u);
  EXPECT_EQ(box_.calls[0].text, L"Wirklich?\n\n\n");
  EXPECT_EQ(box_.calls[0].caption, L"Titel");
  EXPECT_EQ(box_.calls[0].checkText, L"Nicht mehr fragen");
  EXPECT_EQ(box_.calls[1].text, L"Wirklich?");
  EXPECT_FALSE(box_.calls[1].withTickBox);
}

TEST(GUIResources, XmlResourceIsDecodedFromUtf8WithoutItsByteOrderMark) {
  const std::wstring xml = GUI::loadXmlResource(15000);
  EXPECT_EQ(xml, L"<customUI xmlns=\"http://schemas.microsoft.com/office/2006/01/customui\"><!-- caf\u00e9 \u20ac "
                 L"--></customUI>\r\n");
}

TEST(GUIResources, MissingResourcesRaiseTheSystemError) {
  const HRESULT nameNotFound = static_cast<HRESULT>(0x80070716), typeNotFound = static_cast<HRESULT>(0x80070715);
  EXPECT_EQ(codeOf([] { GUI::loadXmlResource(15999); }), nameNotFound);
  for (const HRESULT code : {codeOf([] { GUI::loadIconForButton(4999, true); }),
                             codeOf([] { GUI::loadIconForOldButton(4999); }),
                             codeOf([] { GUI::loadBitmapForButton(4999); })}) {
    EXPECT_TRUE(code == nameNotFound || code == typeNotFound) << std::hex << code;
  }
}

}  // namespace
