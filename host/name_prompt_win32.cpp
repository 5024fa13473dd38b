// The host's name prompt: a dialog template built in memory, shown modally.
#include "host/name_prompt.h"

#include <windows.h>

#include <string>
#include <vector>

#include "platform/ini_text.h"
#include "platform/utf8_win32.h"

namespace {

enum : WORD { ID_PROMPT = 100, ID_FIELD = 101 };
constexpr int TEXT_MAX = 4096;

// What the dialog is asked and what it answers.
struct PromptRun {
    const char* title;
    const char* prompt;
    const char* start;
    std::string answer;
};

// A dialog template in words: the header, then each item aligned to four bytes.
struct TemplateWriter {
    std::vector<WORD> words;
    void word(WORD w) { words.push_back(w); }
    void dword(DWORD d) {
        word(LOWORD(d));
        word(HIWORD(d));
    }
    void text(const wchar_t* s) {
        for (; *s; s++) word(WORD(*s));
        word(0);
    }
    void align() {
        if (words.size() % 2) word(0);
    }
    // One control: styles, rectangle in dialog units, id, a predefined class by its atom.
    void item(DWORD style, short x, short y, short w, short h, WORD id, WORD classAtom) {
        align();
        dword(style | WS_CHILD | WS_VISIBLE);
        dword(0);
        for (short v : {x, y, w, h}) word(WORD(v));
        word(id);
        word(0xFFFF);
        word(classAtom);
        word(0);  // no text: the dialog sets it
        word(0);  // no creation data
    }
};

std::vector<WORD> promptTemplate() {
    TemplateWriter t;
    t.dword(DS_MODALFRAME | DS_SETFONT | DS_CENTER | WS_POPUP | WS_CAPTION | WS_SYSMENU);
    t.dword(0);
    t.word(4);
    for (short v : {0, 0, 220, 62}) t.word(WORD(v));
    t.word(0);  // no menu
    t.word(0);  // the dialog class
    t.text(L"");
    t.word(8);
    t.text(L"MS Shell Dlg");
    t.item(SS_LEFT, 7, 7, 206, 9, ID_PROMPT, 0x0082);
    t.item(ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP, 7, 19, 206, 13, ID_FIELD, 0x0081);
    t.item(BS_DEFPUSHBUTTON | WS_TABSTOP, 109, 40, 50, 14, IDOK, 0x0080);
    t.item(BS_PUSHBUTTON | WS_TABSTOP, 163, 40, 50, 14, IDCANCEL, 0x0080);
    return t.words;
}

INT_PTR CALLBACK promptProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    PromptRun* run = reinterpret_cast<PromptRun*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
    switch (message) {
        case WM_INITDIALOG:
            run = reinterpret_cast<PromptRun*>(lParam);
            SetWindowLongPtrW(dialog, GWLP_USERDATA, lParam);
            SetWindowTextUtf8(dialog, run->title);
            setDlgItemTextUtf8(dialog, ID_PROMPT, run->prompt);
            setDlgItemTextUtf8(dialog, ID_FIELD, run->start);
            SendDlgItemMessageW(dialog, ID_FIELD, EM_SETSEL, 0, -1);
            SetFocus(GetDlgItem(dialog, ID_FIELD));
            return FALSE;  // the focus is set
        case WM_COMMAND:
            if (LOWORD(wParam) == IDOK && run) {
                std::vector<char> text(TEXT_MAX, 0);
                getDlgItemTextUtf8(dialog, ID_FIELD, text.data(), TEXT_MAX);
                run->answer = text.data();
                EndDialog(dialog, 1);
                return TRUE;
            }
            if (LOWORD(wParam) == IDCANCEL) {
                EndDialog(dialog, 0);
                return TRUE;
            }
            return FALSE;
        default:
            return FALSE;
    }
}

}  // namespace

int hostNamePrompt(void* owner, const char* title, const char* prompt, char* buffer, int size) {
    if (!buffer || size < 1) return 0;
    PromptRun run{title ? title : "", prompt ? prompt : "", buffer, std::string()};
    std::vector<WORD> words = promptTemplate();
    INT_PTR result = DialogBoxIndirectParamW(GetModuleHandleW(nullptr), reinterpret_cast<LPCDLGTEMPLATEW>(words.data()),
                                             static_cast<HWND>(owner), promptProc, LPARAM(&run));
    if (result != 1) return 0;
    iniCopyValue(run.answer.c_str(), buffer, size);
    return 1;
}
