// The Win32 adapters of the text layer against the real system (wine on the build machines):
// files and folders in Greek, Chinese and emoji and past 256 bytes, ini files at plain and at
// UTF-8 paths, combo boxes, edit fields, top-level titles and menus. Windows builds only; the
// window tests skip without a display.
#ifdef _WIN32
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/platform.h"
#include "platform/utf8_win32.h"
#include "support/temp_dir.h"

namespace {

const char* const GREEK = "\xCE\x97\xCF\x87\xCE\xB5\xCE\xAF\xCE\xB1";       // Ηχεία
const char* const CHINESE = "\xE6\x89\xAC\xE5\xA3\xB0\xE5\x99\xA8";           // 扬声器
const char* const EMOJI = "\xF0\x9F\x8E\xB5\xF0\x9F\x94\x8A";                 // 🎵🔊
const wchar_t* const GREEK_WIDE = L"\u0397\u03C7\u03B5\u03AF\u03B1";
const wchar_t* const EMOJI_WIDE = L"\U0001F3B5\U0001F50A";

// What a folder scan lists, sorted, without "." and "..".
std::vector<std::string> listed(const std::string& folder) {
    std::vector<std::string> names;
    folderScan(
        folder.c_str(),
        [](const char* name, void* context) {
            if (std::string(name) != "." && std::string(name) != "..")
                static_cast<std::vector<std::string>*>(context)->push_back(name);
        },
        &names);
    std::sort(names.begin(), names.end());
    return names;
}

bool existsOnDisk(const std::string& utf8) {
    return std::filesystem::exists(std::filesystem::path(reinterpret_cast<const char8_t*>(utf8.c_str())));
}

// A plain top-level window of a narrow class, the parent of the controls under test.
struct TestWindow {
    HWND window = nullptr;
    TestWindow() {
        WNDCLASSA wc = {};
        wc.lpfnWndProc = DefWindowProcA;
        wc.hInstance = GetModuleHandleA(nullptr);
        wc.lpszClassName = "Utf8TestWindow";
        RegisterClassA(&wc);
        window = CreateWindowExA(0, "Utf8TestWindow", "", WS_OVERLAPPEDWINDOW, 0, 0, 400, 300, nullptr, nullptr,
                                 wc.hInstance, nullptr);
    }
    ~TestWindow() {
        if (window) DestroyWindow(window);
        UnregisterClassA("Utf8TestWindow", GetModuleHandleA(nullptr));
    }
    // A child control of a system class, made wide (as the editor dialog makes its items) or narrow.
    HWND child(const char* className, DWORD style, int id, bool wide) {
        std::wstring wideClass(className, className + std::strlen(className));
        HMENU menu = reinterpret_cast<HMENU>(intptr_t(id));
        style |= WS_CHILD;
        return wide ? CreateWindowExW(0, wideClass.c_str(), L"", style, 0, 0, 200, 200, window, menu, nullptr, nullptr)
                    : CreateWindowExA(0, className, "", style, 0, 0, 200, 200, window, menu, nullptr, nullptr);
    }
};

std::wstring wideText(HWND window) {
    wchar_t text[256] = {0};
    GetWindowTextW(window, text, 256);
    return text;
}

// Watches the end of a hooked combo box from above the hook: the properties and the procedure as
// the hook leaves them on WM_NCDESTROY, while the window still exists.
WNDPROC watchedNext = nullptr;
bool propertiesLeft = true;
LONG_PTR procedureAtEnd = 0;
LRESULT CALLBACK watchEnd(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    LRESULT result = CallWindowProcA(watchedNext, window, message, wParam, lParam);
    if (message == WM_NCDESTROY) {
        propertiesLeft = GetPropA(window, "QVXUTF8OldProc") || GetPropA(window, "QVXUTF8OldProcW");
        procedureAtEnd = GetWindowLongPtrA(window, GWLP_WNDPROC);
    }
    return result;
}

}  // namespace

TEST(Utf8Win32Test, FilesAndFoldersInAnyScript) {
    TempDir dir;
    std::string base = dir.path.string();
    for (const char* name : {GREEK, CHINESE, EMOJI}) {
        SCOPED_TRACE(name);
        std::string folder = base + "\\" + name;
        ASSERT_TRUE(CreateDirectoryUtf8(folder.c_str(), nullptr));
        EXPECT_TRUE(existsOnDisk(folder)) << "the folder has its real name";
        EXPECT_TRUE(folderCreate(folder.c_str())) << "an existing folder counts as made";

        std::string file = folder + "/" + name + ".txt";
        FileHandle h = fileOpen(file.c_str(), FILEMODE_WRITE | FILEMODE_CREATE, nullptr);
        ASSERT_NE(h, FILE_HANDLE_NONE);
        fileClose(h);
        EXPECT_EQ(listed(folder), std::vector<std::string>{std::string(name) + ".txt"}) << "names come back in UTF-8";

        std::string moved = folder + "/" + CHINESE + "-" + name;
        EXPECT_TRUE(MoveFileUtf8(file.c_str(), moved.c_str()));
        EXPECT_TRUE(existsOnDisk(moved));
        EXPECT_TRUE(DeleteFileUtf8(moved.c_str()));
        EXPECT_FALSE(DeleteFileUtf8(moved.c_str()));
        EXPECT_TRUE(listed(folder).empty());
    }
}

TEST(Utf8Win32Test, FolderOfPlainBytesPast256TakesTheWideCallsWithItsPrefix) {
    TempDir dir;
    // Two levels, each below the 255 bytes a name may have, with forward slashes as a caller
    // may write them; the whole is past 256 bytes.
    std::string first = dir.path.string() + "/" + std::string(200, 'p');
    std::string folder = first + "/" + std::string(std::max<size_t>(60, 300 - first.size()), 'q');
    ASSERT_GE(folder.size(), 256u);
    ASSERT_TRUE(CreateDirectoryUtf8(first.c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryUtf8(folder.c_str(), nullptr));
    EXPECT_TRUE(folderCreate((folder + "/").c_str()));
    std::string file = folder + "/Stereo.BrasselSpeakerSetup";
    FileHandle h = fileOpen(file.c_str(), FILEMODE_WRITE | FILEMODE_CREATE, nullptr);
    ASSERT_NE(h, FILE_HANDLE_NONE);
    fileClose(h);

    DirectoryScanUtf8 scan;
    ASSERT_TRUE(directoryScanOpenUtf8(&scan, (folder + "\\").c_str()));
    EXPECT_TRUE(scan.wide) << "the wide call comes first, whatever the name holds";
    directoryScanCloseUtf8(&scan);
    EXPECT_EQ(listed(folder), std::vector<std::string>{"Stereo.BrasselSpeakerSetup"});

    std::string moved = folder + "/" + GREEK + ".BrasselSpeakerSetup";
    EXPECT_TRUE(fileMove(file.c_str(), moved.c_str()));
    EXPECT_EQ(listed(folder), std::vector<std::string>{std::string(GREEK) + ".BrasselSpeakerSetup"});
    EXPECT_TRUE(fileDelete(moved.c_str()));
    EXPECT_TRUE(listed(folder).empty());
    EXPECT_FALSE(directoryScanOpenUtf8(&scan, (folder + "/missing").c_str()));
}

TEST(Utf8Win32Test, IniAtAPlainPathKeepsUtf8BytesAndAtAUtf8PathGoesWide) {
    TempDir dir;
    std::string value = std::string(GREEK) + " " + CHINESE + " " + EMOJI;

    // A plain path: the narrow calls, and the value's bytes go to the file and back unchanged.
    std::string plain = dir.file("host.ini");
    ASSERT_TRUE(WritePrivateProfileStringUtf8("kelvane", "name", value.c_str(), plain.c_str()));
    EXPECT_NE(dir.read("host.ini").find("name=" + value), std::string::npos) << dir.read("host.ini");
    char out[256];
    EXPECT_EQ(GetPrivateProfileStringUtf8("kelvane", "name", "", out, sizeof out, plain.c_str()), DWORD(value.size()));
    EXPECT_EQ(std::string(out), value);

    // A UTF-8 path: the wide calls, whatever the value holds. The system keeps a file in its
    // code page unless the file is UTF-16, so this one starts as an empty UTF-16 file.
    std::string folder = dir.file(GREEK);
    ASSERT_TRUE(CreateDirectoryUtf8(folder.c_str(), nullptr));
    std::string named = folder + "\\" + CHINESE + ".ini";
    FileHandle bom = fileOpen(named.c_str(), FILEMODE_WRITE | FILEMODE_CREATE, nullptr);
    ASSERT_NE(bom, FILE_HANDLE_NONE);
    fileWriteAt(bom, "\xFF\xFE", 2, 0);
    fileClose(bom);
    ASSERT_TRUE(WritePrivateProfileStringUtf8("kelvane", "name", value.c_str(), named.c_str()));
    ASSERT_TRUE(WritePrivateProfileStringUtf8(GREEK, CHINESE, "0x10", named.c_str()));
    EXPECT_EQ(GetPrivateProfileStringUtf8("kelvane", "name", "", out, sizeof out, named.c_str()), DWORD(value.size()));
    EXPECT_EQ(std::string(out), value);
    EXPECT_EQ(GetPrivateProfileIntUtf8(GREEK, CHINESE, 0, named.c_str()), 16u) << "section and key in UTF-8";
    EXPECT_EQ(GetPrivateProfileStringUtf8("kelvane", "missing", EMOJI, out, sizeof out, named.c_str()), 8u);
    EXPECT_STREQ(out, EMOJI) << "the default converts too";

    // A list ends with two NULs; room for the NULs alone gives zeros; a value that doesn't fit
    // reads as empty.
    char list[64];
    std::fill(std::begin(list), std::end(list), '#');
    DWORD n = GetPrivateProfileStringUtf8(nullptr, nullptr, "", list, sizeof list, named.c_str());
    EXPECT_EQ(std::string(list, n + 2), std::string("kelvane\0", 8) + GREEK + std::string("\0\0\0", 3));
    std::fill(std::begin(list), std::end(list), '#');
    EXPECT_EQ(GetPrivateProfileStringUtf8("kelvane", nullptr, "", list, 2, named.c_str()), 0u);
    EXPECT_EQ(list[0], 0);
    EXPECT_EQ(list[2], '#') << "two NULs and no more";
    std::fill(std::begin(list), std::end(list), '#');
    EXPECT_EQ(GetPrivateProfileStringUtf8("kelvane", "name", "", list, 10, named.c_str()), 0u);
    EXPECT_EQ(list[0], 0);

    // The platform's ini calls on the same file.
    char text[64];
    EXPECT_EQ(iniReadString(named.c_str(), "KELVANE", "NAME", "", text, sizeof text), int(value.size()));
    EXPECT_EQ(std::string(text), value);
}

TEST(Utf8Win32Test, HookedComboBoxTakesAndGivesUtf8) {
    TestWindow parent;
    if (!parent.window) GTEST_SKIP() << "no window can be made here (no display)";
    for (bool wide : {true, false}) {
        SCOPED_TRACE(wide ? "a wide combo box" : "a narrow combo box");
        HWND combo = parent.child("ComboBox", CBS_DROPDOWNLIST | WS_VSCROLL, 1131, wide);
        ASSERT_NE(combo, nullptr);
        hookComboUtf8(combo);
        HANDLE hookedProc = GetPropA(combo, "QVXUTF8OldProc");
        EXPECT_NE(hookedProc, nullptr);
        EXPECT_NE(GetPropA(combo, "QVXUTF8OldProcW"), nullptr);
        hookComboUtf8(combo);
        EXPECT_EQ(GetPropA(combo, "QVXUTF8OldProc"), hookedProc) << "a second hook changes nothing";

        for (const char* item : {GREEK, CHINESE, EMOJI, "Plain", "Fr\xE9quence"})
            SendMessageA(combo, CB_ADDSTRING, 0, LPARAM(item));
        ASSERT_EQ(SendMessageA(combo, CB_GETCOUNT, 0, 0), 5);
        // Αβγδεζηθικ
        const char* ten = "\xCE\x91\xCE\xB2\xCE\xB3\xCE\xB4\xCE\xB5\xCE\xB6\xCE\xB7\xCE\xB8\xCE\xB9\xCE\xBA";
        SendMessageA(combo, CB_INSERTSTRING, 0, LPARAM(ten));
        EXPECT_EQ(SendMessageA(combo, CB_GETLBTEXTLEN, 0, 0), 72) << "a bound in bytes: 10 x 4 + 32";

        // Each item read back through the narrow message in UTF-8, and wide as the system holds it.
        const char* expected[] = {ten, GREEK, CHINESE, EMOJI, "Plain"};
        for (int k = 0; k < 5; k++) {
            LRESULT bound = SendMessageA(combo, CB_GETLBTEXTLEN, WPARAM(k), 0);
            std::string text(size_t(bound) + 1, '#');
            LRESULT bytes = SendMessageA(combo, CB_GETLBTEXT, WPARAM(k), LPARAM(text.data()));
            EXPECT_EQ(bytes, LRESULT(std::strlen(expected[k])));
            EXPECT_STREQ(text.c_str(), expected[k]);
        }
        // What the box itself holds, asked below the hook.
        WNDPROC own = reinterpret_cast<WNDPROC>(GetPropA(combo, "QVXUTF8OldProcW"));
        wchar_t held[32] = {0};
        CallWindowProcW(own, combo, CB_GETLBTEXT, 1, LPARAM(held));
        EXPECT_STREQ(held, GREEK_WIDE);
        CallWindowProcW(own, combo, CB_GETLBTEXT, 3, LPARAM(held));
        EXPECT_STREQ(held, EMOJI_WIDE);
        EXPECT_EQ(SendMessageA(combo, CB_FINDSTRINGEXACT, WPARAM(-1), LPARAM(CHINESE)), 2);

        // The selection as the window's text; no selection gives the empty text.
        char selected[64];
        getWindowTextUtf8(combo, selected, sizeof selected);
        EXPECT_STREQ(selected, "");
        SendMessageA(combo, CB_SETCURSEL, 3, 0);
        getWindowTextUtf8(combo, selected, sizeof selected);
        EXPECT_STREQ(selected, EMOJI);
        getWindowTextUtf8(combo, selected, 5);
        EXPECT_STREQ(selected, "\xF0\x9F\x8E\xB5") << "cut to the buffer through a block of the bound";

        // Destroyed, it leaves neither property behind and has its own procedure back.
        watchedNext = reinterpret_cast<WNDPROC>(SetWindowLongPtrA(combo, GWLP_WNDPROC, LONG_PTR(&watchEnd)));
        propertiesLeft = true;
        DestroyWindow(combo);
        EXPECT_FALSE(propertiesLeft);
        EXPECT_EQ(procedureAtEnd, LONG_PTR(hookedProc));
    }

    // An editable box gives the text of its field.
    HWND editable = parent.child("ComboBox", CBS_DROPDOWN, 1128, true);
    hookComboUtf8(editable);
    SetWindowTextW(FindWindowExA(editable, nullptr, "Edit", nullptr), L"\u4E2D\u6587 typed");
    char text[64];
    getWindowTextUtf8(editable, text, sizeof text);
    EXPECT_STREQ(text, "\xE4\xB8\xAD\xE6\x96\x87 typed");
}

TEST(Utf8Win32Test, DialogItemTextsRoundTrip) {
    TestWindow parent;
    if (!parent.window) GTEST_SKIP() << "no window can be made here (no display)";
    // A wide field, as the editor dialog makes them.
    HWND edit = parent.child("Edit", ES_AUTOHSCROLL, 1257, true);
    ASSERT_NE(edit, nullptr);
    std::string value = std::string(GREEK) + " " + CHINESE + " " + EMOJI;
    char text[128];
    EXPECT_TRUE(setDlgItemTextUtf8(parent.window, 1257, value.c_str()));
    getDlgItemTextUtf8(parent.window, 1257, text, sizeof text);
    EXPECT_EQ(std::string(text), value);
    EXPECT_EQ(wideText(edit), std::wstring(GREEK_WIDE) + L" \u626C\u58F0\u5668 " + EMOJI_WIDE);

    // The degree sign of the system code page goes narrow and reads back as the system has it.
    EXPECT_TRUE(setDlgItemTextUtf8(parent.window, 1257, "XY\xB0:"));
    wchar_t degree[2] = {0};
    MultiByteToWideChar(CP_ACP, 0, "\xB0", 1, degree, 1);
    EXPECT_EQ(wideText(edit), std::wstring(L"XY") + degree + L":");

    // A long text through a large buffer: read through a heap block, nothing lost.
    std::string longText;
    for (int k = 0; k < 1500; k++) longText += "\xCE\xB1";
    setDlgItemTextUtf8(parent.window, 1257, longText.c_str());
    std::vector<char> large(4000, '#');
    getDlgItemTextUtf8(parent.window, 1257, large.data(), int(large.size()));
    EXPECT_EQ(std::string(large.data()), longText);

    // Cut to a small buffer, always terminated; a missing item empties the buffer.
    setDlgItemTextUtf8(parent.window, 1257, value.c_str());
    std::fill(std::begin(text), std::end(text), '#');
    getDlgItemTextUtf8(parent.window, 1257, text, 4);
    EXPECT_EQ(text[3], 0);
    EXPECT_EQ(text[4], '#');
    EXPECT_EQ(setDlgItemTextUtf8(parent.window, 999, "x"), 0);
    getDlgItemTextUtf8(parent.window, 999, text, sizeof text);
    EXPECT_STREQ(text, "");
}

TEST(Utf8Win32Test, TopLevelNarrowWindowGetsItsTitleWide) {
    TestWindow top;
    if (!top.window) GTEST_SKIP() << "no window can be made here (no display)";
    ASSERT_FALSE(IsWindowUnicode(top.window));
    LONG_PTR procedure = GetWindowLongPtrA(top.window, GWLP_WNDPROC);
    std::string title = std::string("KelvanePan ") + GREEK + " " + EMOJI;
    EXPECT_TRUE(SetWindowTextUtf8(top.window, title.c_str()));
    EXPECT_EQ(wideText(top.window), std::wstring(L"KelvanePan ") + GREEK_WIDE + L" " + EMOJI_WIDE);
    EXPECT_EQ(GetWindowLongPtrA(top.window, GWLP_WNDPROC), procedure) << "the procedure is put back";
    char text[64];
    getWindowTextUtf8(top.window, text, sizeof text);
    EXPECT_EQ(std::string(text), title);
}

TEST(Utf8Win32Test, MenuItemsInUtf8AndSeparatorsUnchanged) {
    HMENU menu = CreatePopupMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_TRUE(InsertMenuUtf8(menu, UINT(-1), MF_BYPOSITION | MF_STRING, 10, GREEK));
    EXPECT_TRUE(InsertMenuUtf8(menu, UINT(-1), MF_BYPOSITION | MF_SEPARATOR, 0, nullptr));
    EXPECT_TRUE(InsertMenuUtf8(menu, UINT(-1), MF_BYPOSITION | MF_STRING, 11, EMOJI));
    EXPECT_EQ(GetMenuItemCount(menu), 3);
    wchar_t text[32] = {0};
    GetMenuStringW(menu, 10, text, 32, MF_BYCOMMAND);
    EXPECT_STREQ(text, GREEK_WIDE);
    GetMenuStringW(menu, 11, text, 32, MF_BYCOMMAND);
    EXPECT_STREQ(text, EMOJI_WIDE);
    EXPECT_EQ(GetMenuState(menu, 1, MF_BYPOSITION) & MF_SEPARATOR, UINT(MF_SEPARATOR));
    DestroyMenu(menu);
}
#endif
