// Where an anchored control goes when its dialog changes size: it keeps its distance to the
// edges it is anchored to. Shared by the Win32 view and the recording one.
#pragma once

#include "ui/DialogView.h"

namespace zelvo::ui {

// rect is the control's place when the client area was from; the result its place at to.
RECT anchoredRect(const RECT& rect, UINT edges, Extent from, Extent to);

}  // namespace zelvo::ui
