// The services a host offers a plugin by name that need nothing of the host itself: the fader
// curve, volume texts, system colours, the stable merge sort, bitmaps and fonts; and the user's
// configuration folder, where a host keeps its ini file. The reference host and the adapter both
// take their services from the one lookup below.
#pragma once

#include <cstddef>
#include <string>

struct HostService {
    const char* name;
    void* function;
};

// The services of this library, one row a name, as a plugin imports it; the drawing primitives
// have their own table, HOST_DRAWING_SERVICES (hostservices/draw_library.h).
extern const HostService HOST_SERVICES[];
extern const int HOST_SERVICE_COUNT;

// [any thread] The function offered under name, from either table, or null when this library
// has none by that name (a null name included). Services that belong to one host, such as its ini file and its
// translations, are the host's own to offer.
void* hostServiceFind(const char* name);

// The host's fader curve on 0..1000: DB2SLIDER and SLIDER2DB are each other's inverse within
// -150 dB .. +12 dB, 0 dB lying at about 794.
double hostDbToSlider(double dB);
double hostSliderToDb(double position);

// mkvolstr: the volume text of a linear gain, "+0.00 dB" or "-inf dB", into 32 bytes.
void hostVolumeText(char* buffer, double gain);

// [any thread] The ini file a program keeps in the user's configuration folder, as UTF-8:
// $XDG_CONFIG_HOME, else ~/.config, then "<program>/<program>.ini"; on Windows
// %APPDATA%\<program>\<program>.ini. A missing variable falls back to the working folder.
std::string userIniPath(const char* program);
