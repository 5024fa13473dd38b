// The overlays' rules that need no drawing: the contrast colour, the buttons' rectangles and the
// axes each pane's camera shows.
#include <gtest/gtest.h>

#include "foundation/theme_colours.h"
#include "roomview/overlays.h"
#include "roomview/scene.h"
#include "shell/panner.h"
#include "support/panner_fixture.h"

namespace {

struct OverlaysTest : PannerFixture {};

TEST_F(OverlaysTest, ContrastColourTurnsAtTheWeightedBrightness) {
    EXPECT_EQ(contrastColour(0xFFFFFFFFu), 0xFF000000u);
    EXPECT_EQ(contrastColour(0xFF000000u), 0xFFFFFFFFu);
    EXPECT_EQ(contrastColour(0x0000EA00u), 0xFFFFFFFFu) << "256 * 234 is not above 60000";
    EXPECT_EQ(contrastColour(0x0000EA00u | 0x010000u), 0xFF000000u);
    EXPECT_EQ(contrastColour(0xFFFF0000u), 0xFFFFFFFFu) << "red alone stays dark";
}

TEST_F(OverlaysTest, ButtonsAndScreenAxes) {
    SurroundPanner* p = createPanner();
    ASSERT_TRUE(p);
    PaneRect r;
    ASSERT_TRUE(viewButtonRect(p, BUTTON_OPTIONS, 0, 512, 400, &r));
    EXPECT_EQ(r.x, 8);
    EXPECT_EQ(r.y, 369);
    ASSERT_TRUE(viewButtonRect(p, BUTTON_ZSHAPE, 0, 512, 400, &r));
    EXPECT_EQ(r.x, 220);
    const int modeX[3] = {426, 453, 480};  // R - 72 + 24 i - (48 - 24 i) / 8 with R = 504
    for (int i = 0; i < 3; i++) {
        ASSERT_TRUE(viewButtonRect(p, BUTTON_MODE, i, 512, 400, &r));
        EXPECT_EQ(r.x, modeX[i]) << i;
    }
    EXPECT_FALSE(viewButtonRect(p, BUTTON_VIEW, 0, 512, 400, &r)) << "only in the orbit view";
    p->uiFlags |= VIEW_ORBIT << UI_VIEW_MODE_SHIFT;
    ASSERT_TRUE(viewButtonRect(p, BUTTON_VIEW, 2, 512, 400, &r));
    EXPECT_EQ(r.x, 480);
    EXPECT_EQ(r.y, 345);

    ensureScene(p, themeColours);
    int fixed, first, second;
    screenAxes(p, PANE_TOP, &fixed, &first, &second);
    EXPECT_EQ(fixed * 100 + first * 10 + second, 201) << "from above: X across, Y up";
    screenAxes(p, PANE_SIDE, &fixed, &first, &second);
    EXPECT_EQ(fixed * 100 + first * 10 + second, 12) << "from the right: Y across, Z up";
    screenAxes(p, PANE_REAR, &fixed, &first, &second);
    EXPECT_EQ(fixed * 100 + first * 10 + second, 102) << "from behind: X across, Z up";
    destroyPanner(p);
}

}  // namespace
