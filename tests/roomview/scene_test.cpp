// Scene assembly: the pane table of each mode, the orbit's limits, which speakers and inputs
// are drawn, the speaker's turn toward the middle, the Z shape objects, and the view's reach row.
#include <gtest/gtest.h>

#include <cmath>

#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "foundation/theme_colours.h"
#include "layouts/layouts.h"
#include "roomview/scene.h"
#include "shell/panner.h"
#include "support/memory_bitmap.h"
#include "support/panner_fixture.h"

namespace {

struct SceneTest : PannerFixture {
    SurroundPanner* p = nullptr;
    void SetUp() override {
        PannerFixture::SetUp();
        p = createPanner();
        ASSERT_TRUE(p);
    }
    void TearDown() override {
        destroyPanner(p);
        PannerFixture::TearDown();
    }
    void setMode(int mode) { p->uiFlags = (p->uiFlags & ~UI_VIEW_MODE_MASK) | uint32_t(mode) << UI_VIEW_MODE_SHIFT; }
};

TEST_F(SceneTest, PaneTableOfEachMode) {
    struct Row {
        int mode, pane;
        bool exists;
        PaneRect rect;
    };
    // A 768 by 800 view: every division of the table shows.
    const Row rows[] = {
        {VIEW_TOP, PANE_TOP, true, {34, 8, 700, 700}},       {VIEW_TOP, PANE_SIDE, false, {}},
        {VIEW_TOP, PANE_ORBIT, false, {}},                   {VIEW_TOP_SIDES, PANE_TOP, true, {134, 8, 500, 500}},
        {VIEW_TOP_SIDES, PANE_SIDE, true, {12, 527, 366, 183}}, {VIEW_TOP_SIDES, PANE_REAR, true, {390, 527, 366, 183}},
        {VIEW_TOP_SIDES, PANE_ORBIT, false, {}},             {VIEW_ORBIT, PANE_ORBIT, true, {6, 0, 756, 756}},
        {VIEW_ORBIT, PANE_TOP, false, {}},                   {VIEW_ORBIT, PANE_INLINE, true, {0, 0, 768, 800}},
    };
    for (const Row& r : rows) {
        setMode(r.mode);
        PaneRect got;
        EXPECT_EQ(paneRect(p, r.pane, 768, 800, &got), r.exists) << r.mode << " " << r.pane;
        if (!r.exists) continue;
        EXPECT_EQ(got.x, r.rect.x) << r.mode << " " << r.pane;
        EXPECT_EQ(got.y, r.rect.y);
        EXPECT_EQ(got.w, r.rect.w);
        EXPECT_EQ(got.h, r.rect.h);
    }
    setMode(VIEW_TOP_SIDES);
    EXPECT_FALSE(paneDrawn(p, PANE_INLINE, false));
    EXPECT_TRUE(paneDrawn(p, PANE_INLINE, true));
    EXPECT_FALSE(paneDrawn(p, PANE_TOP, true)) << "the small view has its one pane";
}

TEST_F(SceneTest, OrbitLimitsAndMatrices) {
    ASSERT_TRUE(ensureScene(p, themeColours));
    Camera* orbit = viewCamera(p, PANE_ORBIT);
    EXPECT_EQ(orbit->fov, 75.0);
    EXPECT_EQ(orbit->yaw, -67.5);
    setOrbit(p, PANE_ORBIT, 190.0, -10.0);
    EXPECT_DOUBLE_EQ(orbit->yaw, -170.0);
    EXPECT_EQ(orbit->pitch, 0.0) << "never below the floor";
    setOrbit(p, PANE_ORBIT, 30.0, 89.7);
    EXPECT_EQ(orbit->pitch, 90.0);
    EXPECT_NEAR(orbit->posZ, 4.6, 1e-12);
    // The ray matrix undoes the view matrix.
    Matrix4 product = orbit->rayMatrix;
    multiplyMatrix(product, orbit->viewMatrix);
    for (int r = 0; r < 3; r++)
        for (int c = 0; c < 3; c++) EXPECT_NEAR(product.m[r][c], r == c ? 1.0 : 0.0, 1e-12);
    // The top camera looks straight down on the middle: the middle lands in the centre.
    MemoryBitmap frame(200, 200);
    Camera* top = viewCamera(p, PANE_TOP);
    top->beginFrame(&frame, true, 0.0f);
    top->endFrame();
    double sx = 0, sy = 0, dist = 0;
    top->project(0.0, 0.0, 0.5, &sx, &sy, &dist);
    EXPECT_NEAR(sx, 100.0, 1e-9);
    EXPECT_NEAR(sy, 100.0, 1e-9);
    EXPECT_NEAR(dist, 5.5, 1e-9);
    double leftX = 0, frontY = 0;
    top->project(-1.0, 1.0, 0.5, &leftX, &frontY, nullptr);
    EXPECT_LT(leftX, 100.0) << "left is left";
    EXPECT_LT(frontY, 100.0) << "front is up";
    setOrbit(p, 7, 0.0, 0.0);  // no such camera
}

TEST_F(SceneTest, WhichChannelsAreDrawn) {
    setInputCount(p, 6);
    PanInput* in = inputRecords(p);
    in[1].mute = 1;
    ASSERT_TRUE(buildVisibleInputs(p));
    int n = 0;
    VisibleInput* list = visibleInputs(&n);
    ASSERT_EQ(n, 5);
    EXPECT_EQ(list[0].index, 5) << "last index first";
    EXPECT_EQ(list[4].index, 0);
    p->channelOptions = CHANNEL_OPTION_LFE_INPUT;
    in[3].solo = 1;  // the LFE input's solo counts for nothing
    buildVisibleInputs(p);
    list = visibleInputs(&n);
    EXPECT_EQ(n, 4);
    in[2].solo = 1;
    buildVisibleInputs(p);
    list = visibleInputs(&n);
    ASSERT_EQ(n, 1);
    EXPECT_EQ(list[0].index, 2) << "with a solo only the soloed, muted or not";

    applyLayout(p, 11);  // "7.1.4 surround": speaker 3 is the LFE
    PanSpeaker* spk = speakerRecords(p);
    EXPECT_FALSE(speakerShown(p, 3));
    EXPECT_TRUE(speakerShown(p, 0));
    spk[0].mute = 1;
    EXPECT_FALSE(speakerShown(p, 0));
    spk[5].solo = 1;
    EXPECT_TRUE(speakerShown(p, 5));
    EXPECT_FALSE(speakerShown(p, 1));
    EXPECT_FALSE(speakerShown(p, 99));

    // Opacity: the group's share, then the influence below 1.
    PanSpeaker s = spk[1];
    s.flags = SPK_CENTERGROUP;
    p->centerPercent = 0.5;
    s.influence = 1.5;
    EXPECT_EQ(speakerOpacity(p, s), 0.5);
    s.flags = 0;
    EXPECT_EQ(speakerOpacity(p, s), 1.0);
    s.influence = 0.5;
    EXPECT_EQ(speakerOpacity(p, s), 0.5);

    // A speaker is selected only in a hand-made layout, through the focus's speaker bit.
    p->selectionState[SELECTION_FOCUS] = SELECT_SPEAKER | 4;
    EXPECT_EQ(selectedSpeaker(p), -1);
    p->layoutId = 0;
    EXPECT_EQ(selectedSpeaker(p), 4);
    p->selectionState[SELECTION_FOCUS] = 4;
    EXPECT_EQ(selectedSpeaker(p), -1);
}

TEST_F(SceneTest, SpeakersFaceTheMiddle) {
    Mesh* m = createMesh();
    placeSpeakerMesh(m, 0.0, 0.0, 0.5);
    EXPECT_EQ(m->rotX, 0.0);
    EXPECT_EQ(m->rotZ, 0.0);
    placeSpeakerMesh(m, 0.0, 1.0, 0.5);  // ahead
    EXPECT_EQ(m->rotZ, 0.0);
    EXPECT_EQ(std::fabs(m->rotX), 0.0);
    placeSpeakerMesh(m, 1.0, 0.0, 0.5);  // right: turned about Z
    EXPECT_DOUBLE_EQ(m->rotZ, -90.0);
    EXPECT_DOUBLE_EQ(m->rotX, 180.0);
    placeSpeakerMesh(m, 0.0, 1.0, 1.0);  // above the front: tilted down
    EXPECT_DOUBLE_EQ(m->rotX, -std::atan2(0.5, 1.0) * 180.0 / 3.14159265358979323846);
    destroyMesh(m);
    Mesh* dome = makeHalfSphere(1.0, nullptr);
    EXPECT_EQ(meshFaceCount(dome), 899);
    EXPECT_EQ(meshVertexCount(dome), 899);
    destroyMesh(dome);
}

TEST_F(SceneTest, ZShapeObjectsAreMadeOnlyForAShape) {
    ensureScene(p, themeColours);
    MemoryBitmap frame(64, 64);
    setInputCount(p, 2);
    buildVisibleInputs(p);
    uint64_t renders = roomRenderCount();
    assembleFrame(p, &frame, false, themeColours);
    EXPECT_EQ(growCount<SceneObject*>(p->zShapeMeshes), 0);
    EXPECT_EQ(roomRenderCount(), renders + 1) << "one pane in the top view";
    p->zShape = 3;
    assembleFrame(p, &frame, true, themeColours);
    EXPECT_EQ(growCount<SceneObject*>(p->zShapeMeshes), 0) << "the small view draws no shape";
    assembleFrame(p, &frame, false, themeColours);
    EXPECT_EQ(growCount<SceneObject*>(p->zShapeMeshes), 5);
    // The orbit view adds the speakers' and inputs' objects; a spread follows the divergence.
    setMode(VIEW_ORBIT);
    inputRecords(p)[0].divergence = 0.5;
    inputRecords(p)[0].posZ = 0.0;
    assembleFrame(p, &frame, false, themeColours);
    ASSERT_EQ(growCount<SceneObject*>(p->inputMeshes), 6);
    SceneObject* spread = growItems<SceneObject*>(p->inputMeshes)[INPUT_SPREAD];
    EXPECT_EQ(spread->scale, 1.5);
    EXPECT_NEAR(meshVertices(spread->mesh)[0].y, 0.078125 + 0.921875 * 0.5, 1e-12);
    inputRecords(p)[0].divergence = 0.0;
    assembleFrame(p, &frame, false, themeColours);
    EXPECT_EQ(spread->scale, 1.5) << "without divergence the spread keeps its size";
    EXPECT_EQ(growCount<SceneObject*>(p->speakerMeshes), speakerCount(p));
}

TEST_F(SceneTest, ViewReachWeighsGroupShares) {
    applyLayout(p, 5);  // a layout with a centre speaker
    analyzeSpeakers(p);
    int n = speakerCount(p);
    PanSpeaker* spk = speakerRecords(p);
    int centre = -1;
    for (int i = 0; i < n; i++)
        if (spk[i].flags & SPK_CENTERGROUP) centre = i;
    ASSERT_GE(centre, 0);
    p->centerPercent = 1.0;
    buildViewReachRow(p);
    double full = spk[centre].reachNeg[REACH_ROW_VIEW][0];
    ASSERT_GT(full, 0.0);
    p->centerPercent = 0.5;
    buildViewReachRow(p);
    EXPECT_DOUBLE_EQ(spk[centre].reachNeg[REACH_ROW_VIEW][0], full * 0.5);
    p->centerPercent = 0.0;
    buildViewReachRow(p);
    EXPECT_EQ(spk[centre].reachNeg[REACH_ROW_VIEW][0], 0.0);
    EXPECT_EQ(spk[centre].reachPos[REACH_ROW_VIEW][1], -1.0) << "the front wall stays a wall";
}

}  // namespace
