// The adapter library's only export and, on Windows, its attach hook.
#include "adapter/adapter.h"
#include "platform/platform.h"

#if defined(_WIN32)
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) setModuleHandle(instance);
    if (reason == DLL_PROCESS_DETACH) adapterDetach();
    return TRUE;
}
#define KVP_EXPORT extern "C" __declspec(dllexport)
#else
#define KVP_EXPORT extern "C" __attribute__((visibility("default")))
#endif

KVP_EXPORT AEffect* VST_CALL VSTPluginMain(audioMasterCallback host) { return adapterMain(host); }
