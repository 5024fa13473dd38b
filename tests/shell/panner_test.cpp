#include <gtest/gtest.h>

#include <cmath>

#include "engine/records.h"
#include "platform/platform.h"
#include "platform/window.h"
#include "shell/dispatcher.h"
#include "shell/entry.h"
#include "shell/panner.h"
#include "shell/theme.h"
#include "support/panner_fixture.h"
#include "support/temp_dir.h"

struct PannerTest : PannerFixture {};

TEST_F(PannerTest, ChannelCountQueryDecidesTheShape) {
    countAnswer = 3;
    SurroundPanner* p = make();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->effect.numInputs, 3);
    EXPECT_EQ(p->effect.numOutputs, 3);
    EXPECT_EQ(p->effect.numParams, 42);
    EXPECT_EQ(inputCount(p), 3);
    destroy(p);

    for (intptr_t answer : {intptr_t(129), intptr_t(0), intptr_t(-4)}) {
        countAnswer = answer;
        p = make();
        EXPECT_EQ(p->effect.numInputs, 2) << "answer " << answer;
        EXPECT_EQ(p->effect.numParams, 30);
        EXPECT_EQ(inputCount(p), 2);
        destroy(p);
    }
    hostCallback = nullptr;
    p = make();
    EXPECT_EQ(p->effect.numInputs, 2) << "no callback at all";
    destroy(p);

    hostCallback = callback;
    countAnswer = 128;
    p = make();
    EXPECT_EQ(p->effect.numInputs, 128);
    EXPECT_EQ(inputCount(p), 128);
    destroy(p);
}

TEST_F(PannerTest, EffectRecordAsTheHostSeesIt) {
    SurroundPanner* p = make();
    const AEffect& e = p->effect;
    EXPECT_EQ(e.magic, 0x56737450);
    EXPECT_EQ(e.flags, 0x1031);
    EXPECT_EQ(e.uniqueID, 0x6b767032);
    EXPECT_EQ(e.version, 1100);
    EXPECT_EQ(e.numPrograms, 1);
    EXPECT_EQ(e.initialDelay, 0);
    EXPECT_FLOAT_EQ(e.ioRatio, 1.0f);
    EXPECT_EQ(e.object, p);
    EXPECT_NE(e.processDoubleReplacing, nullptr);
    EXPECT_NE(e.processReplacing, nullptr);
    EXPECT_GE(p->layoutId, 0) << "a layout was applied";

    // The float process entries touch no buffer.
    float guard = 3.0f;
    float* buffers[2] = {&guard, &guard};
    e.processReplacing(&p->effect, buffers, buffers, 1);
    e.process(&p->effect, buffers, buffers, 1);
    EXPECT_EQ(guard, 3.0f);
    destroy(p);
}

TEST_F(PannerTest, WindowClassFollowsTheFirstAndLastInstance) {
    ASSERT_EQ(instanceCount, 0);
    SurroundPanner* a = make();
    EXPECT_TRUE(windowClassRegistered(VIEW_WINDOW_CLASS));
    SurroundPanner* b = make();
    EXPECT_EQ(instanceCount, 2);
    destroy(a);
    EXPECT_TRUE(windowClassRegistered(VIEW_WINDOW_CLASS)) << "one instance still lives";
    destroy(b);
    EXPECT_EQ(instanceCount, 0);
    EXPECT_FALSE(windowClassRegistered(VIEW_WINDOW_CLASS));
    // The second destruction did the unregistering: registering again works.
    SurroundPanner* c = make();
    EXPECT_TRUE(windowClassRegistered(VIEW_WINDOW_CLASS));
    destroy(c);
}

TEST_F(PannerTest, PanLawComesFromTheIniFileClamped) {
    TempDir dir;
    struct Case {
        const char* text;
        double db;
    };
    const Case cases[] = {{"-9", -6.0}, {"2", 0.0}, {"-4.5", -4.5}, {"abc", 0.0}, {" -1.25", -1.25}};
    for (const Case& c : cases) {
        iniPath = dir.write("host.ini", std::string("[kelvane]\npanlaw=") + c.text + "\n");
        SurroundPanner* p = make();
        EXPECT_DOUBLE_EQ(p->panLawDb, c.db) << "panlaw=" << c.text;
        destroy(p);
    }
    iniPath = dir.write("host.ini", "[kelvane]\nother=1\n");
    SurroundPanner* p = make();
    EXPECT_DOUBLE_EQ(p->panLawDb, -3.0) << "missing key";
    destroy(p);
    iniPath.clear();
    p = make();
    EXPECT_DOUBLE_EQ(p->panLawDb, -3.0) << "no ini file";
    destroy(p);
}

TEST_F(PannerTest, ReadsKeysKeepsMissingOnesAndMasksAlpha) {
    ThemeColours saved = themeColours;
    readThemeColours("");
    EXPECT_EQ(themeColours.frontcol, 0xFF999999u);
    EXPECT_EQ(themeColours.infalpha, 100u);
    TempDir dir;
    std::string path = dir.write("host.ini", "[kelvane]\ninfalpha=300\nwallcol=0xFF112233\n");
    readThemeColours(path.c_str());
    EXPECT_EQ(themeColours.infalpha, 44u);
    EXPECT_EQ(themeColours.wallcol, 0xFF112233u);
    EXPECT_EQ(themeColours.ceilcol, 0xFF242E2Eu) << "a missing key keeps its value";
    // A later read without the key keeps what the earlier read gave.
    path = dir.write("host.ini", "[kelvane]\nfrontcol=16\n");
    readThemeColours(path.c_str());
    EXPECT_EQ(themeColours.wallcol, 0xFF112233u);
    EXPECT_EQ(themeColours.frontcol, 16u);
    themeColours = saved;
}

TEST_F(PannerTest, DispatcherAnswersThePlainOpcodes) {
    SurroundPanner* p = make();
    AEffect* e = &p->effect;
    char text[256];
    e->dispatcher(e, effGetEffectName, 0, 0, text, 0.0f);
    EXPECT_STREQ(text, "KelvanePan");
    e->dispatcher(e, effGetVendorString, 0, 0, text, 0.0f);
    EXPECT_STREQ(text, "Tarnwick");
    e->dispatcher(e, effGetProductString, 0, 0, text, 0.0f);
    EXPECT_STREQ(text, "KelvanePan");
    EXPECT_EQ(e->dispatcher(e, effGetEffectName, 0, 0, nullptr, 0.0f), 0);
    EXPECT_EQ(e->dispatcher(e, effCanDo, 0, 0, const_cast<char*>("hasTarnwickExtensions"), 0.0f), intptr_t(0xBEEF0000u));
    EXPECT_EQ(e->dispatcher(e, effCanDo, 0, 0, const_cast<char*>("wantsChannelCountNotifications"), 0.0f), 1);
    EXPECT_EQ(e->dispatcher(e, effCanDo, 0, 0, const_cast<char*>("hastarnwickextensions"), 0.0f), 0);
    EXPECT_EQ(e->dispatcher(e, effCanDo, 0, 0, nullptr, 0.0f), 0);
    EXPECT_EQ(e->dispatcher(e, effGetVstVersion, 0, 0, nullptr, 0.0f), 2400);
    EXPECT_EQ(e->dispatcher(e, effGetPlugCategory, 0, 0, nullptr, 0.0f), 1);
    EXPECT_EQ(e->dispatcher(e, effGetTailSize, 0, 0, nullptr, 0.0f), 1);
    EXPECT_EQ(e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f), 1);
    EXPECT_EQ(e->dispatcher(e, effEditOpen, 0, 0, nullptr, 0.0f), 0);
    e->dispatcher(e, effSetSampleRate, 0, 0, nullptr, 96000.0f);
    EXPECT_EQ(p->sampleRate, 96000.0);
    for (float absurd : {0.0f, -44100.0f, NAN, INFINITY, 1e12f}) {
        e->dispatcher(e, effSetSampleRate, 0, 0, nullptr, absurd);
        EXPECT_EQ(p->sampleRate, 96000.0) << "a rate of " << absurd << " is ignored";
    }

    ERect* rect = nullptr;
    EXPECT_EQ(e->dispatcher(e, effEditGetRect, 0, 0, &rect, 0.0f), 1);
    ASSERT_EQ(rect, &p->editorRect);
    EXPECT_EQ(rect->right - rect->left, 520);
    EXPECT_EQ(rect->bottom - rect->top, 640);
    EXPECT_EQ(e->dispatcher(e, effEditGetRect, 0, 0, nullptr, 0.0f), 0);

    AEffect orphan = {};
    EXPECT_EQ(e->dispatcher(&orphan, effGetVstVersion, 0, 0, nullptr, 0.0f), 0) << "no object: nothing";
    forget(p);
    EXPECT_EQ(e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f), 0);
    EXPECT_EQ(instanceCount, 0);
}
