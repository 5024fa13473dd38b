// The room view's paint on the reference host's bitmaps and drawing library, in this process:
// the stamps, the scale rules and the 2 by 2 filter, when the room is rendered again, the discs
// at the walls and the pile of inputs at one place.
#include <gtest/gtest.h>

#include <cstring>

#include "engine/records.h"
#include "foundation/font.h"
#include "foundation/host_api.h"
#include "foundation/numbers.h"
#include "foundation/theme_colours.h"
#include "hostservices/drawing.h"
#include "host/host.h"
#include "layouts/layouts.h"
#include "roomview/overlays.h"
#include "roomview/paint.h"
#include "roomview/scene.h"
#include "shell/entry.h"
#include "shell/panner.h"

namespace {

struct RoomViewTest : ::testing::Test {
    RefHost* host = nullptr;
    HostApi savedApi = {};
    audioMasterCallback savedCallback = nullptr;
    SurroundPanner* p = nullptr;

    void SetUp() override {
        host = refHostCreate();
        ASSERT_TRUE(host);
        savedApi = hostApi;
        savedCallback = hostCallback;
        hostCallback = refHostCallback(host);
        refHostImportServices(host);
        p = createPanner();
        ASSERT_TRUE(p);
        applyLayout(p, 5);  // "5.1 surround"
        setInputCount(p, 4);
    }
    void TearDown() override {
        destroyPanner(p);
        hostApi = savedApi;
        hostCallback = savedCallback;
        refHostDestroy(host);
    }
    void setMode(int mode) { p->uiFlags = (p->uiFlags & ~UI_VIEW_MODE_MASK) | uint32_t(mode) << UI_VIEW_MODE_SHIFT; }
    MIRQ_IBitmap* paint(int w, int h, int dpi = 256) { return paintWindowBitmap(p, w, h, dpi, themeColours); }
    // Stored pixels of a bitmap, top row first.
    static uint32_t at(MIRQ_IBitmap* b, int x, int y) { return b->pixels()[y * b->rowSpan() + x]; }
};

TEST_F(RoomViewTest, StampsChangeOnExactlyWhatTheViewShows) {
    uint8_t a = 'a';
    EXPECT_EQ(fnv64(&a, 1, FNV_OFFSET_BASIS), 0xAF63BD4C8601B7BEull);
    for (bool small : {false, true}) {
        inputStampChanged(p, small);
        speakerStampChanged(p, small);
    }
    PanInput& in = inputRecords(p)[1];
    PanSpeaker& spk = speakerRecords(p)[0];
    struct Change {
        const char* what;
        void (*apply)(SurroundPanner*, PanInput&, PanSpeaker&);
        bool inputs, inputsSmall, speakers, speakersSmall;
    };
    const Change changes[] = {
        {"posX", [](SurroundPanner*, PanInput& i, PanSpeaker&) { i.posX += 0.25; }, true, true, false, false},
        {"lfeSend", [](SurroundPanner*, PanInput& i, PanSpeaker&) { i.lfeSend = 0.5; }, false, false, false, false},
        {"delay", [](SurroundPanner*, PanInput& i, PanSpeaker&) { i.delay = 0.01; }, false, false, false, false},
        {"gain", [](SurroundPanner*, PanInput& i, PanSpeaker& s) { i.gain = 0.5, s.gain = 0.5; }, false, false, false, false},
        {"ninth character", [](SurroundPanner*, PanInput& i, PanSpeaker&) { std::strcpy(i.name, "Guitars AB"); }, true, false,
         false, false},
        {"only the ninth", [](SurroundPanner*, PanInput& i, PanSpeaker&) { i.name[8] = 'X'; }, false, false, false, false},
        {"divergence", [](SurroundPanner*, PanInput& i, PanSpeaker&) { i.divergence = 0.3; }, true, false, false, false},
        {"mute", [](SurroundPanner*, PanInput& i, PanSpeaker&) { i.mute = 1; }, true, true, false, false},
        {"select", [](SurroundPanner*, PanInput& i, PanSpeaker&) { i.selected = !i.selected; }, true, true, false, false},
        {"select with edit all", [](SurroundPanner* q, PanInput& i, PanSpeaker&) {
             q->uiFlags |= FLAG_EDIT_ALL;
             i.selected = !i.selected;
         }, true, true, false, false},  // the flag turns every selection bit off at once
        {"select again", [](SurroundPanner*, PanInput& i, PanSpeaker&) { i.selected = !i.selected; }, false, false, false, false},
        {"zShape", [](SurroundPanner* q, PanInput&, PanSpeaker&) { q->zShape = 2; }, true, false, true, false},
        {"influence", [](SurroundPanner*, PanInput&, PanSpeaker& s) { s.influence = 0.5; }, false, false, true, false},
        {"speaker posZ", [](SurroundPanner*, PanInput&, PanSpeaker& s) { s.posZ = 0.25; }, false, false, true, true},
        {"centre share", [](SurroundPanner* q, PanInput&, PanSpeaker&) { q->centerPercent = 0.5; }, false, false, true, false},
        {"LFE speaker moved", [](SurroundPanner* q, PanInput&, PanSpeaker&) { speakerRecords(q)[3].posX = 0.5; }, false, false,
         false, false},
        {"view mode", [](SurroundPanner* q, PanInput&, PanSpeaker&) { q->uiFlags |= VIEW_ORBIT << UI_VIEW_MODE_SHIFT; }, false,
         false, true, false},
    };
    ASSERT_TRUE(speakerRecords(p)[3].lfe);
    for (const Change& c : changes) {
        c.apply(p, in, spk);
        EXPECT_EQ(inputStampChanged(p, false), c.inputs) << c.what;
        EXPECT_EQ(inputStampChanged(p, true), c.inputsSmall) << c.what;
        EXPECT_EQ(speakerStampChanged(p, false), c.speakers) << c.what;
        EXPECT_EQ(speakerStampChanged(p, true), c.speakersSmall) << c.what;
    }
    // The orbit's camera counts in the orbit view only.
    ensureScene(p, themeColours);
    speakerStampChanged(p, false);
    setOrbit(p, PANE_ORBIT, 10.0, 40.0);
    EXPECT_TRUE(speakerStampChanged(p, false));
    setMode(VIEW_TOP);
    speakerStampChanged(p, false);
    setOrbit(p, PANE_ORBIT, 20.0, 40.0);
    EXPECT_FALSE(speakerStampChanged(p, false));
}

TEST_F(RoomViewTest, ScaleRulesAndTheFilter) {
    for (int i = 0; i < 4; i++) inputRecords(p)[i].mute = 1;
    // Advised 100 %: the room is drawn at scale 512 and filtered down.
    MIRQ_IBitmap* window = paint(200, 180);
    ASSERT_TRUE(window && p->frameBitmap[0]);
    EXPECT_EQ(bitmapScale(p->frameBitmap[0]), 512);
    EXPECT_EQ(bitmapScale(window), 0);
    MIRQ_IBitmap* frame = p->frameBitmap[0];
    const int x = 100, y = 90;  // a room pixel, away from the layers drawn over it
    uint32_t sum[3] = {};
    for (int k = 0; k < 4; k++)
        for (int c = 0; c < 3; c++) sum[c] += at(frame, 2 * x + (k & 1), 2 * y + (k >> 1)) >> (8 * c) & 0xFF;
    EXPECT_EQ(at(window, x, y) & 0xFFFFFFu, (sum[2] >> 2) << 16 | (sum[1] >> 2) << 8 | (sum[0] >> 2));
    EXPECT_EQ(at(window, x, y) >> 24, 0u) << "the filter leaves alpha 0";
    // Advised 200 %: not supersampled further; in the flat modes the frame has no scale.
    paint(200, 180, 512);
    EXPECT_EQ(bitmapScale(p->frameBitmap[0]), 0);
    EXPECT_EQ(window->extended(MIRQ_EXT_GET_ADVISED_SCALE, nullptr), 512);
    // The orbit view at 100 % draws into its own frame at 512 too; at 200 % into the window.
    setMode(VIEW_ORBIT);
    paint(200, 180, 256);
    EXPECT_EQ(bitmapScale(p->frameBitmap[0]), 512);
}

TEST_F(RoomViewTest, TheRoomIsRenderedOnlyWhenItsPictureChanged) {
    paint(240, 240);
    uint64_t renders = roomRenderCount();
    paint(240, 240);
    EXPECT_EQ(roomRenderCount(), renders) << "nothing changed";
    inputRecords(p)[0].posX = 0.5;
    inputRecords(p)[1].posY = -0.5;
    paint(240, 240);
    EXPECT_EQ(roomRenderCount(), renders) << "inputs moved: the cached room serves";
    paint(260, 240);
    EXPECT_EQ(roomRenderCount(), renders + 1) << "a new client size renders the room";
    p->viewRedrawFlags = VIEW_REDRAW_WORLD;
    paint(260, 240);
    EXPECT_EQ(roomRenderCount(), renders + 2);
    setMode(VIEW_TOP_SIDES);
    p->viewRedrawFlags = VIEW_REDRAW_WORLD;
    paint(260, 240);
    EXPECT_EQ(roomRenderCount(), renders + 5) << "three panes";
    setMode(VIEW_ORBIT);
    paint(260, 240);
    paint(260, 240);
    EXPECT_EQ(roomRenderCount(), renders + 7) << "the orbit view renders every paint";
}

TEST_F(RoomViewTest, DiscsStopAtTheWallsAndPilesStayVisible) {
    // Without a font there are no numbers on the discs to cross the walls.
    releaseLabelFont();
    hostApi.MIRQ_CreateFont = nullptr;
    PanInput* in = inputRecords(p);
    for (int i = 0; i < 4; i++) in[i].mute = 1, in[i].selected = 0;
    MIRQ_IBitmap* window = paint(300, 300);
    std::vector<uint32_t> empty(window->pixels(), window->pixels() + 300 * 300);
    // One input on the left wall: half a disc, nothing left of the wall.
    in[0].mute = 0;
    in[0].posX = -1.0;
    in[0].posY = 0.0;
    in[0].posZ = 0.0;
    paint(300, 300);
    const Camera* top = viewCamera(p, PANE_TOP);
    PaneRect pane;
    paneRect(p, PANE_TOP, 300, 300, &pane);
    double wallX = 0, wallY = 0;
    top->project(-1.0, 0.0, 0.0, &wallX, &wallY, nullptr);
    const int wall = pane.x + int(wallX + 0.5), row = pane.y + int(wallY + 0.5);
    int leftOfWall = 0, rightOfWall = 0;
    for (int y = row - 20; y <= row + 20; y++)
        for (int x = wall - 20; x <= wall + 20; x++) {
            if (at(window, x, y) == empty[size_t(y) * 300 + size_t(x)]) continue;
            (x < wall ? leftOfWall : rightOfWall)++;
        }
    EXPECT_EQ(leftOfWall, 0);
    EXPECT_GT(rightOfWall, 40);

    // Three inputs at one place: one pixel apart each, up and left, the lower index on top.
    for (int i = 0; i < 3; i++) {
        in[i].mute = 0;
        in[i].posX = 0.3, in[i].posY = 0.2, in[i].posZ = 0.0;
    }
    paint(300, 300);
    int n = 0;
    VisibleInput* list = visibleInputs(&n);
    ASSERT_EQ(n, 3);
    int x[3] = {}, y[3] = {};
    for (int k = 0; k < n; k++) x[list[k].index] = list[k].screenX, y[list[k].index] = list[k].screenY;
    EXPECT_EQ(x[1], x[2] - 1);
    EXPECT_EQ(y[1], y[2] - 1);
    EXPECT_EQ(x[0], x[2] - 2);
    EXPECT_EQ(y[0], y[2] - 2);
    EXPECT_EQ(list[n - 1].index, 0) << "drawn last";
}

TEST_F(RoomViewTest, SmallViewPaintsOnChangesOnly) {
    MIRQ_IBitmap* bitmap = hostCreateBitmap(HOST_BITMAP_SYSTEM, 120, 100);
    int32_t record[16] = {};
    record[6] = 120, record[7] = 100;
    intptr_t result = -1;
    ASSERT_TRUE(smallViewMessage(p, 0x0F, reinterpret_cast<intptr_t>(bitmap), record, themeColours, &result));
    EXPECT_EQ(result, 1);
    uint64_t renders = roomRenderCount();
    record[10] = 1;  // only when something changed
    smallViewMessage(p, 0x0F, reinterpret_cast<intptr_t>(bitmap), record, themeColours, &result);
    EXPECT_EQ(result, 0);
    inputRecords(p)[0].posX = -0.5;
    smallViewMessage(p, 0x0F, reinterpret_cast<intptr_t>(bitmap), record, themeColours, &result);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(roomRenderCount(), renders) << "inputs only: the cached room";
    speakerRecords(p)[0].posY = 0.5;
    smallViewMessage(p, 0x0F, reinterpret_cast<intptr_t>(bitmap), record, themeColours, &result);
    EXPECT_EQ(roomRenderCount(), renders + 1);
    smallViewMessage(p, 0x24, 0, record, themeColours, &result);
    EXPECT_EQ(record[0], 0x10000);
    EXPECT_EQ(record[6], 20);
    EXPECT_FALSE(smallViewMessage(p, 0x30, 0, record, themeColours, &result)) << "other messages are the dispatcher's";
    mirqDestroy(bitmap);
}

}  // namespace
