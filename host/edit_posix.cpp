// kelvane-host edit where there are no Windows dialogs.
#include "host/edit.h"

#include <cstdio>

int commandEdit(int, char**, const char*) {
    std::fprintf(stderr, "kelvane-host: edit: the editor is a Windows dialog; run kelvane-host.exe on Windows or under wine\n");
    return 2;
}
