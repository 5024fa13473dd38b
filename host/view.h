// kelvane-host view: the room view of an instance of the plugin binary, as a PNG. The small view
// is painted by the binary itself through the vendor call a host uses for it; the window's modes
// are painted by the core library's paint on an instance holding the binary's state (taken out
// of the binary as a chunk), since the binary has no window here and exports one function.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum { VIEW_PICTURE_TOP, VIEW_PICTURE_SIDES, VIEW_PICTURE_ORBIT, VIEW_PICTURE_SMALL };

// A pointer gesture played on the view before it is drawn: the left button (or the right one)
// pressed at the first point, moved to the second in steps and let go there, with keys held; a
// double click at the first point.
enum : uint32_t { VIEW_DRAG_SHIFT = 1, VIEW_DRAG_CTRL = 2, VIEW_DRAG_ALT = 4 };
struct ViewDrag {
    int x0, y0, x1, y1;
    uint32_t keys;  // VIEW_DRAG_ bits
    bool right, doubleClick;
};

struct ViewOptions {
    std::string plugin;
    std::string layout, preset, state;  // at most one
    int channels = 0;                    // 0: the host's default
    int mode = VIEW_PICTURE_TOP;
    int width = 520, height = 520;
    int scale = 256;  // the window's scale, or the small view bitmap's
    bool yawGiven = false, pitchGiven = false;
    double yaw = 0.0, pitch = 0.0;
    std::vector<int> select;  // input numbers from 1
    std::vector<ViewDrag> drags;
    bool printState = false;  // print the positions and the selection after the drags
};

// [main thread] Parses the arguments after "view": false with a one-line reason naming the
// argument. The output path goes to *output.
bool parseViewOptions(int argc, char** argv, const std::string& defaultPlugin, ViewOptions* o, std::string* output,
                      std::string* error);

// [main thread] The picture as a PNG, after the drags; with printState, the plugin's positions and
// selection afterwards go to *state, one line each. False with a one-line reason.
bool renderRoomViewPng(const ViewOptions& o, std::vector<unsigned char>* png, std::string* state, std::string* error);

// kelvane-host view OUT.png [options]: argc and argv after the command's name. Exit code 0, or 2
// with one line on standard error and OUT left as it was.
int commandView(int argc, char** argv, const char* defaultPlugin);
