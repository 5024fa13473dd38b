// Win32 side of the window calls: real window classes of this module.
#include "platform/window.h"

#include <windows.h>

#include "platform/platform.h"
#include "platform/utf16_win32.h"

static HINSTANCE classInstance() {
    void* module = moduleHandle();
    return module ? static_cast<HINSTANCE>(module) : GetModuleHandleW(nullptr);
}

bool windowClassRegister(const char* name, void* windowProc) {
    std::wstring className = wide(name);
    WNDCLASSW wc = {};
    wc.style = CS_DBLCLKS;
    wc.lpfnWndProc = windowProc ? reinterpret_cast<WNDPROC>(windowProc) : DefWindowProcW;
    wc.hInstance = classInstance();
    wc.lpszClassName = className.c_str();
    return RegisterClassW(&wc) != 0;
}

bool windowClassUnregister(const char* name) {
    return UnregisterClassW(wide(name).c_str(), classInstance()) != 0;
}

bool windowClassRegistered(const char* name) {
    WNDCLASSW wc;
    return GetClassInfoW(classInstance(), wide(name).c_str(), &wc) != 0;
}
