// Font faces on Linux: FreeType renders the Liberation faces, which have the metrics of the
// Windows core fonts, so text takes about the room it takes there.
#include "hostservices/font_face.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_TRUETYPE_TABLES_H

#include <strings.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/platform.h"

struct FontFace {
    FT_Library library;
    FT_Face face;
    int ascent;   // pixels above the baseline
    int descent;  // pixels below it
};

namespace {

const char* const FACE_FOLDERS[] = {"/usr/share/fonts/truetype/liberation", "/usr/share/fonts/truetype/liberation2"};

// The Liberation family that stands in for a face name: Arial and unknown names take the sans.
const char* familyFor(const char* faceName) {
    static const char* const MONO[] = {"Courier New", "Courier", "Liberation Mono", "Lucida Console", "Consolas"};
    static const char* const SERIF[] = {"Times New Roman", "Times", "Liberation Serif", "Georgia"};
    for (const char* name : MONO)
        if (!strcasecmp(faceName, name)) return "LiberationMono";
    for (const char* name : SERIF)
        if (!strcasecmp(faceName, name)) return "LiberationSerif";
    return "LiberationSans";
}

bool openFaceFile(FontFace* f, const FontDescription& d) {
    const char* style = d.weight >= 600 ? (d.italic ? "BoldItalic" : "Bold") : (d.italic ? "Italic" : "Regular");
    std::string file = std::string(familyFor(d.faceName)) + "-" + style + ".ttf";
    for (const char* folder : FACE_FOLDERS)
        if (!FT_New_Face(f->library, (std::string(folder) + "/" + file).c_str(), 0, &f->face)) return true;
    f->face = nullptr;
    return false;
}

// A height above 0 is the cell (ascent plus descent), as the face's own ascender and descender
// give it; below 0 the em; 0 the system's usual 12-pixel cell. A width scales the average
// character width to it.
bool sizeFace(FontFace* f, const FontDescription& d) {
    FT_Face face = f->face;
    FT_Size_RequestRec request = {};
    int height = d.height ? d.height : 12;
    request.type = height > 0 ? FT_SIZE_REQUEST_TYPE_REAL_DIM : FT_SIZE_REQUEST_TYPE_NOMINAL;
    request.height = FT_Long(height > 0 ? height : -height) << 6;
    const TT_OS2* os2 = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
    if (d.width > 0 && os2 && os2->xAvgCharWidth > 0) {
        long units = height > 0 ? face->ascender - face->descender : face->units_per_EM;
        request.width = FT_Long(int64_t(d.width) * units * 64 / os2->xAvgCharWidth);
    }
    if (FT_Request_Size(face, &request)) return false;
    FT_Fixed scale = face->size->metrics.y_scale;
    f->ascent = int((FT_MulFix(face->ascender, scale) + 32) >> 6);
    f->descent = int((FT_MulFix(-face->descender, scale) + 32) >> 6);
    return true;
}

// One UTF-8 sequence from text[*at] on, *at moved past it; bad bytes each give U+FFFD.
uint32_t nextCodePoint(const unsigned char* text, int count, int* at) {
    unsigned char c = text[(*at)++];
    if (c < 0x80) return c;
    int extra = c >= 0xF0 && c < 0xF8 ? 3 : c >= 0xE0 ? 2 : c >= 0xC2 && c < 0xE0 ? 1 : -1;
    if (extra < 0 || *at + extra > count) return 0xFFFD;
    uint32_t value = c & (0x3F >> extra);
    for (int i = 0; i < extra; i++) {
        unsigned char next = text[*at + i];
        if ((next & 0xC0) != 0x80) return 0xFFFD;
        value = (value << 6) | (next & 0x3F);
    }
    *at += extra;
    return value;
}

// The text as lines of code points: prefixes taken out, line breaks applied.
std::vector<std::vector<uint32_t>> splitLines(const char* text, int count, int dtFlags) {
    std::vector<std::vector<uint32_t>> lines(1);
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(text);
    bool prefixes = !(dtFlags & MIRQ_DT_NOPREFIX), single = dtFlags & MIRQ_DT_SINGLELINE;
    for (int at = 0; at < count;) {
        uint32_t c = nextCodePoint(bytes, count, &at);
        if (c == '&' && prefixes) {
            if (at >= count || bytes[at] != '&') continue;
            at++;
        }
        if (c == '\r') continue;
        if (c == '\n') {
            if (!single) lines.emplace_back();
            continue;
        }
        lines.back().push_back(c == '\t' ? ' ' : c);
    }
    return lines;
}

// Width of a line in pixels, from the hinted advances.
int lineWidth(FT_Face face, const std::vector<uint32_t>& line) {
    FT_Pos pen = 0;
    for (uint32_t c : line)
        if (!FT_Load_Char(face, c, FT_LOAD_DEFAULT)) pen += face->glyph->advance.x;
    return int((pen + 32) >> 6);
}

}  // namespace

FontFace* fontFaceOpen(void* systemFont) {
    FontDescription d;
    if (!fontDescribe(systemFont, &d)) return nullptr;
    FontFace* f = new FontFace{};
    if (FT_Init_FreeType(&f->library)) {
        delete f;
        return nullptr;
    }
    if (!openFaceFile(f, d) || !sizeFace(f, d)) {
        fontFaceClose(f);
        return nullptr;
    }
    return f;
}

void fontFaceClose(FontFace* f) {
    if (!f) return;
    if (f->face) FT_Done_Face(f->face);
    FT_Done_FreeType(f->library);
    delete f;
}

int fontFaceLineHeight(FontFace* f) { return f->ascent + f->descent; }

void fontFaceMeasure(FontFace* f, const char* text, int count, int dtFlags, int* width, int* height) {
    std::vector<std::vector<uint32_t>> lines = splitLines(text, count, dtFlags);
    int widest = 0;
    for (const auto& line : lines) {
        int w = lineWidth(f->face, line);
        if (w > widest) widest = w;
    }
    *width = widest;
    *height = int(lines.size()) * fontFaceLineHeight(f);
}

int fontFaceRender(FontFace* f, const char* text, int count, int dtFlags, const TextRect& box, uint8_t* mask,
                   int maskWidth, int maskHeight) {
    std::vector<std::vector<uint32_t>> lines = splitLines(text, count, dtFlags);
    int lineHeight = fontFaceLineHeight(f);
    int total = int(lines.size()) * lineHeight;
    int top = box.top;
    if (dtFlags & MIRQ_DT_SINGLELINE) {
        if (dtFlags & MIRQ_DT_BOTTOM) top = box.bottom - total;
        else if (dtFlags & MIRQ_DT_VCENTER) top = box.top + (box.bottom - box.top - total) / 2;
    }
    for (const auto& line : lines) {
        int w = lineWidth(f->face, line);
        int x = dtFlags & MIRQ_DT_RIGHT ? box.right - w
                : dtFlags & MIRQ_DT_CENTER ? box.left + (box.right - box.left - w) / 2
                                           : box.left;
        int baseline = top + f->ascent;
        FT_Pos pen = FT_Pos(x) << 6;
        for (uint32_t c : line) {
            if (FT_Load_Char(f->face, c, FT_LOAD_RENDER)) continue;
            FT_GlyphSlot g = f->face->glyph;
            const FT_Bitmap& b = g->bitmap;
            int left = int((pen + 32) >> 6) + g->bitmap_left, row0 = baseline - g->bitmap_top;
            for (unsigned r = 0; r < b.rows; r++) {
                int y = row0 + int(r);
                if (y < 0 || y >= maskHeight) continue;
                const unsigned char* src = b.buffer + ptrdiff_t(r) * b.pitch;
                for (unsigned col = 0; col < b.width; col++) {
                    int xx = left + int(col);
                    if (xx < 0 || xx >= maskWidth || !src[col]) continue;
                    uint8_t& m = mask[size_t(y) * size_t(maskWidth) + size_t(xx)];
                    m = uint8_t(m + src[col] > 255 ? 255 : m + src[col]);
                }
            }
            pen += g->advance.x;
        }
        top += lineHeight;
    }
    return total;
}
