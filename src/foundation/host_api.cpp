#include "foundation/host_api.h"

audioMasterCallback hostCallback = nullptr;
HostApi hostApi = {};

#define HOST_NAME(field) {#field, offsetof(HostApi, field)}
const HostApiName HOST_API_NAMES[] = {
    HOST_NAME(SetWindowAccessibilityString),
    HOST_NAME(DB2SLIDER),
    HOST_NAME(SLIDER2DB),
    HOST_NAME(get_ini_file),
    HOST_NAME(mkvolstr),
    HOST_NAME(GSC_darkwrap),
    HOST_NAME(GetWindowDPIScalingForDialog),
    HOST_NAME(DoRenameDialogEx),
    HOST_NAME(SetMenuItemAccessibilityString),
    HOST_NAME(plugin_register),
    HOST_NAME(vac_createGroupsFromTab),
    HOST_NAME(__localizeFunc),
    HOST_NAME(__localizeMenu),
    HOST_NAME(__localizeInitializeDialog),
    HOST_NAME(__localizePrepareDialog),
    HOST_NAME(__mergesort),
    HOST_NAME(fxGetSetPinMap2),
    HOST_NAME(GetReceiveChannelInfo),
    HOST_NAME(MIRQ_CreateBitmap),
    HOST_NAME(MIRQ_Clear),
    HOST_NAME(MIRQ_FillRect),
    HOST_NAME(MIRQ_DrawRect),
    HOST_NAME(MIRQ_LineInt),
    HOST_NAME(MIRQ_Line),
    HOST_NAME(MIRQ_ThickFLine),
    HOST_NAME(MIRQ_Circle),
    HOST_NAME(MIRQ_FillCircle),
    HOST_NAME(MIRQ_FillTriangle),
    HOST_NAME(MIRQ_FillConvexPolygon),
    HOST_NAME(MIRQ_Blit),
    HOST_NAME(MIRQ_RotatedBlit),
    HOST_NAME(MIRQ_DrawGlyph),
    HOST_NAME(MIRQ_GetPixel),
    HOST_NAME(MIRQ_RGB2HSV),
    HOST_NAME(MIRQ_HSV2RGB),
    HOST_NAME(MIRQ_CreateFont),
};
#undef HOST_NAME
const int HOST_API_NAME_COUNT = int(sizeof HOST_API_NAMES / sizeof HOST_API_NAMES[0]);
static_assert(sizeof HOST_API_NAMES / sizeof HOST_API_NAMES[0] == sizeof(HostApi) / sizeof(void*),
              "every HostApi slot has a name");

void importHostFunction(void** slot, const char* name, audioMasterCallback host) {
    *slot = host ? reinterpret_cast<void*>(host(nullptr, HOST_LOOKUP_OPCODE, HOST_LOOKUP_FUNCTION, 0,
                                                const_cast<char*>(name), 0.0f))
                 : nullptr;
}
