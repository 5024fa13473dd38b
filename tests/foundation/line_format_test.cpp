#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "foundation/line_format.h"
#include "support/temp_dir.h"

namespace {

template <class... Args>
std::string fmt(const char* format, Args... args) {
    char buffer[256];
    formatText(buffer, sizeof buffer, format, args...);
    return buffer;
}

// Switches numbers to a locale with a decimal comma, making one from the system's sources when
// none is installed. False when the platform has none to give.
bool useCommaLocale(const TempDir& dir) {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "German_Germany.1252", "de-DE"})
        if (std::setlocale(LC_NUMERIC, name)) return true;
#if !defined(_WIN32)
    std::string made = dir.file("locales");
    std::string command = "mkdir -p '" + made + "' && localedef -i de_DE -f UTF-8 '" + made + "/de_DE.UTF-8' >/dev/null 2>&1";
    if (std::system(command.c_str()) == 0) {
        setenv("LOCPATH", made.c_str(), 1);
        if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) return true;
    }
#else
    (void)dir;
#endif
    return false;
}

}  // namespace

TEST(LineFormatTest, SameDigitsEverywhereWithoutTrailingZeros) {
    EXPECT_EQ(fmt("%.3f", 0.1), "0.1");
    EXPECT_EQ(fmt("%.3f", 2.5), "2.5");
    EXPECT_EQ(fmt("%.3f", 1.0), "1");
    EXPECT_EQ(fmt("%f", 1e-21), "0");
    EXPECT_EQ(fmt("%f", -0.0), "0");
    EXPECT_EQ(fmt("%f", -1.0), "-1");
    EXPECT_EQ(fmt("%f", 0.3), "0.3") << "binary noise in the last digits does not show";
    EXPECT_EQ(fmt("%f", -0.707107), "-0.707107");
    EXPECT_EQ(fmt("%f", 0.9999999), "1") << "a fraction within the slack of one carries";
    EXPECT_EQ(fmt("%f", 2.0000001), "2");
    EXPECT_EQ(fmt("%.0f", 2.5), "3");
    EXPECT_EQ(fmt("%.2f", 99.999), "100");
    EXPECT_EQ(fmt("%.12f", 0.5), "0.5");
    EXPECT_EQ(fmt("%.12f", 0.000123456789), "0.000123456789");
    EXPECT_EQ(fmt("%.20f", 123456789.5), "123456789.5") << "17 digits at most";
    EXPECT_EQ(fmt("%f", 2147483646.25), "2147483646.25");
    EXPECT_EQ(fmt("%f", 3e9 + 0.25), "3000000000.250000") << "beyond the by-hand range";
    EXPECT_EQ(fmt("%.12f", 3e9), "3000000000.00000000") << "at most 8 decimals there";
    EXPECT_EQ(fmt("%f", 1e41), "1.000000e+41");
    EXPECT_EQ(fmt("%f %f", 1.0 / 0.0, std::nan("")), "0 0");

    // The same text under a locale whose decimal point is a comma.
    TempDir dir;
    const double values[] = {0.1, -2.5, 1234.5678, 3e9 + 0.5, 2e40, 1e41};
    std::string before;
    for (double v : values) before += fmt("%f|%.2f ", v, v);
    if (!useCommaLocale(dir)) GTEST_SKIP() << "no locale with a decimal comma here";
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 1.5);
    std::string after;
    for (double v : values) after += fmt("%f|%.2f ", v, v);
    std::setlocale(LC_NUMERIC, "C");
    ASSERT_EQ(std::string(probe), "1,5") << "the locale took effect";
    EXPECT_EQ(after, before);
}

TEST(LineFormatTest, FormsStringsAndTheRest) {
    EXPECT_EQ(fmt("%d %u %x %X %%", -42, 42u, 255u, 255u), "-42 42 ff FF %");
    EXPECT_EQ(fmt("%05d|%03u|%04x|%02X|%02d", 42, 7u, 0xABu, 0x1234u, -3), "00042|007|00ab|1234|-03");
    EXPECT_EQ(fmt("%d", -2147483647 - 1), "-2147483648");
    EXPECT_EQ(fmt("a\nb%c%s", '\n', "x\ny\rz"), "a b x y z") << "no form lets a line break in";
    EXPECT_EQ(fmt("[%s]", (const char*)nullptr), "[]");
    EXPECT_EQ(fmt("%@ %@ %@", "ab cd", "ab \"cd", "a\"b'c`d e"), "\"ab cd\" 'ab \"cd' `a\"b'c'd e`");
    EXPECT_EQ(fmt("%@ %p %p~", "bare", "bare", "bare"), "bare bare \"bare\"");
    EXPECT_EQ(fmt("%@|%p~", (const char*)nullptr, ""), "\"\"|\"\"");
    EXPECT_EQ(fmt("%p~", "a\"b'c`d"), "a\"b'c`d") << "all three quote kinds and no blank: bare";
    // Anything else goes to the standard library with what is left, its LFs turned to spaces.
    EXPECT_EQ(fmt("%d %5.1f %s", 1, 2.25, "x\ny"), "1   2.2 x y");
    EXPECT_EQ(fmt("%d%lld", 7, 123456789012ll), "7123456789012");

    // Cut at size - 1, quoting forms without room for quotes, and a null format.
    char small[6];
    EXPECT_EQ(formatText(small, sizeof small, "%s", "abcdefgh"), 5);
    EXPECT_STREQ(small, "abcde");
    EXPECT_EQ(formatText(small, sizeof small, "abcd%@", "x y"), 5);
    EXPECT_STREQ(small, "abcdx");
    EXPECT_EQ(formatText(small, sizeof small, "%f", 123456.5), 5);
    EXPECT_STREQ(small, "12345");
    EXPECT_EQ(formatText(small, sizeof small, nullptr), 0);
    EXPECT_STREQ(small, "");
    EXPECT_EQ(formatText(small, 0, "x"), 0);
}

TEST(LineFormatTest, QuoteCharacterChoice) {
    EXPECT_EQ(quoteCharFor(nullptr, true), '"');
    EXPECT_EQ(quoteCharFor("", true), '"');
    EXPECT_EQ(quoteCharFor("plain", true), ' ');
    EXPECT_EQ(quoteCharFor("plain", false), '"');
    EXPECT_EQ(quoteCharFor("two words", true), '"');
    EXPECT_EQ(quoteCharFor("tab\there", true), '"');
    EXPECT_EQ(quoteCharFor("say \"hi\"", true), '\'');
    EXPECT_EQ(quoteCharFor("it's \"x\"", true), '`');
    EXPECT_EQ(quoteCharFor("a \"b' `c", true), 0);
    EXPECT_EQ(quoteCharFor("a\"b'`c", false), ' ') << "all three kinds without a blank go bare";
    for (const char* start : {"#comment", ";comment", "\"q", "'q", "`q"})
        EXPECT_NE(quoteCharFor(start, true), ' ') << start << " would not read back as itself";
    EXPECT_EQ(quoteCharFor("#x", true), '"');
}
