// POSIX side of the window calls: a name list standing in for the system's window classes.
#include "platform/window.h"

#include <mutex>
#include <set>
#include <string>

// The system's window-class table, as far as this module has filled it.
struct WindowClassTable {
    std::mutex mutex;
    std::set<std::string> names;
};
static WindowClassTable& windowClasses() {
    static WindowClassTable table;
    return table;
}

bool windowClassRegister(const char* name, void*) {
    WindowClassTable& t = windowClasses();
    std::lock_guard<std::mutex> hold(t.mutex);
    return t.names.insert(name).second;
}

bool windowClassUnregister(const char* name) {
    WindowClassTable& t = windowClasses();
    std::lock_guard<std::mutex> hold(t.mutex);
    return t.names.erase(name) > 0;
}

bool windowClassRegistered(const char* name) {
    WindowClassTable& t = windowClasses();
    std::lock_guard<std::mutex> hold(t.mutex);
    return t.names.count(name) > 0;
}
