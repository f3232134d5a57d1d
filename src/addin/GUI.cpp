#include "addin/GUI.h"

#include <atomic>
#include <functional>

#include "base/HResultException.h"
#include "base/Win32Error.h"
#include "platform/Utf8.h"
#include "strings/Localization.h"

namespace zelvo {
namespace addin {
namespace GUI {
namespace details {

std::atomic<HMODULE> resourceModule{nullptr};

HRESULT lastFailure() {
  const HRESULT code = lastErrorToHResult();
  return code < 0 ? code : E_FAIL;
}

HMODULE module() {
  const HMODULE own = resourceModule.load();
  return own ? own : GetModuleHandleW(nullptr);
}

ComRef<IPictureDisp> createPicture(PICTDESC& description, const std::function<void()>& destroy) {
  description.cbSizeofstruct = sizeof description;
  ComRef<IPictureDisp> picture;
  const HRESULT hr = OleCreatePictureIndirect(&description, IID_IPictureDisp, TRUE, picture.putVoid());
  if (FAILED(hr)) {
    destroy();  // not taken over
    ZEL_HERE.raise(hr);
  }
  return picture;
}

HANDLE loadImage(UINT id, UINT type, int size) {
  HANDLE image = LoadImageW(module(), MAKEINTRESOURCEW(id), type, size, size,
                            type == IMAGE_BITMAP ? LR_CREATEDIBSECTION : LR_DEFAULTCOLOR);
  if (!image) ZEL_HERE.raise(lastFailure());
  return image;
}

// The system's box, without a tick box.
class SystemMessageBox : public MessageBoxDisplay {
 public:
  int show(HWND parent, const std::wstring& text, const std::wstring& caption, UINT style) override {
    return MessageBoxW(parent, text.c_str(), caption.c_str(), style);
  }
  int showWithTickBox(HWND parent, const std::wstring& text, const std::wstring& caption, const std::wstring&,
                      UINT style, bool&) override {
    return show(parent, text, caption, style);
  }
};

SystemMessageBox systemMessageBox;
std::atomic<MessageBoxDisplay*> display{nullptr};

int runOptionalMessage(HWND parent, const std::wstring& text, const std::wstring& caption,
                       const std::wstring& checkText, bool& ticked, UINT style) {
  int result = IDCANCEL;
  const std::function<bool()> call = [&] {
    return detail::doOptionalMessage(parent, text, caption, checkText.c_str(), style, &result, &ticked);
  };
  if (!call()) RaisePoint{::details::sourceFileName(__FILE__), __LINE__, "GUI::showOptionalMessage"}.raise(lastFailure());
  return result;
}

}  // namespace details

void setResourceModule(HMODULE module) { details::resourceModule.store(module); }
HMODULE resourceModule() { return details::resourceModule.load(); }

ComRef<IPictureDisp> pictureDispFromIcon(HICON icon) {
  PICTDESC description{};
  description.picType = PICTYPE_ICON;
  description.icon.hicon = icon;
  return details::createPicture(description, [icon] { DestroyIcon(icon); });
}

ComRef<IPictureDisp> pictureDispFromBitmap(HBITMAP bitmap) {
  PICTDESC description{};
  description.picType = PICTYPE_BITMAP;
  description.bmp.hbitmap = bitmap;
  return details::createPicture(description, [bitmap] { DeleteObject(bitmap); });
}

ComRef<IPictureDisp> loadBitmapForButton(UINT id) {
  return pictureDispFromBitmap(static_cast<HBITMAP>(details::loadImage(id, IMAGE_BITMAP, 0)));
}

ComRef<IPictureDisp> loadIconForButton(UINT id, bool large) {
  return pictureDispFromIcon(static_cast<HICON>(details::loadImage(id, IMAGE_ICON, large ? 32 : 16)));
}

ComRef<IPictureDisp> loadIconForOldButton(UINT id) {
  // Command bar buttons of the older hosts are always small.
  return pictureDispFromIcon(static_cast<HICON>(details::loadImage(id, IMAGE_ICON, 16)));
}

std::wstring loadXmlResource(UINT id) {
  const HMODULE module = details::module();
  HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), RT_RCDATA);
  if (!found) ZEL_HERE.raise(details::lastFailure());
  HGLOBAL loaded = LoadResource(module, found);
  const void* bytes = loaded ? LockResource(loaded) : nullptr;
  if (!bytes) ZEL_HERE.raise(details::lastFailure());
  std::string_view text(static_cast<const char*>(bytes), SizeofResource(module, found));
  // An editor's byte order mark is no part of the document.
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  return platform::fromUtf8Lenient(text);
}

MessageBoxDisplay& messageBoxDisplay() {
  MessageBoxDisplay* display = details::display.load();
  return display ? *display : details::systemMessageBox;
}

MessageBoxDisplay* setMessageBoxDisplay(MessageBoxDisplay* display) { return details::display.exchange(display); }

bool detail::doOptionalMessage(HWND parent, const std::wstring& text, const std::wstring& caption,
                               const wchar_t* checkText, UINT style, int* result, bool* ticked) {
  MessageBoxDisplay& display = messageBoxDisplay();
  if (!checkText || !*checkText || !ticked) {
    *result = display.show(parent, text, caption, style);
    return *result != 0;
  }
  *result = IDCANCEL;
  const int pressed = display.showWithTickBox(parent, text + L"\n\n\n", caption, checkText, style, *ticked);
  if (pressed == 0) return false;
  *result = pressed;
  return true;
}

int showOptionalMessage(HWND parent, const std::wstring& text, const std::wstring& caption,
                        const std::wstring& checkText, bool& ticked, UINT style) {
  return details::runOptionalMessage(parent, text, caption, checkText, ticked, style);
}

int showOptionalMessage(const std::wstring& text, UINT captionId, UINT checkTextId, bool& ticked, UINT style) {
  return details::runOptionalMessage(GetActiveWindow(), text, Localization::getString(captionId),
                                     Localization::getString(checkTextId), ticked, style);
}

int showOptionalMessage(UINT textId, UINT captionId, UINT checkTextId, bool& ticked, UINT style) {
  return showOptionalMessage(Localization::getString(textId), captionId, checkTextId, ticked, style);
}

int showMessage(UINT textId, UINT captionId, UINT style) {
  return messageBoxDisplay().show(GetActiveWindow(), Localization::getString(textId),
                                  Localization::getString(captionId), style);
}

}  // namespace GUI
}  // namespace addin
}  // namespace zelvo
