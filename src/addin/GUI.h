// Pictures and texts from the add-in's resources, and the message boxes of the add-in:
// the plain one and the optional one with a tick box for not showing it again.
#pragma once

#include <string>

#include "platform/Win32.h"
#include "base/ComRef.h"

namespace zelvo {
namespace addin {
namespace GUI {

// The module whose resources are loaded; null (the default) is the program itself.
void setResourceModule(HMODULE module);
HMODULE resourceModule();

// A picture over the handle, which it then owns. Raises when the picture can't be made;
// the handle is destroyed then too.
ComRef<IPictureDisp> pictureDispFromIcon(HICON icon);
ComRef<IPictureDisp> pictureDispFromBitmap(HBITMAP bitmap);

// Resources of the module, as pictures for buttons. A resource that can't be loaded
// raises the system error.
ComRef<IPictureDisp> loadBitmapForButton(UINT id);
ComRef<IPictureDisp> loadIconForButton(UINT id, bool large);
ComRef<IPictureDisp> loadIconForOldButton(UINT id);
// The RCDATA resource id, UTF-8, as wide text.
std::wstring loadXmlResource(UINT id);

// Where message boxes appear. The default is the system's MessageBoxW, which has no tick
// box: it leaves ticked as it was. The Windows module puts one with a real tick box in
// place; tests put one that answers for the user.
class MessageBoxDisplay {
 public:
  virtual ~MessageBoxDisplay() = default;
  // As MessageBoxW: the button pressed, or 0 with the last error set.
  virtual int show(HWND parent, const std::wstring& text, const std::wstring& caption, UINT style) = 0;
  // The same box with a tick box labelled checkText under the text, ticked as ticked says;
  // its state when the box closes goes back into ticked.
  virtual int showWithTickBox(HWND parent, const std::wstring& text, const std::wstring& caption,
                              const std::wstring& checkText, UINT style, bool& ticked) = 0;
};
MessageBoxDisplay& messageBoxDisplay();
// Puts display in force (null: the default) and returns the one that was.
MessageBoxDisplay* setMessageBoxDisplay(MessageBoxDisplay* display);

namespace detail {
// The optional message itself. Without checkText (null or empty) the box is plain and the
// text unchanged; otherwise three line breaks end the text, to make room for the tick box.
// *result starts as IDCANCEL. False when the box could not be shown, with the last error set.
bool doOptionalMessage(HWND parent, const std::wstring& text, const std::wstring& caption, const wchar_t* checkText,
                       UINT style, int* result, bool* ticked);
}  // namespace detail

// The optional message with texts by id from the language in force, over the active
// window; the button pressed. A box that can't be shown raises.
int showOptionalMessage(UINT textId, UINT captionId, UINT checkTextId, bool& ticked, UINT style);
int showOptionalMessage(const std::wstring& text, UINT captionId, UINT checkTextId, bool& ticked, UINT style);
int showOptionalMessage(HWND parent, const std::wstring& text, const std::wstring& caption,
                        const std::wstring& checkText, bool& ticked, UINT style);

// A plain message box with texts by id; the button pressed, 0 when it can't be shown.
int showMessage(UINT textId, UINT captionId, UINT style);

}  // namespace GUI
}  // namespace addin
}  // namespace zelvo
