// How anchored controls follow the frame of a resizable dialog.
#include <gtest/gtest.h>

#include "ui/Anchoring.h"

namespace {

using namespace zelvo::ui;

struct AnchorCase {
  const char* name;
  UINT edges;
  Extent to;
  RECT expected;
};

class Anchoring : public ::testing::TestWithParam<AnchorCase> {};

TEST_P(Anchoring, ControlKeepsItsDistanceToItsEdges) {
  const RECT control{20, 30, 120, 60};
  const RECT moved = anchoredRect(control, GetParam().edges, Extent{200, 100}, GetParam().to);
  EXPECT_EQ(moved.left, GetParam().expected.left);
  EXPECT_EQ(moved.top, GetParam().expected.top);
  EXPECT_EQ(moved.right, GetParam().expected.right);
  EXPECT_EQ(moved.bottom, GetParam().expected.bottom);
}

INSTANTIATE_TEST_SUITE_P(
    Edges, Anchoring,
    ::testing::Values(AnchorCase{"TopLeftStays", anchor::topLeft, {260, 150}, {20, 30, 120, 60}},
                      AnchorCase{"LeftRightStretches", anchor::left | anchor::right, {260, 150}, {20, 30, 180, 60}},
                      AnchorCase{"RightAloneMoves", anchor::right, {260, 150}, {80, 30, 180, 60}},
                      AnchorCase{"BottomRightMoves", anchor::right | anchor::bottom, {260, 150}, {80, 80, 180, 110}},
                      AnchorCase{"AllStretches", anchor::all, {260, 150}, {20, 30, 180, 110}},
                      AnchorCase{"ShrinkingNeverTurnsItInsideOut", anchor::all, {50, 50}, {20, 30, 20, 30}}),
    [](const ::testing::TestParamInfo<AnchorCase>& info) { return std::string(info.param.name); });

}  // namespace
