// ButtonSkin: the picture record the host's hot-track buttons take, seven machine words with a
// bitmap of three frames first. Owned by the effect object; filled and freed by the dialog.
#pragma once

struct MIRQ_IBitmap;

struct ButtonSkin {
    MIRQ_IBitmap* bitmap;
    void* reserved[6];
};

// The skins of the channel strips' buttons.
struct StripControls {
    ButtonSkin mute[2];
    ButtonSkin solo[2];
    ButtonSkin reverseX[4];
    ButtonSkin reverseY[4];
    ButtonSkin reverseZ[4];
};
