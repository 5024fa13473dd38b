#include <gtest/gtest.h>

#include <cmath>

#include "engine/parameter_map.h"
#include "engine/position.h"
#include "engine/records.h"
#include "layouts/layouts.h"
#include "support/panner_fixture.h"

struct PositionTest : PannerFixture {};

namespace {

void place(SurroundPanner* p, int i, double x, double y, double z) {
    PanInput& in = inputRecords(p)[i];
    in.posX = in.workX = x;
    in.posY = in.workY = y;
    in.posZ = in.workZ = z;
}

}  // namespace

TEST_F(PositionTest, GroupEditsPushAgainstWallsAndComeBackInShape) {
    countAnswer = 3;
    SurroundPanner* p = make();
    applyLayout(p, 1);
    p->uiFlags |= FLAG_EDIT_ALL | FLAG_IGNORE_REVERSE;
    place(p, 0, 0.9, 0, 0);
    beginEdit(p);
    inputRecords(p)[0].workX = 1.4;
    finishEdit(p, true);
    EXPECT_EQ(inputRecords(p)[0].posX, 1.0);
    moveGroup(p, EDIT_LEFT_RIGHT, -0.2);
    EXPECT_EQ(inputRecords(p)[0].posX, 1.0) << "still beyond the wall";
    moveGroup(p, EDIT_LEFT_RIGHT, -0.3);
    EXPECT_NEAR(inputRecords(p)[0].posX, 0.9, 1e-12);

    // The scene round trip with three inputs.
    place(p, 0, -0.5, 0, 0);
    place(p, 1, 0.0, 0, 0);
    place(p, 2, 0.5, 0, 0);
    beginEdit(p);
    recomputeScene(p);
    EXPECT_EQ(p->sceneX, 0.0);
    double scene[3] = {1.0, p->sceneY, p->sceneZ};
    setScene(p, scene);
    for (int i = 0; i < 3; i++) EXPECT_EQ(inputRecords(p)[i].posX, 1.0) << i;
    scene[0] = 0.0;
    setScene(p, scene);
    EXPECT_DOUBLE_EQ(inputRecords(p)[0].posX, -0.5);
    EXPECT_DOUBLE_EQ(inputRecords(p)[1].posX, 0.0);
    EXPECT_DOUBLE_EQ(inputRecords(p)[2].posX, 0.5);

    // Width: both reach the axis, then the first comes back, the second works off its overflow.
    place(p, 0, 1.0, 0, 0);
    place(p, 1, 0, 0.5, 0);
    place(p, 2, 0, 0, 0);
    p->uiFlags &= ~FLAG_EDIT_ALL;
    inputRecords(p)[0].selected = inputRecords(p)[1].selected = 1;
    beginEdit(p);
    moveGroup(p, EDIT_WIDTH, -2.0);
    EXPECT_EQ(inputRecords(p)[0].workOverflow, 1.0);
    EXPECT_EQ(inputRecords(p)[1].workOverflow, 1.5);
    moveGroup(p, EDIT_WIDTH, 1.2);
    EXPECT_NEAR(inputRecords(p)[0].posX, 0.2, 1e-12) << "keeps its own bearing";
    EXPECT_EQ(inputRecords(p)[1].posY, 0.0);
    EXPECT_NEAR(inputRecords(p)[1].workOverflow, 0.3, 1e-12);
    EXPECT_EQ(inputRecords(p)[2].posX, 0.0) << "not selected";

    // Reverse flags: input 1 starts reversed in X and moves the other way.
    p->uiFlags &= ~FLAG_IGNORE_REVERSE;
    place(p, 0, 0, 0, 0);
    place(p, 1, 0, 0, 0);
    beginEdit(p);
    moveGroup(p, EDIT_LEFT_RIGHT, 0.25);
    EXPECT_EQ(inputRecords(p)[0].posX, 0.25);
    EXPECT_EQ(inputRecords(p)[1].posX, -0.25);
    flipGroup(p, EDIT_LEFT_RIGHT);
    EXPECT_EQ(inputRecords(p)[0].posX, -0.25);
    centerGroup(p, EDIT_LEFT_RIGHT);
    EXPECT_EQ(inputRecords(p)[1].posX, 0.0);
    destroy(p);
}

TEST_F(PositionTest, ZShapesCirclesAndTheLfeInput) {
    countAnswer = 6;
    SurroundPanner* p = make();
    EXPECT_EQ(zFromShape(ZSHAPE_DOME_UP, 0, 0), 1.0);
    EXPECT_EQ(zFromShape(ZSHAPE_DOME_UP, 1, 0), 0.0);
    EXPECT_EQ(zFromShape(ZSHAPE_DOME_DOWN, 0, 0), 0.0);
    EXPECT_NEAR(zFromShape(ZSHAPE_CEILING_DOWN, 0, 0.6), 0.5, 1e-12);
    EXPECT_EQ(zFromShape(ZSHAPE_CEILING_DOWN, 0, 0.2), 0.0);
    EXPECT_NEAR(zFromShape(ZSHAPE_CEILING_UP, 0, 0.6), 0.5, 1e-12);
    EXPECT_EQ(zFromShape(ZSHAPE_WEDGE_UP, 0.3, -0.25), 0.75);
    EXPECT_EQ(zFromShape(ZSHAPE_WEDGE_DOWN, 0.3, -0.25), 0.25);

    place(p, 0, 0, 0, 0.3);
    changeZShape(p, ZSHAPE_DOME_UP);
    EXPECT_EQ(inputRecords(p)[0].posZ, 1.0);
    setInputZ(p, 0, 0.2);
    EXPECT_EQ(inputRecords(p)[0].posZ, 1.0) << "Z is tied to the floor position";
    setInputX(p, 0, 1.0);
    EXPECT_EQ(inputRecords(p)[0].posZ, 0.0);
    changeZShape(p, ZSHAPE_NONE);

    // A circular layout keeps a dragged corner on the circle.
    applyLayout(p, 8);
    p->uiFlags |= FLAG_EDIT_ALL;
    beginEdit(p);
    inputRecords(p)[0].workX = 1.0;
    inputRecords(p)[0].workY = 1.0;
    finishEdit(p, true);
    EXPECT_NEAR(std::hypot(inputRecords(p)[0].posX, inputRecords(p)[0].posY), 1.0, 1e-12);

    // Input 3 as the LFE channel stays out of group edits.
    setLfeChannel(p, true);
    EXPECT_EQ(inputRecords(p)[3].lfeSend, 1.0);
    place(p, 3, 0.1, 0.2, 0);
    beginEdit(p);
    moveGroup(p, EDIT_REAR_FRONT, 0.3);
    EXPECT_EQ(inputRecords(p)[3].posY, 0.2);
    EXPECT_NEAR(inputRecords(p)[2].posY, std::fmin(1.0, 0.3 + inputRecords(p)[2].editStartY), 1e-12);
    destroy(p);
}
