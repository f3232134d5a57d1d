// The rich edit control of the system, made on demand: the rule description and tests of
// rich text need one. On Windows it is the RichEdit 2.0 class from its library; elsewhere
// the in-memory control of the platform layer.
#pragma once

#include "platform/Win32.h"

namespace platform {

// A rich edit window, hidden, read-only and multi-line, a child of parent when one is given;
// null when the control cannot be made. The caller destroys it with DestroyWindow.
HWND createRichEdit(HWND parent);

}  // namespace platform
