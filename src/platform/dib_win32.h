// The header of a 32-bit device-independent bitmap, as every picture that goes between our
// pixels and GDI is laid out. For the Win32 units of src/ and of the host only; never include it
// from a shared header.
#pragma once

#include <windows.h>

// [any thread] A 32-bit, uncompressed, one-plane header of width by rows pixels; rows run top
// down unless topDown is false.
inline BITMAPINFO dibInfo32(int width, int rows, bool topDown = true) {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = topDown ? -rows : rows;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}
