// The dialog template that windres put into the plugin DLL, read back from its resources and
// compared with the control table it was written from. Windows builds only.
#if defined(_WIN32)
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "editor/dialog_controls.h"
#include "tests/host/plugin_paths.h"

namespace {

// A reader of the extended dialog template's words, strings and ordinals.
struct TemplateReader {
    const uint8_t* data;
    size_t size;
    size_t at;
    bool bad;

    uint16_t word() {
        if (at + 2 > size) { bad = true; return 0; }
        uint16_t v;
        std::memcpy(&v, data + at, 2);
        at += 2;
        return v;
    }
    uint32_t dword() { uint32_t lo = word(); return lo | uint32_t(word()) << 16; }
    void align4() { at = (at + 3) & ~size_t(3); }
    // A string, or an ordinal given as "#n".
    std::string text() {
        uint16_t first = word();
        if (first == 0xFFFF) return "#" + std::to_string(word());
        std::string s;
        for (uint16_t c = first; c && !bad; c = word()) s += c < 0x80 ? char(c) : '?';
        return s;
    }
};

// The classes the resource compiler stores as ordinals.
std::string className(const std::string& stored) {
    if (stored == "#128") return "Button";
    if (stored == "#129") return "Edit";
    if (stored == "#130") return "Static";
    if (stored == "#133") return "ComboBox";
    return stored;
}

std::vector<uint8_t> dialogResource() {
    std::wstring path;
    for (char c : pluginPath()) path += wchar_t(c);
    HMODULE module = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (!module) return {};
    std::vector<uint8_t> bytes;
    HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(DIALOG_TEMPLATE_ID), MAKEINTRESOURCEW(5));
    if (found) {
        const uint8_t* data = static_cast<const uint8_t*>(LockResource(LoadResource(module, found)));
        if (data) bytes.assign(data, data + SizeofResource(module, found));
    }
    FreeLibrary(module);
    return bytes;
}

TEST(DialogTemplateTest, TheDllTemplateMatchesTheControlTable) {
    std::vector<uint8_t> bytes = dialogResource();
    ASSERT_FALSE(bytes.empty()) << "no dialog " << DIALOG_TEMPLATE_ID << " in " << pluginPath();
    TemplateReader r{bytes.data(), bytes.size(), 0, false};

    // Head: version 1, the extended signature, styles, count, size, menu, class, title, font.
    EXPECT_EQ(r.word(), 1);
    EXPECT_EQ(r.word(), 0xFFFF);
    r.dword();  // help id
    EXPECT_EQ(r.dword(), 0u) << "extended style";
    EXPECT_EQ(r.dword(), DIALOG_STYLE);
    uint16_t count = r.word();
    EXPECT_EQ(count, dialogControlTotal());
    r.word();
    r.word();
    EXPECT_EQ(r.word(), DIALOG_WIDTH_DU);
    EXPECT_EQ(r.word(), DIALOG_HEIGHT_DU);
    EXPECT_EQ(r.text(), "") << "menu";
    EXPECT_EQ(r.text(), "") << "class";
    EXPECT_EQ(r.text(), "") << "caption";
    EXPECT_EQ(r.word(), DIALOG_FONT_POINTS);
    r.word();
    r.word();  // italic, character set
    EXPECT_EQ(r.text(), DIALOG_FONT_FACE);

    for (int i = 0; i < count && !r.bad; i++) {
        DialogControl want;
        ASSERT_TRUE(dialogControlAt(i, &want)) << "the template has more controls than the table";
        r.align4();
        r.dword();  // help id
        uint32_t exStyle = r.dword();
        uint32_t style = r.dword();
        int16_t x = int16_t(r.word()), y = int16_t(r.word()), w = int16_t(r.word()), h = int16_t(r.word());
        int32_t id = int32_t(r.dword());
        std::string cls = className(r.text());
        std::string text = r.text();
        r.at += r.word();  // creation data
        SCOPED_TRACE("control " + std::to_string(i) + ", id " + std::to_string(want.id));
        EXPECT_EQ(id, want.id);
        EXPECT_EQ(exStyle, 0u);
        EXPECT_EQ(style, want.style | STYLE_CHILD | STYLE_VISIBLE);
        // The resource compiler writes class names in capitals; the system matches them in any case.
        EXPECT_EQ(_stricmp(cls.c_str(), want.className), 0) << cls << " for " << want.className;
        EXPECT_EQ(text, want.text);
        EXPECT_EQ(x, want.x);
        EXPECT_EQ(y, want.y);
        EXPECT_EQ(w, want.w);
        EXPECT_EQ(h, want.h);
    }
    EXPECT_FALSE(r.bad) << "the template ends early";
}

}  // namespace
#endif
