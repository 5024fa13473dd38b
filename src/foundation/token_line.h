// TokenLine: splits a line read from a state stream into tokens, in place. Blanks and tabs
// separate tokens; quotes (and the backtick, when allowed) hold blanks in; '#' and ';' start a
// comment unless they count as text. Used by the speaker preset reader.
#pragma once

#include "foundation/grow_buffer.h"

constexpr int TOKEN_INLINE_COUNT = 64;  // tokens held without the heap
constexpr int TOKEN_NUMBER_MAX = 511;   // characters of a token that number() reads

// Used by one thread at a time; it owns nothing of the line.
struct TokenLine {
    char* inlineTokens[TOKEN_INLINE_COUNT];
    GrowBuffer moreTokens;  // char*, the 65th token on
    int tokenCount;
    char* line;  // the line being cut up; not owned
};

// [any thread] Zero-fills and prepares a TokenLine; free releases what parsing grew.
void tokenLineInit(TokenLine* t);
void tokenLineFree(TokenLine* t);

// [any thread] Splits `line`, writing NULs into it; the tokens point into it. Returns 0; -1
// for a null line or when memory for tokens ran out; -2 (and no tokens) for a quote that is not
// closed, unless `allowOpenQuote`, which lets the token run to the end of the line.
int tokenLineParse(TokenLine* t, char* line, bool commentsAreText, bool allowBacktick, bool allowOpenQuote);

// [any thread] The number of tokens; token i, or "" past the end.
int tokenLineCount(const TokenLine* t);
const char* tokenLineText(const TokenLine* t, int i);
// [any thread] Token i as a decimal float, each ',' read as '.', whatever the locale; an
// empty token or one that is no number gives 0.0.
double tokenLineNumber(const TokenLine* t, int i);
// [any thread] Token i as a 32-bit integer: signed decimal after '-', hexadecimal after
// "0x", unsigned decimal otherwise, as far as the digits go (saturating).
int tokenLineInteger(const TokenLine* t, int i);
