// Pictures for buttons from the program's own icon and bitmap resources.
#include <gtest/gtest.h>

#include <functional>

#include "addin/GUI.h"
#include "base/HResultException.h"

namespace {

namespace GUI = zelvo::addin::GUI;

// The spam button's icon of the module, and a bitmap of the test's own.
constexpr UINT kIcon = 301, kBitmap = 102;

struct PictureFacts {
  SHORT type = 0;
  OLE_HANDLE handle = 0;
  OLE_XSIZE_HIMETRIC width = 0;
};

PictureFacts factsOf(const ComRef<IPictureDisp>& disp) {
  PictureFacts facts;
  ComRef<IPicture> picture;
  EXPECT_EQ(disp->QueryInterface(IID_IPicture, picture.putVoid()), S_OK);
  if (!picture) return facts;
  picture->get_Type(&facts.type);
  picture->get_Handle(&facts.handle);
  picture->get_Width(&facts.width);
  return facts;
}

TEST(ButtonPictures, IconsAndBitmapsOfTheModuleBecomePictures) {
  const struct {
    const char* what;
    std::function<ComRef<IPictureDisp>()> load;
    SHORT type;
  } cases[] = {
      {"large icon", [] { return GUI::loadIconForButton(kIcon, true); }, PICTYPE_ICON},
      {"small icon", [] { return GUI::loadIconForButton(kIcon, false); }, PICTYPE_ICON},
      {"old button icon", [] { return GUI::loadIconForOldButton(kIcon); }, PICTYPE_ICON},
      {"bitmap", [] { return GUI::loadBitmapForButton(kBitmap); }, PICTYPE_BITMAP},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const ComRef<IPictureDisp> picture = c.load();
    ASSERT_TRUE(picture);
    const PictureFacts facts = factsOf(picture);
    EXPECT_EQ(facts.type, c.type);
    EXPECT_NE(facts.handle, 0u);
    EXPECT_GT(facts.width, 0);
  }
  // The large icon is twice the small one, give or take the rounding to HIMETRIC.
  EXPECT_NEAR(factsOf(GUI::loadIconForButton(kIcon, true)).width,
              2 * factsOf(GUI::loadIconForButton(kIcon, false)).width, 2);
}

TEST(ButtonPictures, PictureOwnsItsHandle) {
  const auto icon = static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(kIcon), IMAGE_ICON, 16, 16, 0));
  ASSERT_TRUE(icon);
  ComRef<IPictureDisp> picture = GUI::pictureDispFromIcon(icon);
  EXPECT_EQ(static_cast<HICON>(reinterpret_cast<HANDLE>(static_cast<UINT_PTR>(factsOf(picture).handle))), icon);
  picture.reset();
  EXPECT_FALSE(DestroyIcon(icon)) << "the picture destroyed the icon with itself";
}

TEST(ButtonPictures, WrongKindOfResourceRaises) {
  try {
    GUI::loadBitmapForButton(kIcon);
    ADD_FAILURE() << "no raise";
  } catch (const HResultException& e) {
    EXPECT_EQ(HRESULT_FACILITY(e.getHResult()), FACILITY_WIN32) << std::hex << e.getHResult();
  }
}

}  // namespace
