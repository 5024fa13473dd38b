// HostApi: the functions the host offers by name, imported once per process through the
// audioMaster callback, and that callback itself. A null slot means the host lacks the
// function; every caller tests its slot before each use. Read by every subsystem.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vst/aeffect.h"

struct MIRQ_IBitmap;
struct MIRQ_IFont;

// The host's lookup of a function by name: opcode HOST_LOOKUP_OPCODE, index HOST_LOOKUP_FUNCTION,
// ptr = the name. The same opcode with HOST_LOOKUP_QUERY and a value asks for a number.
constexpr int32_t HOST_LOOKUP_OPCODE = int32_t(0xDEADBEEF);
constexpr int32_t HOST_LOOKUP_FUNCTION = int32_t(0xDEADF00D);
constexpr int32_t HOST_LOOKUP_QUERY = int32_t(0xDEADF00E);
enum : intptr_t { HOST_QUERY_TRACK = 1, HOST_QUERY_EFFECT_HANDLE = 4, HOST_QUERY_CHANNEL_COUNT = 5 };

using MergesortCompare = int (*)(const void* a, const void* b);

// A key hook as the host keeps it: registered with plugin_register("<accelerator", record) and
// removed with "-accelerator". Before dispatching a message the host calls translate with it (a
// pointer to the system's message record); 1: the message is eaten, -1: it goes to the focused
// window past the host's own key bindings, 0: the host goes on as usual.
struct HostAccelerator {
    int (*translate)(void* message, HostAccelerator* record);
    int32_t local;  // 1: the hook is the plugin's own
    void* user;
};

struct HostApi {
    double (*DB2SLIDER)(double dB);
    double (*SLIDER2DB)(double position);
    const char* (*get_ini_file)();
    void (*mkvolstr)(char* buffer, double gain);
    int (*GSC_darkwrap)(int systemColourIndex);
    int (*GetWindowDPIScalingForDialog)(void* hwnd);
    int (*DoRenameDialogEx)(void* hwnd, const char* title, const char* prompt, char* buffer, int size);
    void (*SetWindowAccessibilityString)(void* hwnd, const char* text, int mode);
    void (*SetMenuItemAccessibilityString)(void* menu, int position, const char* text, int mode);
    int (*plugin_register)(const char* name, void* record);
    void (*vac_createGroupsFromTab)(const uint16_t* ids);
    const char* (*__localizeFunc)(const char* text, const char* section, int flags);
    void (*__localizeMenu)(const char* prefix, void* menu, int id);
    void (*__localizeInitializeDialog)(void* hwnd, const char* x);
    void* (*__localizePrepareDialog)(const char* prefix, void* module, const char* id, void* proc, void* param,
                                     void* buffer, int size);
    void (*__mergesort)(void* items, size_t count, size_t size, MergesortCompare compare, void* scratch);
    int (*fxGetSetPinMap2)(void* fx, int isOutput, uint32_t* map, int pinBase, int count);
    bool (*GetReceiveChannelInfo)(void* track, int pin, char* name, int size, int* colour);

    MIRQ_IBitmap* (*MIRQ_CreateBitmap)(int kind, int w, int h);
    void (*MIRQ_Clear)(MIRQ_IBitmap* dest, int colour);
    void (*MIRQ_FillRect)(MIRQ_IBitmap* dest, int x, int y, int w, int h, int colour, float alpha, int mode);
    void (*MIRQ_DrawRect)(MIRQ_IBitmap* dest, int x, int y, int w, int h, int colour, float alpha, int mode);
    void (*MIRQ_LineInt)(MIRQ_IBitmap* dest, int x1, int y1, int x2, int y2, int colour, float alpha, int mode,
                         bool aa);
    void (*MIRQ_Line)(MIRQ_IBitmap* dest, float x1, float y1, float x2, float y2, int colour, float alpha, int mode,
                      bool aa);
    void (*MIRQ_ThickFLine)(MIRQ_IBitmap* dest, double x1, double y1, double x2, double y2, int colour, float alpha,
                            int mode, bool aa, double thickness);
    void (*MIRQ_Circle)(MIRQ_IBitmap* dest, float cx, float cy, float r, int colour, float alpha, int mode, bool aa);
    void (*MIRQ_FillCircle)(MIRQ_IBitmap* dest, float cx, float cy, float r, int colour, float alpha, int mode,
                            bool aa);
    void (*MIRQ_FillTriangle)(MIRQ_IBitmap* dest, int x1, int y1, int x2, int y2, int x3, int y3, int colour,
                              float alpha, int mode);
    void (*MIRQ_FillConvexPolygon)(MIRQ_IBitmap* dest, const int* x, const int* y, int count, int colour, float alpha,
                                   int mode);
    void (*MIRQ_Blit)(MIRQ_IBitmap* dest, MIRQ_IBitmap* source, int destX, int destY, int sourceX, int sourceY, int w,
                      int h, float alpha, int mode);
    void (*MIRQ_RotatedBlit)(MIRQ_IBitmap* dest, MIRQ_IBitmap* source, int destX, int destY, int destW, int destH,
                             float sourceX, float sourceY, float sourceW, float sourceH, double angle, bool cliptosource,
                             float alpha, int mode, float rotationX, float rotationY);
    void (*MIRQ_DrawGlyph)(MIRQ_IBitmap* dest, int x, int y, int colour, const unsigned char* glyph, int w, int h,
                           float alpha, int mode);
    int (*MIRQ_GetPixel)(MIRQ_IBitmap* dest, int x, int y);
    void (*MIRQ_RGB2HSV)(int r, int g, int b, int* h, int* s, int* v);
    void (*MIRQ_HSV2RGB)(int h, int s, int v, int* r, int* g, int* b);
    MIRQ_IFont* (*MIRQ_CreateFont)();
};

// One row a host function: its name as the host knows it and its slot in HostApi.
struct HostApiName {
    const char* name;
    size_t slotOffset;
};
// Every importable name, in import order; the first three are imported before all others.
extern const HostApiName HOST_API_NAMES[];
extern const int HOST_API_NAME_COUNT;

// Process-wide: the callback of the most recent VSTPluginMain call, and the imported functions.
extern audioMasterCallback hostCallback;
extern HostApi hostApi;

// [host's instantiating thread] Writes to *slot what the host's lookup returns for name
// (null when the host does not offer it or has no callback).
void importHostFunction(void** slot, const char* name, audioMasterCallback host);
