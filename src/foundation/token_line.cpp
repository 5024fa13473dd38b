#include "foundation/token_line.h"

#include <cstdint>
#include <cstring>

#include "foundation/numbers.h"

void tokenLineInit(TokenLine* t) {
    std::memset(t, 0, sizeof *t);
    growBufferInit(&t->moreTokens);
}

void tokenLineFree(TokenLine* t) {
    growBufferFree(&t->moreTokens);
    t->tokenCount = 0;
}

static bool addToken(TokenLine* t, char* token) {
    if (t->tokenCount < TOKEN_INLINE_COUNT) {
        t->inlineTokens[t->tokenCount++] = token;
        return true;
    }
    if (!growBufferAppend(&t->moreTokens, &token, sizeof token)) return false;
    t->tokenCount++;
    return true;
}

int tokenLineParse(TokenLine* t, char* line, bool commentsAreText, bool allowBacktick, bool allowOpenQuote) {
    t->tokenCount = 0;
    growBufferResize(&t->moreTokens, 0);
    t->line = line;
    if (!line) return -1;
    char* p = line;
    for (;;) {
        while (*p == ' ' || *p == '\t') p++;
        if (!*p) return 0;
        char c = *p;
        if (!commentsAreText && (c == '#' || c == ';')) return 0;
        bool quoted = c == '"' || c == '\'' || (allowBacktick && c == '`');
        char* token = quoted ? p + 1 : p;
        char* end = token;
        if (quoted) {
            while (*end && *end != c) end++;
            if (!*end && !allowOpenQuote) {
                t->tokenCount = 0;
                return -2;
            }
        } else {
            while (*end && *end != ' ' && *end != '\t') end++;
        }
        bool atLineEnd = !*end;
        *end = 0;
        if (!addToken(t, token)) return -1;
        if (atLineEnd) return 0;
        p = end + 1;
    }
}

int tokenLineCount(const TokenLine* t) { return t->tokenCount; }

const char* tokenLineText(const TokenLine* t, int i) {
    if (i < 0 || i >= t->tokenCount) return "";
    if (i < TOKEN_INLINE_COUNT) return t->inlineTokens[i];
    return growItems<char*>(t->moreTokens)[i - TOKEN_INLINE_COUNT];
}

double tokenLineNumber(const TokenLine* t, int i) {
    char text[TOKEN_NUMBER_MAX + 1];
    const char* token = tokenLineText(t, i);
    int n = 0;
    for (; token[n] && n < TOKEN_NUMBER_MAX; n++) text[n] = token[n] == ',' ? '.' : token[n];
    text[n] = 0;
    return parseLeadingDouble(text);
}

int tokenLineInteger(const TokenLine* t, int i) {
    const char* p = tokenLineText(t, i);
    bool negative = *p == '-';
    bool hex = !negative && p[0] == '0' && (p[1] == 'x' || p[1] == 'X');
    p += negative ? 1 : hex ? 2 : 0;
    uint64_t limit = negative ? uint64_t(INT32_MAX) + 1 : UINT32_MAX;
    uint64_t value = 0;
    for (;; p++) {
        int digit;
        if (*p >= '0' && *p <= '9') digit = *p - '0';
        else if (hex && *p >= 'a' && *p <= 'f') digit = *p - 'a' + 10;
        else if (hex && *p >= 'A' && *p <= 'F') digit = *p - 'A' + 10;
        else break;
        value = value * (hex ? 16 : 10) + uint64_t(digit);
        if (value > limit) value = limit;
    }
    return negative ? int(-int64_t(value)) : int(uint32_t(value));
}
