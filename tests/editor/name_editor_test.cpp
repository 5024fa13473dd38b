#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "editor/dialog_layout.h"
#include "editor/name_editor.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "layouts/layouts.h"
#include "support/panner_fixture.h"

namespace {

// Whether text is a run of whole UTF-8 characters.
bool wholeCharacters(const std::string& text) {
    for (size_t i = 0; i < text.size();) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        size_t n = c < 0x80 ? 1 : c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 0;
        if (!n || i + n > text.size()) return false;
        for (size_t k = 1; k < n; k++)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
        i += n;
    }
    return true;
}

std::string repeat(const char* s, int n) {
    std::string out;
    for (int i = 0; i < n; i++) out += s;
    return out;
}

}  // namespace

struct NameEditorTest : PannerFixture {
    SurroundPanner* p = nullptr;
    // Four inputs; six custom speakers, of which 2 and 3 (items 6 and 7) and the last (item 9)
    // are LFE speakers.
    void SetUp() override {
        PannerFixture::SetUp();
        p = make();
        ASSERT_TRUE(setInputCount(p, 4));
        applyLayout(p, 5);
        ASSERT_EQ(speakerCount(p), 6);
        p->layoutId = LAYOUT_CUSTOM;
        for (int s = 0; s < 6; s++) speakerRecords(p)[s].lfe = s == 2 || s == 3 || s == 5;
    }
};

TEST_F(NameEditorTest, ARequestOpensTheItemOrPassesOverAnLfeSpeakerByOneStep) {
    struct Case {
        int item;
        bool backward;
        NameEditPlan plan;
    };
    const Case cases[] = {
        {0, false, {1, 1, 0}},   {3, true, {1, 1, 3}},   {4, false, {1, 1, 4}},
        {6, false, {1, 1, 7}},   // one step only: the second LFE speaker in a row opens
        {7, true, {1, 1, 6}},    {7, false, {1, 1, 8}},  {8, true, {1, 1, 8}},
        {9, false, {1, 0, 9}},   // the step would leave the speakers: stored, nothing opens
        {-1, false, {0, 0, -1}}, {10, false, {0, 0, -1}}, {10, true, {0, 0, -1}},
    };
    for (const Case& c : cases) {
        NameEditPlan plan = planNameEdit(p, c.item, c.backward);
        EXPECT_EQ(plan.store, c.plan.store) << "item " << c.item;
        EXPECT_EQ(plan.open, c.plan.open) << "item " << c.item;
        if (c.plan.store) {
            EXPECT_EQ(plan.item, c.plan.item) << "item " << c.item;
        }
    }
    // A speaker of a built-in layout is only noted; inputs open all the same.
    applyLayout(p, 5);
    ASSERT_NE(p->layoutId, LAYOUT_CUSTOM);
    NameEditPlan plan = planNameEdit(p, 5, false);
    EXPECT_EQ(plan.store, 1);
    EXPECT_EQ(plan.open, 0);
    EXPECT_EQ(plan.item, 5);
    EXPECT_EQ(planNameEdit(p, 2, false).open, 1);
}

TEST_F(NameEditorTest, TheKeyHookEndsOnTabReturnEscapeAndHandsCtrlKeysToTheField) {
    struct Case {
        bool keyMessage;
        uint32_t key;
        bool shift, ctrl;
        int item;
        NameKeyAnswer answer;
    };
    const Case cases[] = {
        {true, NAME_KEY_TAB, false, false, 2, {NAME_KEY_EATEN, 1, 3, 0}},
        {true, NAME_KEY_TAB, true, false, 2, {NAME_KEY_EATEN, 1, 1, 1}},
        {true, NAME_KEY_TAB, true, false, 0, {NAME_KEY_EATEN, 1, -1, 0}},  // nothing before the first
        {true, NAME_KEY_RETURN, true, true, 5, {NAME_KEY_EATEN, 1, -1, 0}},
        {true, NAME_KEY_ESCAPE, false, false, 5, {NAME_KEY_EATEN, 0, -1, 0}},
        {true, 'A', false, true, 5, {NAME_KEY_TO_FIELD, -1, -1, 0}},
        {true, 'A', true, false, 5, {NAME_KEY_AS_USUAL, -1, -1, 0}},
        {false, NAME_KEY_RETURN, false, true, 5, {NAME_KEY_AS_USUAL, -1, -1, 0}},  // neither key nor character
    };
    for (const Case& c : cases) {
        NameKeyAnswer a = nameEditKey(c.keyMessage, c.key, c.shift, c.ctrl, c.item);
        SCOPED_TRACE("key " + std::to_string(c.key) + (c.shift ? " shift" : "") + (c.ctrl ? " ctrl" : ""));
        EXPECT_EQ(a.answer, c.answer.answer);
        EXPECT_EQ(a.end, c.answer.end);
        EXPECT_EQ(a.nextItem, c.answer.nextItem);
        EXPECT_EQ(a.backward, c.answer.backward);
    }
    // Tab on the last speaker's name ends the field and asks for an item that opens nothing.
    NameKeyAnswer last = nameEditKey(true, NAME_KEY_TAB, false, false, 9);
    EXPECT_EQ(last.end, 1);
    EXPECT_EQ(planNameEdit(p, last.nextItem, false).store, 0);
}

TEST_F(NameEditorTest, TheFieldLiesOverTheItemsRowOfItsNameColumn) {
    int32_t* m = p->dialogMetrics;
    m[METRIC_INPUT_NAME_WIDTH] = 60;
    m[METRIC_SPEAKER_NAME_WIDTH] = 70;
    m[METRIC_INPUT_NAME_X] = 100;
    m[METRIC_SPEAKER_NAME_X] = 300;
    m[METRIC_STRIP_TOP] = 400;
    p->dpiScale = 256;
    PixelRect r = nameEditRect(p, 2);
    EXPECT_EQ(r.x, 100);
    EXPECT_EQ(r.y, 432);
    EXPECT_EQ(r.w, 60);
    EXPECT_EQ(r.h, 16);
    p->dpiScale = 512;
    p->firstSpeakerStrip = 1;
    r = nameEditRect(p, 4 + 3);
    EXPECT_EQ(r.x, 300);
    EXPECT_EQ(r.y, 400 + 2 * 32) << "the third row of the page that starts at the second speaker";
    EXPECT_EQ(r.w, 70);
    EXPECT_EQ(r.h, 32);
}

TEST_F(NameEditorTest, EditedNamesKeepWholeCharactersWithinSixtyThreeBytes) {
    struct Case {
        std::string text;
        size_t bytes;
    };
    const Case cases[] = {
        {"Κρουστά", 14},                   // Greek, whole
        {repeat("Ω", 40), 62},             // 80 bytes of two-byte letters: 31 fit
        {repeat("鼓", 21), 63},            // three-byte characters that end exactly at 63
        {repeat("鼓", 22), 63},
        {"a" + repeat("鼓", 21), 61},      // the 21st would need bytes 62 to 64
        {repeat("🥁", 16), 60},            // four-byte emoji: 15 fit
        {"ab" + repeat("🎹", 16), 62},
        {"", 0},
    };
    for (const Case& c : cases) {
        ASSERT_TRUE(applyEditedName(p, 1, c.text.c_str()));
        std::string name = inputRecords(p)[1].name;
        EXPECT_EQ(name.size(), c.bytes) << c.text;
        EXPECT_EQ(c.text.compare(0, name.size(), name), 0) << "a start of the text";
        EXPECT_TRUE(wholeCharacters(name)) << c.text;
    }
    // Speakers by input count + index; a channel that is gone keeps every name as it was.
    ASSERT_TRUE(applyEditedName(p, 4 + 5, "Sub 東"));
    EXPECT_STREQ(speakerRecords(p)[5].name, "Sub 東");
    ASSERT_TRUE(setInputCount(p, 2));
    EXPECT_FALSE(applyEditedName(p, 8, "late"));
    EXPECT_FALSE(applyEditedName(p, -1, "late"));
    for (int s = 0; s < speakerCount(p); s++) EXPECT_STRNE(speakerRecords(p)[s].name, "late");
    char name[64];
    copyChannelName(name, nullptr);
    EXPECT_STREQ(name, "");
}
