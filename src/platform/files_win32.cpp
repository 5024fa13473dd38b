// Win32 side of the file calls: CreateFile by a UTF-8 name (the wide call with the long-path
// form when the name reads as UTF-8 or is long, the narrow call with the bytes otherwise),
// ReadFile and WriteFile, overlapped writes with a manual-reset event each, and the folder calls.
#include "platform/files.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/file_names.h"

static_assert(sizeof(OVERLAPPED) <= sizeof(AsyncWrite::storage), "async write storage too small");

static HANDLE handleOf(FileHandle file) { return reinterpret_cast<HANDLE>(file); }
static OVERLAPPED* overlappedOf(AsyncWrite* request) { return reinterpret_cast<OVERLAPPED*>(request->storage); }

// A UTF-8 name in wide form: a fixed buffer up to 1000 characters, the heap above. Both keep
// room behind the converted name for the long-path prefix.
struct WideName {
    wchar_t fixed[1014];
    wchar_t* text;
};
constexpr int WIDE_NAME_FIXED_LIMIT = 1000;
constexpr int WIDE_NAME_SLACK = 10;

// False when the name is not valid UTF-8 (or memory ran out); nothing is held then.
static bool wideNameMake(WideName* w, const char* name) {
    w->text = nullptr;
    int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name, -1, nullptr, 0);
    if (length < 1) return false;
    wchar_t* buffer = w->fixed;
    int capacity = int(sizeof w->fixed / sizeof w->fixed[0]);
    if (length > WIDE_NAME_FIXED_LIMIT) {
        capacity = length + 2 * WIDE_NAME_SLACK;
        buffer = static_cast<wchar_t*>(std::malloc(size_t(capacity) * sizeof(wchar_t)));
        if (!buffer) return false;
    }
    if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, name, -1, buffer, capacity - WIDE_NAME_SLACK) < 1) {
        if (buffer != w->fixed) std::free(buffer);
        return false;
    }
    longNameForm(buffer, capacity);
    w->text = buffer;
    return true;
}

static void wideNameFree(WideName* w) {
    if (w->text && w->text != w->fixed) std::free(w->text);
    w->text = nullptr;
}

// Runs the wide call when the name reads as UTF-8 and converts, the narrow call otherwise. The
// system's last error is that of the call made.
template <class Wide, class Narrow>
static auto callByName(const char* name, Wide wide, Narrow narrow) {
    if (looksLikeUtf8(name)) {
        WideName w;
        if (wideNameMake(&w, name)) {
            auto result = wide(w.text);
            DWORD error = GetLastError();
            wideNameFree(&w);
            SetLastError(error);
            return result;
        }
    }
    return narrow(name);
}

FileHandle fileOpen(const char* name, uint32_t mode, int* error) {
    if (error) *error = FILE_ERROR_OTHER;
    if (!name || !*name) return FILE_HANDLE_NONE;
    DWORD access = (mode & FILEMODE_READ ? GENERIC_READ : 0) | (mode & FILEMODE_WRITE ? GENERIC_WRITE : 0);
    DWORD share = FILE_SHARE_READ | (mode & FILEMODE_SHARE_WRITE ? FILE_SHARE_WRITE : 0);
    DWORD disposition = mode & FILEMODE_CREATE ? CREATE_ALWAYS : mode & FILEMODE_OPEN_ALWAYS ? OPEN_ALWAYS : OPEN_EXISTING;
    DWORD flags = FILE_ATTRIBUTE_NORMAL | (mode & FILEMODE_ASYNC ? FILE_FLAG_OVERLAPPED : 0);
    HANDLE h = callByName(
        name, [&](const wchar_t* wide) { return CreateFileW(wide, access, share, nullptr, disposition, flags, nullptr); },
        [&](const char* bytes) { return CreateFileA(bytes, access, share, nullptr, disposition, flags, nullptr); });
    if (h == INVALID_HANDLE_VALUE) {
        if (error && GetLastError() == ERROR_SHARING_VIOLATION) *error = FILE_ERROR_SHARING;
        return FILE_HANDLE_NONE;
    }
    if (error) *error = FILE_ERROR_NONE;
    return reinterpret_cast<FileHandle>(h);
}

void fileClose(FileHandle file) {
    if (file != FILE_HANDLE_NONE) CloseHandle(handleOf(file));
}

int64_t fileSize(FileHandle file) {
    LARGE_INTEGER size;
    if (file == FILE_HANDLE_NONE || !GetFileSizeEx(handleOf(file), &size)) return -1;
    return int64_t(size.QuadPart);
}

int fileRead(FileHandle file, void* buffer, int capacity) {
    DWORD got = 0;
    if (file == FILE_HANDLE_NONE || capacity < 0) return -1;
    if (!ReadFile(handleOf(file), buffer, DWORD(capacity), &got, nullptr)) return -1;
    return int(got);
}

int fileWriteAt(FileHandle file, const void* data, int size, int64_t offset) {
    if (file == FILE_HANDLE_NONE || size < 0) return -1;
    // An OVERLAPPED with an offset serves plain and overlapped handles alike; its own event
    // keeps the wait apart from any other write of the file.
    OVERLAPPED ov = {};
    ov.Offset = DWORD(uint64_t(offset) & 0xFFFFFFFFu);
    ov.OffsetHigh = DWORD(uint64_t(offset) >> 32);
    ov.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (!ov.hEvent) return -1;
    DWORD written = 0;
    BOOL ok = WriteFile(handleOf(file), data, DWORD(size), nullptr, &ov);
    if (ok || GetLastError() == ERROR_IO_PENDING) ok = GetOverlappedResult(handleOf(file), &ov, &written, TRUE);
    CloseHandle(ov.hEvent);
    return ok ? int(written) : -1;
}

bool asyncWriteInit(AsyncWrite* request) {
    std::memset(request, 0, sizeof *request);
    OVERLAPPED* ov = overlappedOf(request);
    ov->hEvent = CreateEventA(nullptr, TRUE, TRUE, nullptr);
    return ov->hEvent != nullptr;
}

void asyncWriteRelease(AsyncWrite* request) {
    OVERLAPPED* ov = overlappedOf(request);
    if (ov->hEvent) CloseHandle(ov->hEvent);
    std::memset(request, 0, sizeof *request);
}

static int asyncStart(FileHandle file, AsyncWrite* request, const void* data, int size, int64_t offset) {
    OVERLAPPED* ov = overlappedOf(request);
    ov->Internal = 0;
    ov->InternalHigh = 0;
    ov->Offset = DWORD(uint64_t(offset) & 0xFFFFFFFFu);
    ov->OffsetHigh = DWORD(uint64_t(offset) >> 32);
    ResetEvent(ov->hEvent);
    if (WriteFile(handleOf(file), data, DWORD(size), nullptr, ov)) return FILE_IO_DONE;
    return GetLastError() == ERROR_IO_PENDING ? FILE_IO_PENDING : FILE_IO_FAILED;
}

static int asyncResult(FileHandle file, AsyncWrite* request, bool wait) {
    DWORD written = 0;
    if (GetOverlappedResult(handleOf(file), overlappedOf(request), &written, wait ? TRUE : FALSE)) return FILE_IO_DONE;
    DWORD error = GetLastError();
    if (error == ERROR_IO_INCOMPLETE) return FILE_IO_INCOMPLETE;
    if (error == ERROR_OPERATION_ABORTED) return FILE_IO_ABORTED;
    return FILE_IO_FAILED;
}

const AsyncWriteCalls ASYNC_WRITE_PLATFORM = {asyncStart, asyncResult};

bool folderCreate(const char* path) {
    if (!path || !*path) return false;
    BOOL made = callByName(
        path, [](const wchar_t* wide) { return CreateDirectoryW(wide, nullptr); },
        [](const char* bytes) { return CreateDirectoryA(bytes, nullptr); });
    if (made) return true;
    if (GetLastError() != ERROR_ALREADY_EXISTS) return false;
    DWORD attributes = callByName(
        path, [](const wchar_t* wide) { return GetFileAttributesW(wide); },
        [](const char* bytes) { return GetFileAttributesA(bytes); });
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool fileDelete(const char* path) {
    if (!path || !*path) return false;
    return callByName(
        path, [](const wchar_t* wide) { return DeleteFileW(wide); }, [](const char* bytes) { return DeleteFileA(bytes); });
}

bool fileMove(const char* from, const char* to) {
    if (!from || !*from || !to || !*to) return false;
    if (looksLikeUtf8(from) || looksLikeUtf8(to)) {
        WideName a, b;
        bool converted = wideNameMake(&a, from);
        converted = wideNameMake(&b, to) && converted;
        BOOL moved = converted && MoveFileW(a.text, b.text);
        wideNameFree(&a);
        wideNameFree(&b);
        if (converted) return moved;
    }
    return MoveFileA(from, to);
}

bool folderScan(const char* path, FolderVisit visit, void* context) {
    if (!path || !*path) return false;
    std::string pattern = path;
    if (pattern.back() == '/' || pattern.back() == '\\') pattern.pop_back();
    pattern += "\\*";
    // The wide call first for every name, so that entries come back in UTF-8 whatever they hold.
    WideName w;
    if (wideNameMake(&w, pattern.c_str())) {
        WIN32_FIND_DATAW found;
        HANDLE find = FindFirstFileW(w.text, &found);
        wideNameFree(&w);
        if (find != INVALID_HANDLE_VALUE) {
            do {
                char name[1300];
                if (WideCharToMultiByte(CP_UTF8, 0, found.cFileName, -1, name, sizeof name, nullptr, nullptr) < 1)
                    name[0] = 0;
                visit(name, context);
            } while (FindNextFileW(find, &found));
            FindClose(find);
            return true;
        }
    }
    WIN32_FIND_DATAA found;
    HANDLE find = FindFirstFileA(pattern.c_str(), &found);
    if (find == INVALID_HANDLE_VALUE) return false;
    do visit(found.cFileName, context);
    while (FindNextFileA(find, &found));
    FindClose(find);
    return true;
}
