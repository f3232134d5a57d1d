#include "ui/Anchoring.h"

namespace zelvo::ui {

namespace details {
// One axis: anchored at both ends the control stretches, at the far end alone it moves, and
// otherwise it stays.
void follow(LONG& low, LONG& high, bool lowAnchored, bool highAnchored, int delta) {
  if (highAnchored) {
    high += delta;
    if (!lowAnchored) low += delta;
  }
  if (high < low) high = low;
}
}  // namespace details

RECT anchoredRect(const RECT& rect, UINT edges, Extent from, Extent to) {
  RECT moved = rect;
  details::follow(moved.left, moved.right, (edges & anchor::left) != 0, (edges & anchor::right) != 0,
                  to.width - from.width);
  details::follow(moved.top, moved.bottom, (edges & anchor::top) != 0, (edges & anchor::bottom) != 0,
                  to.height - from.height);
  return moved;
}

}  // namespace zelvo::ui
