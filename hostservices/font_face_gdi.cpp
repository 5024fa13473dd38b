// Font faces on Windows: GDI lays text out and renders it, white on black, into a memory DIB
// whose brightness is the coverage. A memory DC needs no display.
#include "hostservices/font_face.h"

#include <windows.h>

#include <cstring>
#include <string>

#include "platform/dib_win32.h"

struct FontFace {
    HDC dc;
    HGDIOBJ previousFont;
    int lineHeight;
};

namespace {

std::wstring wideText(const char* text, int count) {
    if (count <= 0) return std::wstring();
    int n = MultiByteToWideChar(CP_UTF8, 0, text, count, nullptr, 0);
    if (n <= 0) return std::wstring();
    std::wstring out(size_t(n), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text, count, &out[0], n);
    return out;
}

}  // namespace

FontFace* fontFaceOpen(void* systemFont) {
    if (!systemFont) return nullptr;
    HDC dc = CreateCompatibleDC(nullptr);
    if (!dc) return nullptr;
    HGDIOBJ previous = SelectObject(dc, static_cast<HFONT>(systemFont));
    TEXTMETRICW metrics = {};
    if (!previous || !GetTextMetricsW(dc, &metrics)) {
        if (previous) SelectObject(dc, previous);
        DeleteDC(dc);
        return nullptr;
    }
    return new FontFace{dc, previous, int(metrics.tmHeight)};
}

void fontFaceClose(FontFace* f) {
    if (!f) return;
    SelectObject(f->dc, f->previousFont);
    DeleteDC(f->dc);
    delete f;
}

int fontFaceLineHeight(FontFace* f) { return f->lineHeight; }

void fontFaceMeasure(FontFace* f, const char* text, int count, int dtFlags, int* width, int* height) {
    std::wstring wide = wideText(text, count);
    RECT r = {0, 0, 0, 0};
    *height = DrawTextW(f->dc, wide.c_str(), int(wide.size()), &r, UINT(dtFlags | DT_CALCRECT));
    *width = int(r.right - r.left);
}

int fontFaceRender(FontFace* f, const char* text, int count, int dtFlags, const TextRect& box, uint8_t* mask,
                   int maskWidth, int maskHeight) {
    if (maskWidth <= 0 || maskHeight <= 0) return 0;
    BITMAPINFO info = dibInfo32(maskWidth, maskHeight);  // top-down, as the mask
    void* bits = nullptr;
    HBITMAP dib = CreateDIBSection(f->dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!dib || !bits) return 0;
    HGDIOBJ previous = SelectObject(f->dc, dib);
    std::memset(bits, 0, size_t(maskWidth) * size_t(maskHeight) * 4);
    SetTextColor(f->dc, RGB(255, 255, 255));
    SetBkMode(f->dc, TRANSPARENT);
    std::wstring wide = wideText(text, count);
    RECT r = {box.left, box.top, box.right, box.bottom};
    int height = DrawTextW(f->dc, wide.c_str(), int(wide.size()), &r, UINT(dtFlags & ~DT_CALCRECT));
    GdiFlush();
    // Sub-pixel rendering colours the edges: the brightest channel is the coverage.
    const uint8_t* p = static_cast<const uint8_t*>(bits);
    for (size_t i = 0, n = size_t(maskWidth) * size_t(maskHeight); i < n; i++, p += 4) {
        uint8_t c = p[0] > p[1] ? p[0] : p[1];
        c = c > p[2] ? c : p[2];
        mask[i] = uint8_t(mask[i] + c > 255 ? 255 : mask[i] + c);
    }
    SelectObject(f->dc, previous);
    DeleteObject(dib);
    return height;
}
