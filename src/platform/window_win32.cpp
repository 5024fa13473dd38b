// Win32 side of the window calls: real window classes of this module, narrow ones, as their
// procedures are (the names are ASCII).
#include "platform/window.h"

#include <windows.h>

#include "platform/platform.h"

static HINSTANCE classInstance() {
    void* module = moduleHandle();
    return module ? static_cast<HINSTANCE>(module) : GetModuleHandleW(nullptr);
}

bool windowClassRegister(const char* name, void* windowProc) {
    WNDCLASSA wc = {};
    wc.style = CS_DBLCLKS;
    wc.lpfnWndProc = windowProc ? reinterpret_cast<WNDPROC>(windowProc) : DefWindowProcA;
    wc.hInstance = classInstance();
    wc.lpszClassName = name;
    return RegisterClassA(&wc) != 0;
}

bool windowClassUnregister(const char* name) {
    return UnregisterClassA(name, classInstance()) != 0;
}

bool windowClassRegistered(const char* name) {
    WNDCLASSA wc;
    return GetClassInfoA(classInstance(), name, &wc) != 0;
}
