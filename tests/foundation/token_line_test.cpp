#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/token_line.h"

namespace {

struct Parsed {
    int result;
    std::vector<std::string> tokens;
};

Parsed parse(std::string text, bool commentsAreText = false, bool backtick = true, bool openQuote = false) {
    TokenLine t;
    tokenLineInit(&t);
    Parsed p;
    p.result = tokenLineParse(&t, text.data(), commentsAreText, backtick, openQuote);
    for (int i = 0; i < tokenLineCount(&t); i++) p.tokens.push_back(tokenLineText(&t, i));
    tokenLineFree(&t);
    return p;
}

using Tokens = std::vector<std::string>;

}  // namespace

TEST(TokenLineTest, QuotesCommentsAndBlanks) {
    EXPECT_EQ(parse("  a\tb  c ").tokens, (Tokens{"a", "b", "c"}));
    EXPECT_EQ(parse("").tokens, Tokens{});
    EXPECT_EQ(parse("\"two words\" 'it \"x\"' `a'b` \"\"").tokens, (Tokens{"two words", "it \"x\"", "a'b", ""}));
    EXPECT_EQ(parse("`a b`", false, false).tokens, (Tokens{"`a", "b`"})) << "a backtick is plain unless allowed";
    EXPECT_EQ(parse("x\"y z").tokens, (Tokens{"x\"y", "z"})) << "quotes inside a bare token mean nothing";
    EXPECT_EQ(parse("a # rest").tokens, Tokens{"a"});
    EXPECT_EQ(parse("a ;rest").tokens, Tokens{"a"});
    EXPECT_EQ(parse("a b#c").tokens, (Tokens{"a", "b#c"})) << "only a token's first character starts a comment";
    EXPECT_EQ(parse("a # rest", true).tokens, (Tokens{"a", "#", "rest"}));

    Parsed open = parse("a \"open end");
    EXPECT_EQ(open.result, -2);
    EXPECT_TRUE(open.tokens.empty());
    open = parse("a \"open end", false, true, true);
    EXPECT_EQ(open.result, 0);
    EXPECT_EQ(open.tokens, (Tokens{"a", "open end"}));

    TokenLine t;
    tokenLineInit(&t);
    EXPECT_EQ(tokenLineParse(&t, nullptr, false, false, false), -1);
    EXPECT_STREQ(tokenLineText(&t, 0), "");
    tokenLineFree(&t);
}

TEST(TokenLineTest, SeventyTokensAndReuse) {
    std::string line;
    for (int i = 0; i < 70; i++) line += "t" + std::to_string(i) + " ";
    TokenLine t;
    tokenLineInit(&t);
    ASSERT_EQ(tokenLineParse(&t, line.data(), false, false, false), 0);
    ASSERT_EQ(tokenLineCount(&t), 70);
    for (int i = 0; i < 70; i++) EXPECT_EQ(std::string(tokenLineText(&t, i)), "t" + std::to_string(i));
    EXPECT_STREQ(tokenLineText(&t, 70), "");
    EXPECT_STREQ(tokenLineText(&t, -1), "");
    // A second, shorter line leaves nothing of the first behind.
    std::string second = "only";
    ASSERT_EQ(tokenLineParse(&t, second.data(), false, false, false), 0);
    EXPECT_EQ(tokenLineCount(&t), 1);
    EXPECT_STREQ(tokenLineText(&t, 64), "");
    tokenLineFree(&t);
}

TEST(TokenLineTest, NumbersAndIntegers) {
    std::string line = "1,5 -0.25 2e3 '' x 42 -17 0x1F 0XfF 4294967295 99999999999 -99999999999 12ab";
    TokenLine t;
    tokenLineInit(&t);
    ASSERT_EQ(tokenLineParse(&t, line.data(), false, false, false), 0);
    EXPECT_DOUBLE_EQ(tokenLineNumber(&t, 0), 1.5) << "a decimal comma reads as a point";
    EXPECT_DOUBLE_EQ(tokenLineNumber(&t, 1), -0.25);
    EXPECT_DOUBLE_EQ(tokenLineNumber(&t, 2), 2000.0);
    EXPECT_DOUBLE_EQ(tokenLineNumber(&t, 3), 0.0);
    EXPECT_DOUBLE_EQ(tokenLineNumber(&t, 4), 0.0);
    EXPECT_DOUBLE_EQ(tokenLineNumber(&t, 99), 0.0);
    EXPECT_EQ(tokenLineInteger(&t, 5), 42);
    EXPECT_EQ(tokenLineInteger(&t, 6), -17);
    EXPECT_EQ(tokenLineInteger(&t, 7), 31);
    EXPECT_EQ(tokenLineInteger(&t, 8), 255);
    EXPECT_EQ(uint32_t(tokenLineInteger(&t, 9)), 4294967295u);
    EXPECT_EQ(uint32_t(tokenLineInteger(&t, 10)), 4294967295u) << "saturates at 32 bits";
    EXPECT_EQ(tokenLineInteger(&t, 11), -2147483647 - 1);
    EXPECT_EQ(tokenLineInteger(&t, 12), 12);
    EXPECT_EQ(tokenLineInteger(&t, 4), 0);
    tokenLineFree(&t);

    std::string longNumber = "0." + std::string(600, '5');
    tokenLineInit(&t);
    ASSERT_EQ(tokenLineParse(&t, longNumber.data(), false, false, false), 0);
    EXPECT_NEAR(tokenLineNumber(&t, 0), 0.5555555555, 1e-9) << "read from its first 511 characters";
    tokenLineFree(&t);
}
