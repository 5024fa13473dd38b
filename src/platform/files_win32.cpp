// Win32 side of the file calls: CreateFile by a UTF-8 name (the wide call with the long-path
// form when the name reads as UTF-8 or is long, the narrow call with the bytes otherwise),
// ReadFile and WriteFile, overlapped writes with a manual-reset event each, and the folder calls
// through the text layer's adapters.
#include "platform/files.h"

#include <windows.h>

#include <cstring>

#include "platform/file_names.h"
#include "platform/utf8_win32.h"

static_assert(sizeof(OVERLAPPED) <= sizeof(AsyncWrite::storage), "async write storage too small");

static HANDLE handleOf(FileHandle file) { return reinterpret_cast<HANDLE>(file); }
static OVERLAPPED* overlappedOf(AsyncWrite* request) { return reinterpret_cast<OVERLAPPED*>(request->storage); }

FileHandle fileOpen(const char* name, uint32_t mode, int* error) {
    if (error) *error = FILE_ERROR_OTHER;
    if (!name || !*name) return FILE_HANDLE_NONE;
    DWORD access = (mode & FILEMODE_READ ? GENERIC_READ : 0) | (mode & FILEMODE_WRITE ? GENERIC_WRITE : 0);
    DWORD share = FILE_SHARE_READ | (mode & FILEMODE_SHARE_WRITE ? FILE_SHARE_WRITE : 0);
    DWORD disposition = mode & FILEMODE_CREATE ? CREATE_ALWAYS : mode & FILEMODE_OPEN_ALWAYS ? OPEN_ALWAYS : OPEN_EXISTING;
    DWORD flags = FILE_ATTRIBUTE_NORMAL | (mode & FILEMODE_ASYNC ? FILE_FLAG_OVERLAPPED : 0);
    // The open's own quick test decides between the wide and the narrow call; a failed wide open
    // stands, and the last error is that of the call made.
    HANDLE h;
    WideFileName wide;
    if (looksLikeUtf8(name) && wideFileNameMake(&wide, name)) {
        h = CreateFileW(wide.text, access, share, nullptr, disposition, flags, nullptr);
        wideFileNameFree(&wide);
    } else {
        h = CreateFileA(name, access, share, nullptr, disposition, flags, nullptr);
    }
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
    if (CreateDirectoryUtf8(path, nullptr)) return true;
    if (GetLastError() != ERROR_ALREADY_EXISTS) return false;
    DWORD attributes = GetFileAttributesUtf8(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool fileDelete(const char* path) { return path && *path && DeleteFileUtf8(path); }

bool fileMove(const char* from, const char* to) { return from && *from && to && *to && MoveFileUtf8(from, to); }

bool folderScan(const char* path, FolderVisit visit, void* context) {
    if (!path || !*path) return false;
    DirectoryScanUtf8 scan;
    if (!directoryScanOpenUtf8(&scan, path)) return false;
    do visit(scan.name, context);
    while (directoryScanNextUtf8(&scan));
    directoryScanCloseUtf8(&scan);
    return true;
}
