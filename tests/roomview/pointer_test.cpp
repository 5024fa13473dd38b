// Pointer editing through pixel coordinates: drags in every pane of every mode and in the small
// view's messages, what the host is told and in which order, the one-axis lock, height moves, the
// selection rules with marquees and keys, double clicks, speakers that must stay, the orbit
// camera and the buttons.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "engine/parameter_map.h"
#include "engine/position.h"
#include "engine/records.h"
#include "foundation/theme_colours.h"
#include "layouts/layouts.h"
#include "roomview/overlays.h"
#include "roomview/paint.h"
#include "roomview/pointer.h"
#include "roomview/scene.h"
#include "shell/panner.h"
#include "support/gesture_order.h"
#include "support/panner_fixture.h"

namespace {

constexpr int W = 520, H = 520, SMALL_W = 240, SMALL_H = 160;

struct PointerTest : PannerFixture {
    static inline std::vector<GestureCall>& calls = GestureCallLog::calls;
    SurroundPanner* p = nullptr;
    bool captured = false;

    void SetUp() override {
        PannerFixture::SetUp();
        GestureCallLog::next = callback;
        hostCallback = GestureCallLog::record;
        p = createPanner();
        ASSERT_TRUE(p);
        applyLayout(p, layoutNamed("5.1 surround"));
        ASSERT_TRUE(setInputCount(p, 3));
        place(0, 0.2, -0.1, 0.3);
        place(1, -0.5, 0.4, 0.0);
        place(2, 0.6, 0.6, 0.5);
        for (int i = 0; i < 3; i++) inputRecords(p)[i].reverseX = 0;
        calls.clear();
    }
    void TearDown() override {
        destroyPanner(p);
        PannerFixture::TearDown();
    }

    static int layoutNamed(const char* name) {
        for (int i = 0; i < LAYOUT_COUNT; i++)
            if (std::strcmp(LAYOUT_TABLE[i].name, name) == 0) return LAYOUT_TABLE[i].id;
        return -1;
    }
    void place(int i, double x, double y, double z) {
        PanInput& in = inputRecords(p)[i];
        in.posX = x, in.posY = y, in.posZ = z;
        beginEdit(p);
    }
    void setMode(int mode) { p->uiFlags = (p->uiFlags & ~UI_VIEW_MODE_MASK) | uint32_t(mode) << UI_VIEW_MODE_SHIFT; }
    std::vector<int> selection() const {
        std::vector<int> out;
        for (int i = 0; i < inputCount(p); i++)
            if (inputRecords(p)[i].selected) out.push_back(i);
        return out;
    }

    // A room point in client pixels of a pane.
    struct Pixel {
        int x, y;
    };
    Pixel pixelOf(int pane, double x, double y, double z, bool small = false) {
        const int w = small ? SMALL_W : W, h = small ? SMALL_H : H;
        Camera* c = paneCamera(p, pane, w, h);
        PaneRect r;
        EXPECT_TRUE(c && paneRect(p, pane, w, h, &r));
        double sx = 0, sy = 0;
        c->project(x, y, z, &sx, &sy, nullptr);
        return {int(std::floor(sx + 0.5)) + r.x, int(std::floor(sy + 0.5)) + r.y};
    }
    Pixel inputPixel(int pane, int i, bool small = false) {
        const PanInput& in = inputRecords(p)[i];
        return pixelOf(pane, in.posX, in.posY, in.posZ, small);
    }

    ViewPointer at(Pixel px, uint32_t keys = 0, bool small = false) {
        return {px.x, px.y, small ? SMALL_W : W, small ? SMALL_H : H, small, keys};
    }
    // The window's messages, with the capture the window would hold.
    ViewMouseAnswer send(int message, Pixel px, uint32_t keys = 0) {
        ViewMouseAnswer a = windowMouseMessage(p, message, at(px, keys), captured);
        if (a.capture) captured = true;
        if (a.release) captured = false;
        return a;
    }
    // The small view's messages of the vendor call; the call's result.
    intptr_t sendSmall(int message, Pixel px) {
        int32_t record[16] = {};
        record[6] = SMALL_W, record[7] = SMALL_H, record[8] = px.x, record[9] = px.y;
        intptr_t result = -1;
        EXPECT_TRUE(smallViewMessage(p, message, 0, record, themeColours, &result));
        return result;
    }
    // A left drag in eight steps; false when the press started nothing.
    bool drag(Pixel from, Pixel to, uint32_t keys = 0, bool small = false) {
        bool took = small ? sendSmall(0x201, from) == 0x1000000 : send(VIEW_MOUSE_LEFT_DOWN, from, keys).capture;
        for (int k = 1; k <= 8; k++) {
            Pixel step = {from.x + (to.x - from.x) * k / 8, from.y + (to.y - from.y) * k / 8};
            if (small) sendSmall(0x200, step);
            else send(VIEW_MOUSE_MOVE, step, keys);
        }
        if (small) sendSmall(0x202, to);
        else send(VIEW_MOUSE_LEFT_UP, to, keys);
        return took;
    }
    void marquee(Pixel from, Pixel to, uint32_t keys = 0) {
        send(VIEW_MOUSE_RIGHT_DOWN, from, keys);
        send(VIEW_MOUSE_MOVE, to, keys);
        send(VIEW_MOUSE_RIGHT_UP, to, keys);
    }
};

TEST_F(PointerTest, DragInEveryPaneLandsUnderThePointer) {
    struct Case {
        int mode, pane;
        bool small;
        int fixedAxis;
    };
    const Case cases[] = {{VIEW_TOP, PANE_TOP, false, 2},      {VIEW_TOP_SIDES, PANE_TOP, false, 2},
                          {VIEW_TOP_SIDES, PANE_SIDE, false, 0}, {VIEW_TOP_SIDES, PANE_REAR, false, 1},
                          {VIEW_ORBIT, PANE_ORBIT, false, 0},   {VIEW_TOP, PANE_INLINE, true, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pane);
        setMode(c.mode);
        place(0, 0.2, -0.1, 0.3);
        calls.clear();
        const Pixel from = inputPixel(c.pane, 0, c.small);
        const Pixel to = {from.x + (c.small ? 12 : 24), from.y - (c.small ? 10 : 18)};
        ASSERT_TRUE(drag(from, to, 0, c.small));
        const PanInput& in = inputRecords(p)[0];
        const double pos[3] = {in.posX, in.posY, in.posZ}, before[3] = {0.2, -0.1, 0.3};
        EXPECT_EQ(pos[c.fixedAxis], before[c.fixedAxis]) << "the axis the pane looks along stays";
        const Pixel now = inputPixel(c.pane, 0, c.small);
        EXPECT_NEAR(now.x, to.x, 1);
        EXPECT_NEAR(now.y, to.y, 1);
        EXPECT_EQ(selection(), std::vector<int>{0});
        EXPECT_EQ(p->selectionState[SELECTION_FOCUS], 0);
        EXPECT_EQ(p->dragState[DRAG_INPUT], -1) << "idle after the release";
        // The host got the new values in gestures that closed at the release, input 1's alone.
        ASSERT_FALSE(calls.empty());
        expectGestureOrder(calls);
        EXPECT_FALSE(std::any_of(calls.begin(), calls.end(), [](const GestureCall& h) { return h.index >= 6 + 9; }));
    }
}

TEST_F(PointerTest, OneAxisLockHeightMovesAndZShape) {
    // 1D Edit: a travel below a 48th of the room moves nothing; a mostly-right drag moves X alone.
    p->uiFlags |= FLAG_EDIT_1D;
    Pixel from = inputPixel(PANE_TOP, 0);
    send(VIEW_MOUSE_LEFT_DOWN, from);
    EXPECT_FALSE(pointerMove(p, at({from.x + 2, from.y})));
    send(VIEW_MOUSE_LEFT_UP, from);
    EXPECT_EQ(inputRecords(p)[0].posX, 0.2);
    drag(from, {from.x + 40, from.y - 6});
    EXPECT_GT(inputRecords(p)[0].posX, 0.3);
    EXPECT_EQ(inputRecords(p)[0].posY, -0.1);
    // With 1D Edit, Shift frees the drag; without it, Shift restricts it.
    place(0, 0.2, -0.1, 0.3);
    from = inputPixel(PANE_TOP, 0);
    drag(from, {from.x + 40, from.y - 20}, POINTER_SHIFT);
    EXPECT_NE(inputRecords(p)[0].posY, -0.1);
    p->uiFlags &= ~FLAG_EDIT_1D;
    place(0, 0.2, -0.1, 0.3);
    drag(from, {from.x + 8, from.y - 40}, POINTER_SHIFT);
    EXPECT_EQ(inputRecords(p)[0].posX, 0.2);
    EXPECT_GT(inputRecords(p)[0].posY, 0.0);

    // Alt in the top pane: height by twice the travel over the height, nothing else.
    place(0, 0.2, -0.1, 0.3);
    drag(from, {from.x + 30, from.y - 52}, POINTER_ALT);
    EXPECT_NEAR(inputRecords(p)[0].posZ, 0.3 + 2.0 * 52 / H, 1e-12);
    EXPECT_EQ(inputRecords(p)[0].posX, 0.2);
    EXPECT_EQ(inputRecords(p)[0].posY, -0.1);
    // Alt in the side pane changes nothing: the drag stays in its plane.
    setMode(VIEW_TOP_SIDES);
    place(0, 0.2, -0.1, 0.3);
    from = inputPixel(PANE_SIDE, 0);
    drag(from, {from.x + 20, from.y - 20}, POINTER_ALT);
    EXPECT_EQ(inputRecords(p)[0].posX, 0.2);
    EXPECT_NEAR(inputPixel(PANE_SIDE, 0).x, from.x + 20, 1);
    // Under a Z shape a drag leaves workZ and the height follows the shape.
    changeZShape(p, ZSHAPE_WEDGE_UP);
    setMode(VIEW_TOP);
    place(0, 0.2, -0.1, 1.0 - 0.1);
    from = inputPixel(PANE_TOP, 0);
    drag(from, {from.x, from.y - 40});
    const PanInput& in = inputRecords(p)[0];
    EXPECT_DOUBLE_EQ(in.posZ, 1.0 - std::fabs(in.posY));
    EXPECT_DOUBLE_EQ(in.workZ, in.posZ);
}

TEST_F(PointerTest, SelectionGroupsAndLocks) {
    inputRecords(p)[0].selected = inputRecords(p)[1].selected = 1;
    // A press on a selected input keeps the group, and the drag moves both by the same travel.
    Pixel from = inputPixel(PANE_TOP, 1);
    drag(from, {from.x + 26, from.y});
    EXPECT_EQ(selection(), (std::vector<int>{0, 1}));
    const double dx = inputRecords(p)[1].posX + 0.5;
    EXPECT_GT(dx, 0.05);
    EXPECT_NEAR(inputRecords(p)[0].posX, 0.2 + dx, 1e-9);
    // Reverse flags turn a member's travel unless they are ignored.
    inputRecords(p)[0].reverseX = 1;
    for (uint32_t ignore : {0u, uint32_t(FLAG_IGNORE_REVERSE)}) {
        p->uiFlags = (p->uiFlags & ~FLAG_IGNORE_REVERSE) | ignore;
        from = inputPixel(PANE_TOP, 1);
        const double x0 = inputRecords(p)[0].posX, x1 = inputRecords(p)[1].posX;
        drag(from, {from.x + 26, from.y});
        EXPECT_NEAR(inputRecords(p)[0].posX - x0, (ignore ? 1 : -1) * (inputRecords(p)[1].posX - x1), 1e-9);
    }
    p->uiFlags &= ~FLAG_IGNORE_REVERSE;
    inputRecords(p)[0].reverseX = 0;
    // Ctrl takes a selected input out; the drag then leaves it where it is.
    place(0, 0.2, -0.1, 0.3);
    place(1, -0.5, 0.4, 0.0);
    from = inputPixel(PANE_TOP, 1);
    drag(from, {from.x + 26, from.y}, POINTER_CTRL);
    EXPECT_EQ(selection(), std::vector<int>{0});
    EXPECT_EQ(inputRecords(p)[1].posX, -0.5);
    EXPECT_NE(inputRecords(p)[0].posX, 0.2);
    // Shift adds; a plain press on an unselected input picks it alone; empty floor clears.
    send(VIEW_MOUSE_LEFT_DOWN, inputPixel(PANE_TOP, 2), POINTER_SHIFT);
    send(VIEW_MOUSE_LEFT_UP, inputPixel(PANE_TOP, 2));
    EXPECT_EQ(selection(), (std::vector<int>{0, 2}));
    send(VIEW_MOUSE_LEFT_DOWN, inputPixel(PANE_TOP, 1));
    send(VIEW_MOUSE_LEFT_UP, inputPixel(PANE_TOP, 1));
    EXPECT_EQ(selection(), std::vector<int>{1});
    EXPECT_FALSE(send(VIEW_MOUSE_LEFT_DOWN, pixelOf(PANE_TOP, -0.2, -0.6, 0.0)).capture);
    EXPECT_TRUE(selection().empty());
    // Locked inputs: no pick, no move, no marquee, no double click.
    p->uiFlags |= FLAG_LOCK_INPUTS;
    from = inputPixel(PANE_TOP, 2);
    EXPECT_FALSE(drag(from, {from.x + 30, from.y}));
    EXPECT_TRUE(selection().empty());
    EXPECT_EQ(inputRecords(p)[2].posX, 0.6);
    EXPECT_FALSE(send(VIEW_MOUSE_RIGHT_DOWN, from).capture);
    EXPECT_FALSE(pointerDouble(p, at(from)));
}

TEST_F(PointerTest, MarqueeWithShiftAndCtrl) {
    const Pixel a = inputPixel(PANE_TOP, 0), b = inputPixel(PANE_TOP, 1), c = inputPixel(PANE_TOP, 2);
    marquee({std::min(a.x, b.x) - 5, std::min(a.y, b.y) - 5}, {std::max(a.x, b.x) + 5, std::max(a.y, b.y) + 5});
    EXPECT_EQ(selection(), (std::vector<int>{0, 1}));
    EXPECT_EQ(p->dragState[DRAG_MARQUEE], 0);
    marquee({c.x - 4, c.y - 4}, {c.x + 4, c.y + 4}, POINTER_SHIFT);
    EXPECT_EQ(selection(), (std::vector<int>{0, 1, 2}));
    marquee({b.x + 4, b.y + 4}, {b.x - 4, b.y - 4}, POINTER_SHIFT | POINTER_CTRL);  // corners either way
    EXPECT_EQ(selection(), (std::vector<int>{0, 2}));
    const Pixel empty = pixelOf(PANE_TOP, -0.8, -0.8, 0.0);
    marquee(empty, {empty.x + 6, empty.y + 6}, POINTER_SHIFT);
    EXPECT_EQ(selection(), (std::vector<int>{0, 2}));
    marquee(empty, {empty.x + 6, empty.y + 6});
    EXPECT_TRUE(selection().empty());
    // A release without a marquee selects nothing and keeps the selection.
    inputRecords(p)[1].selected = 1;
    EXPECT_FALSE(marqueeUp(p, at(b)));
    EXPECT_EQ(selection(), std::vector<int>{1});
}

TEST_F(PointerTest, DoubleClicksOnSpeakersAndInputs) {
    // On a speaker: the selected inputs go to its place.
    inputRecords(p)[0].selected = inputRecords(p)[2].selected = 1;
    const PanSpeaker& left = speakerRecords(p)[0];
    const Pixel speaker = pixelOf(PANE_TOP, left.posX, left.posY, left.posZ);
    EXPECT_TRUE(pointerDouble(p, at(speaker)));
    for (int i : {0, 2}) {
        EXPECT_EQ(inputRecords(p)[i].posX, left.posX);
        EXPECT_EQ(inputRecords(p)[i].posY, left.posY);
    }
    // On an input: back to its default place, the place a reset gives.
    SurroundPanner* fresh = createPanner();
    ASSERT_TRUE(fresh);
    applyLayout(fresh, layoutNamed("5.1 surround"));
    ASSERT_TRUE(setInputCount(fresh, 3));
    resetInputPositions(fresh, -1);
    finishEdit(fresh, true);
    const Pixel input = inputPixel(PANE_TOP, 1);
    send(VIEW_MOUSE_LEFT_DOWN, input);
    send(VIEW_MOUSE_LEFT_UP, input);
    send(VIEW_MOUSE_DOUBLE, input);
    EXPECT_EQ(inputRecords(p)[1].posX, inputRecords(fresh)[1].posX);
    EXPECT_EQ(inputRecords(p)[1].posY, inputRecords(fresh)[1].posY);
    destroyPanner(fresh);
}

TEST_F(PointerTest, SpeakersMoveOnlyInHandMadeLayoutsWhenFree) {
    auto speakerPixel = [&](int pane, int s) {
        const PanSpeaker& k = speakerRecords(p)[s];
        return pixelOf(pane, k.posX, k.posY, k.posZ);
    };
    // A built-in layout's speakers stay.
    Pixel from = speakerPixel(PANE_TOP, 4);
    EXPECT_FALSE(drag(from, {from.x + 30, from.y - 30}));
    EXPECT_EQ(speakerRecords(p)[4].posX, -1.0);
    // A hand-made one's move, kept inside the room.
    p->layoutId = LAYOUT_CUSTOM;
    EXPECT_TRUE(drag(from, {from.x + 30, from.y - 30}));
    EXPECT_GT(speakerRecords(p)[4].posX, -1.0);
    EXPECT_GT(speakerRecords(p)[4].posY, -1.0);
    EXPECT_EQ(p->selectionState[SELECTION_FOCUS], 4 | SELECT_SPEAKER);
    from = speakerPixel(PANE_TOP, 4);
    drag(from, {from.x - 400, from.y});
    EXPECT_EQ(speakerRecords(p)[4].posX, -1.0);
    // Not when locked, not in the orbit pane, not in the small view.
    p->uiFlags |= FLAG_LOCK_SPEAKERS;
    from = speakerPixel(PANE_TOP, 4);
    EXPECT_FALSE(drag(from, {from.x + 30, from.y}));
    p->uiFlags &= ~FLAG_LOCK_SPEAKERS;
    setMode(VIEW_ORBIT);
    EXPECT_FALSE(drag(speakerPixel(PANE_ORBIT, 4), {10, 10}));
    EXPECT_EQ(speakerRecords(p)[4].posX, -1.0);
    const PanSpeaker& k = speakerRecords(p)[4];
    EXPECT_EQ(sendSmall(0x201, pixelOf(PANE_INLINE, k.posX, k.posY, k.posZ, true)), 1);
}

TEST_F(PointerTest, DragThatLeavesTheWindowKeepsItsShape) {
    inputRecords(p)[0].selected = inputRecords(p)[1].selected = 1;
    const Pixel from = inputPixel(PANE_TOP, 0);
    send(VIEW_MOUSE_LEFT_DOWN, from);
    send(VIEW_MOUSE_MOVE, {W + 300, from.y});
    EXPECT_EQ(inputRecords(p)[0].posX, 1.0);
    EXPECT_EQ(inputRecords(p)[1].posX, 1.0) << "both piled at the wall";
    send(VIEW_MOUSE_MOVE, from);
    EXPECT_NEAR(inputRecords(p)[0].posX, 0.2, 0.005) << "back under the pointer, within half a pixel";
    EXPECT_NEAR(inputRecords(p)[0].posX - inputRecords(p)[1].posX, 0.7, 1e-9) << "back in shape within the gesture";
    send(VIEW_MOUSE_LEFT_UP, {-50, -50});
    EXPECT_FALSE(captured);
    expectGestureOrder(calls);
    EXPECT_EQ(calls.back().opcode, audioMasterEndEdit);
}

TEST_F(PointerTest, OrbitCameraButtonsAndMenus) {
    PaneRect r;
    ASSERT_TRUE(viewButtonRect(p, BUTTON_MODE, 2, W, H, &r));
    // The third mode button chooses the orbit view and turns it while the button is held.
    ensureScene(p, themeColours);
    const Camera* orbit = viewCamera(p, PANE_ORBIT);
    const double yaw = orbit->yaw, pitch = orbit->pitch;
    EXPECT_TRUE(send(VIEW_MOUSE_LEFT_DOWN, {r.x + 2, r.y + 2}).capture);
    EXPECT_EQ(viewMode(p), VIEW_ORBIT);
    send(VIEW_MOUSE_MOVE, {r.x + 2 + 52, r.y + 2 - 26});
    EXPECT_DOUBLE_EQ(orbit->yaw, yaw - 52.0 / W * 80.0);
    EXPECT_DOUBLE_EQ(orbit->pitch, pitch - 26.0 / H * 80.0);
    send(VIEW_MOUSE_MOVE, {r.x + 2 + 52, r.y + 2 - 600});
    EXPECT_EQ(orbit->pitch, 0.0) << "pitch stops at the floor";
    send(VIEW_MOUSE_LEFT_UP, {0, 0});
    // The view buttons of the orbit view.
    ASSERT_TRUE(viewButtonRect(p, BUTTON_VIEW, 1, W, H, &r));
    EXPECT_FALSE(send(VIEW_MOUSE_LEFT_DOWN, {r.x, r.y}).capture);
    EXPECT_EQ(orbit->yaw, 90.0);
    EXPECT_EQ(orbit->pitch, 0.0);
    ASSERT_TRUE(viewButtonRect(p, BUTTON_MODE, 1, W, H, &r));
    EXPECT_FALSE(send(VIEW_MOUSE_LEFT_DOWN, {r.x + 23, r.y + 23}).capture);
    EXPECT_EQ(viewMode(p), VIEW_TOP_SIDES);
    // The menu buttons ask for their menus at the lower left corner; the Z shape menu's commands
    // set the shape, tell the host, and check the entry.
    ASSERT_TRUE(viewButtonRect(p, BUTTON_ZSHAPE, 0, W, H, &r));
    ViewMouseAnswer a = send(VIEW_MOUSE_LEFT_DOWN, {r.x + 10, r.y + 10});
    EXPECT_EQ(a.menu.menu, VIEW_MENU_ZSHAPE);
    EXPECT_EQ(a.menu.x, r.x);
    EXPECT_EQ(a.menu.y, r.y + r.h);
    calls.clear();
    EXPECT_TRUE(viewMenuCommand(p, VIEW_MENU_ZSHAPE, ZSHAPE_MENU_FIRST + int(ZSHAPE_DOME_UP)));
    EXPECT_EQ(p->zShape, ZSHAPE_DOME_UP);
    EXPECT_TRUE(viewMenuChecked(p, VIEW_MENU_ZSHAPE, ZSHAPE_MENU_FIRST + int(ZSHAPE_DOME_UP)));
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[calls.size() - 1].index, PG_ZSHAPE);
    EXPECT_FLOAT_EQ(calls[calls.size() - 1].value, 1.0f / 6);
    EXPECT_FALSE(viewMenuCommand(p, VIEW_MENU_ZSHAPE, ZSHAPE_MENU_FIRST + 7));
    ASSERT_TRUE(viewButtonRect(p, BUTTON_OPTIONS, 0, W, H, &r));
    EXPECT_EQ(send(VIEW_MOUSE_LEFT_DOWN, {r.x, r.y}).menu.menu, VIEW_MENU_OPTIONS);
    EXPECT_TRUE(viewMenuCommand(p, VIEW_MENU_OPTIONS, OPTIONS_AUTO_SEND_NAMES));
    EXPECT_TRUE(viewMenuChecked(p, VIEW_MENU_OPTIONS, OPTIONS_AUTO_SEND_NAMES));
    EXPECT_FALSE(viewMenuCommand(p, VIEW_MENU_OPTIONS, OPTIONS_IMPORT_NAMES)) << "the dialog's import";
}

TEST_F(PointerTest, SmallViewMessagesAndPaneMargins) {
    // The small view's answers: capture for a pick, 1 for nothing, a marquee on the right button.
    EXPECT_EQ(sendSmall(0x201, {1, 1}), 1);
    sendSmall(0x202, {1, 1});
    const Pixel a = inputPixel(PANE_INLINE, 0, true), b = inputPixel(PANE_INLINE, 1, true);
    EXPECT_EQ(sendSmall(0x204, {std::min(a.x, b.x) - 3, std::min(a.y, b.y) - 3}), 0x1000000);
    EXPECT_EQ(p->dragState[DRAG_PANE], PANE_INLINE);
    EXPECT_EQ(p->dragState[DRAG_MARQUEE], 2);
    sendSmall(0x200, {std::max(a.x, b.x) + 3, std::max(a.y, b.y) + 3});
    EXPECT_EQ(sendSmall(0x205, {std::max(a.x, b.x) + 3, std::max(a.y, b.y) + 3}), 0x1000000);
    EXPECT_EQ(selection(), (std::vector<int>{0, 1}));
    int32_t record[16] = {};
    intptr_t result = 0;
    EXPECT_TRUE(smallViewMessage(p, 0x201, 0, nullptr, themeColours, &result)) << "no record: ignored";
    EXPECT_EQ(result, 1);
    EXPECT_FALSE(smallViewMessage(p, 0x206, 0, record, themeColours, &result));

    // Panes with their margins: just outside the top pane of the sides view still hits it.
    setMode(VIEW_TOP_SIDES);
    PaneRect top;
    ASSERT_TRUE(paneRect(p, PANE_TOP, W, H, &top));
    int x = top.x - W / 32, y = top.y + 10;
    EXPECT_EQ(findPane(p, &x, &y, W, H, false, -1), PANE_TOP);
    EXPECT_EQ(x, -W / 32);
    x = top.x - W / 16 - 1, y = top.y + 10;
    EXPECT_EQ(findPane(p, &x, &y, W, H, false, -1), -1);
    x = 5, y = 5;
    EXPECT_EQ(findPane(p, &x, &y, W, H, false, PANE_ORBIT), -1) << "no orbit pane in this mode";
}

TEST_F(PointerTest, NearerInputWins) {
    // Two inputs on one spot from above: the higher one is nearer; a tie picks the lower index.
    place(1, 0.2, -0.1, 0.8);
    send(VIEW_MOUSE_LEFT_DOWN, inputPixel(PANE_TOP, 0));
    EXPECT_EQ(p->dragState[DRAG_INPUT], 1);
    send(VIEW_MOUSE_LEFT_UP, {0, 0});
    place(1, 0.2, -0.1, 0.3);
    send(VIEW_MOUSE_LEFT_DOWN, inputPixel(PANE_TOP, 0));
    EXPECT_EQ(p->dragState[DRAG_INPUT], 0);
}

}  // namespace
