// A picture of a window as it stands on the screen: BitBlt from the screen's DC into a DIB.
// It needs a display driver that draws (Wine's X11 driver under Xvfb), and the window on
// top; PrintWindow leaves the child controls out under Wine.
#pragma once

#include "platform/Win32.h"
#include "testing/PngWriter.h"

namespace zelvo::testing {

// Lets the window and its controls paint: the queue is pumped for the given time.
void pumpMessages(DWORD milliseconds);

// The window's rectangle on the screen, frame included; an empty image when it cannot.
RgbImage captureWindow(HWND window);

}  // namespace zelvo::testing
