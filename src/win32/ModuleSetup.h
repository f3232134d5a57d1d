// What the module puts into every UserInterface it hands out: the implementations behind
// the object's seams that this module carries.
#pragma once

namespace zelvo {
namespace win32 {

// Puts the module's pieces in place for every object made from now on; once is enough,
// later calls do nothing.
void installModuleSetup();

}  // namespace win32
}  // namespace zelvo
