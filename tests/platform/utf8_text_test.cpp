// The text layer's rules on bytes: decoding, the UTF-8 verdict, the wide form with its refusal
// rule, its buffers and its truncation, and the long-name form.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "platform/utf8_text.h"

namespace {

// utf8ToWide into a buffer of `bufferBytes` (none when 0); `refused` when it gave null.
struct WideResult {
    std::u16string text;
    bool refused;
    bool inBuffer;
};
WideResult toWide(const std::string& utf8, int bufferBytes = 256) {
    char16_t buffer[128];
    char16_t* out = utf8ToWide(utf8.c_str(), bufferBytes ? buffer : nullptr, bufferBytes);
    if (!out) return {u"", true, false};
    WideResult r{out, false, out == buffer};
    if (out != buffer) std::free(out);
    return r;
}

}  // namespace

TEST(Utf8TextTest, DecodeGivesLengthAndCodePointOfEachForm) {
    struct Case {
        const char* bytes;
        int length;
        uint32_t codePoint;
    };
    const Case cases[] = {
        {"A", 1, 'A'},
        {"\xC3\xA9", 2, 0xE9},
        {"\xE2\x82\xAC", 3, 0x20AC},
        {"\xE0\xA0\x80", 3, 0x800},
        {"\xF0\x90\x80\x80", 4, 0x10000},
        {"\xF0\x9F\x8E\xB5", 4, 0x1F3B5},
        {"\xF7\xBF\xBF\xBF", 4, 0x1FFFFF},         // no upper limit on the 4-byte row
        {"\xF8\x88\x80\x80\x80", 5, '_'},
        {"\xFC\x84\x80\x80\x80\x80", 6, '_'},
        {"\x80", 1, 0x80},                         // a stray continuation
        {"\xC0\x80", 1, 0xC0},                     // overlong 2-byte lead
        {"\xE0\x9F\xBF", 1, 0xE0},                 // overlong 3-byte form
        {"\xF0\x8F\xBF\xBF", 1, 0xF0},             // overlong 4-byte form
        {"\xE2\x82", 1, 0xE2},                     // the text ends inside the character
        {"\xC3" "A", 1, 0xC3},                     // a lead without its continuation
        {"\xF8\x88\x80\x80", 1, 0xF8},             // a 5-byte lead one continuation short
    };
    for (const Case& c : cases) {
        uint32_t codePoint = 0xDEAD;
        EXPECT_EQ(decodeUtf8(c.bytes, &codePoint), c.length) << c.bytes;
        EXPECT_EQ(codePoint, c.codePoint) << c.bytes;
    }
    EXPECT_EQ(decodeUtf8("\xE2\x82\xAC", nullptr), 3) << "the code point may be left out";
}

TEST(Utf8TextTest, VerdictSeparatesAsciiUtf8AndAnythingElse) {
    EXPECT_EQ(isUtf8Text(nullptr), 0);
    EXPECT_EQ(isUtf8Text(""), 0);
    EXPECT_EQ(isUtf8Text("Front Left 1"), 0);
    EXPECT_EQ(isUtf8Text("caf\xC3\xA9"), 1);
    EXPECT_EQ(isUtf8Text("\xCE\x95\xCE\xBB \xE4\xB8\xAD \xF0\x9F\x8E\xB5"), 1);
    EXPECT_EQ(isUtf8Text("\xF5\x80\x80\x80"), 1);
    EXPECT_EQ(isUtf8Text("XY\xB0:"), -1) << "a degree sign of the system code page";
    EXPECT_EQ(isUtf8Text("\xC0\x80"), -1) << "overlong";
    EXPECT_EQ(isUtf8Text("ok\xC3\xA9 \xC3"), -1) << "cut at the end, after good characters";
    EXPECT_EQ(isUtf8Text("\xF8\x88\x80\x80\x80"), -1) << "5-byte forms are no UTF-8";
    EXPECT_EQ(isUtf8Text("\xFC\x84\x80\x80\x80\x80"), -1);
}

TEST(Utf8TextTest, RefusalRuleKeepsCodePageTextNarrowAndLetsStrayBytesThrough) {
    // No good bytes, one bad among four: refused.
    EXPECT_TRUE(toWide("XY\xB0:").refused);
    EXPECT_TRUE(toWide("caf\xE9 cr\xE8me").refused);
    // Two invalid single bytes of an overlong form.
    EXPECT_TRUE(toWide("\xC0\x80").refused);
    EXPECT_TRUE(toWide("\xF8\x88\x80\x80\x80").refused) << "a 5-byte form alone is all bad bytes";

    // A lone 0xE9: 3 x 1 / 4 is 0, so it isn't refused, and the bad byte is dropped.
    WideResult lone = toWide("\xE9");
    EXPECT_FALSE(lone.refused);
    EXPECT_EQ(lone.text, u"");

    // One bad byte among five good ones passes: good isn't below 5 x bad.
    WideResult stray = toWide("\xC3\xA9\xE2\x82\xAC\xB0");
    EXPECT_FALSE(stray.refused);
    EXPECT_EQ(stray.text, u"\u00E9\u20AC");
    // Four good and one bad: refused once plain bytes bring the good ones below 3/4 of all,
    // passed while they make 4/5 of the text. Both conditions must hold to refuse.
    EXPECT_TRUE(toWide("ab\xC3\xA9\xC3\xA9\xB0").refused);
    WideResult mostlyGood = toWide("\xC3\xA9\xC3\xA9\xB0");
    EXPECT_FALSE(mostlyGood.refused);
    EXPECT_EQ(mostlyGood.text, u"\u00E9\u00E9");

    // 5- and 6-byte forms among enough Greek are dropped whole, not one byte at a time.
    std::string greek;
    for (int k = 0; k < 30; k++) greek += "\xCE\xB1";
    WideResult mixed = toWide(greek + "\xF8\x88\x80\x80\x80-\xFC\x84\x80\x80\x80\x80!");
    EXPECT_FALSE(mixed.refused);
    EXPECT_EQ(mixed.text, std::u16string(30, u'\u03B1') + u"-!");
}

TEST(Utf8TextTest, WideFormHasSurrogatePairsAndTakesTheHeapWhenTheBufferIsTooSmall) {
    EXPECT_EQ(toWide("\xF0\x90\x80\x80").text, (std::u16string{0xD800, 0xDC00}));
    EXPECT_EQ(toWide("a\xF4\x8F\xBF\xBFz").text, (std::u16string{u'a', 0xDBFF, 0xDFFF, u'z'}));
    EXPECT_EQ(toWide("").text, u"");
    EXPECT_EQ(utf8ToWide(nullptr, nullptr, 0), nullptr);
    // "abc" needs 8 bytes with its NUL.
    EXPECT_TRUE(toWide("abc", 8).inBuffer);
    EXPECT_FALSE(toWide("abc", 7).inBuffer);
    EXPECT_EQ(toWide("abc", 0).text, u"abc");
    std::string longText;
    for (int k = 0; k < 600; k++) longText += "\xE4\xB8\xAD\xF0\x9F\x8E\xB5";
    WideResult big = toWide(longText, 256);
    EXPECT_FALSE(big.inBuffer);
    ASSERT_EQ(big.text.size(), 1800u) << "nothing lost on the heap";
    EXPECT_EQ(big.text.substr(1797), (std::u16string{0x4E2D, 0xD83C, 0xDFB5}));
}

TEST(Utf8TextTest, WritingStopsWhereTheNulWouldNotFit) {
    char16_t out[8] = {u'#', u'#', u'#', u'#', u'#', u'#', u'#', u'#'};
    EXPECT_EQ(utf8WriteWide("ab\xF0\x9F\x8E\xB5", out, 4), 2) << "the pair would leave no room for the NUL";
    EXPECT_EQ(std::u16string(out), u"ab");
    EXPECT_EQ(out[3], u'#');
    EXPECT_EQ(utf8WriteWide("ab\xF0\x9F\x8E\xB5", out, 5), 4);
    EXPECT_EQ(std::u16string(out), (std::u16string{u'a', u'b', 0xD83C, 0xDFB5}));
    out[0] = u'#';
    EXPECT_EQ(utf8WriteWide("abc", out, 0), 0);
    EXPECT_EQ(out[0], u'#') << "no room at all: nothing written";
}

TEST(Utf8TextTest, WideNamesForUtf8AndLongNames) {
    EXPECT_FALSE(needsWideName(nullptr));
    EXPECT_FALSE(needsWideName("C:/presets/Stereo.BrasselSpeakerSetup"));
    EXPECT_TRUE(needsWideName("C:/presets/\xCE\x95\xCE\xBB.BrasselSpeakerSetup"));
    EXPECT_FALSE(needsWideName("C:/presets/caf\xE9")) << "a system code page name stays narrow";
    EXPECT_FALSE(needsWideName(std::string(255, 'a').c_str()));
    EXPECT_TRUE(needsWideName(std::string(256, 'a').c_str()));
    EXPECT_TRUE(needsWideName((std::string(300, 'a') + "\xE9").c_str())) << "length decides for broken text";
}

TEST(Utf8TextTest, LongNamePrefixForDrivesAndSharesOnly) {
    auto form = [](const std::u16string& name) {
        std::u16string buffer = name + std::u16string(FILE_NAME_PREFIX_ROOM + 1, u'\0');
        addLongNamePrefix(buffer.data());
        return std::u16string(buffer.c_str());
    };
    std::u16string tail(260, u'x');
    std::u16string exact = u"C:/" + std::u16string(253, u'y');
    EXPECT_EQ(form(u"C:/short/name"), u"C:/short/name");
    EXPECT_EQ(form(exact.substr(0, 255)), exact.substr(0, 255)) << "255 characters stay";
    EXPECT_EQ(form(exact), u"\\\\?\\C:\\" + std::u16string(253, u'y')) << "256 get the prefix";
    EXPECT_EQ(form(u"C:/dir/" + tail), u"\\\\?\\C:\\dir\\" + tail);
    EXPECT_EQ(form(u"\\\\server/share/" + tail), u"\\\\?\\UNC\\server\\share\\" + tail);
    EXPECT_EQ(form(u"relative/dir/" + tail), u"relative/dir/" + tail) << "neither drive nor share";
    EXPECT_EQ(form(u""), u"");
    addLongNamePrefix(nullptr);
}
