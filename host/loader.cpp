#include "host/loader.h"

#include <cstdio>
#include <cstring>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

bool pluginLibraryOpen(PluginLibrary* library, const char* givenPath) {
    std::memset(library, 0, sizeof *library);
    // A bare file name means the file in the current folder, as for any other file argument,
    // not a search through the system's library paths.
    std::string named = givenPath;
    if (named.find_first_of("/\\") == std::string::npos && named.find(':') == std::string::npos) named = "./" + named;
    const char* path = named.c_str();
#if defined(_WIN32)
    int n = MultiByteToWideChar(CP_UTF8, 0, path, -1, nullptr, 0);
    wchar_t* widePath = new wchar_t[size_t(n > 0 ? n : 1)];
    widePath[0] = 0;
    MultiByteToWideChar(CP_UTF8, 0, path, -1, widePath, n);
    HMODULE module = LoadLibraryW(widePath);
    delete[] widePath;
    if (!module) {
        std::snprintf(library->error, sizeof library->error, "%s: cannot load library (error %lu)", path,
                      GetLastError());
        return false;
    }
    library->handle = module;
    library->main = reinterpret_cast<PluginMainProc>(reinterpret_cast<void*>(GetProcAddress(module, "VSTPluginMain")));
#else
    void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        std::snprintf(library->error, sizeof library->error, "%s", dlerror());
        return false;
    }
    library->handle = handle;
    library->main = reinterpret_cast<PluginMainProc>(dlsym(handle, "VSTPluginMain"));
#endif
    if (!library->main) {
        std::snprintf(library->error, sizeof library->error, "%s: no VSTPluginMain export", path);
        pluginLibraryClose(library);
        return false;
    }
    return true;
}

void pluginLibraryClose(PluginLibrary* library) {
    if (library->handle) {
#if defined(_WIN32)
        FreeLibrary(static_cast<HMODULE>(library->handle));
#else
        dlclose(library->handle);
#endif
    }
    library->handle = nullptr;
    library->main = nullptr;
}
