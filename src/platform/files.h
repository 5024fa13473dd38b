// Files below the buffered reader and writer and the preset folder: open by a UTF-8 name, read,
// write at an offset, write asynchronously, and four folder calls. Win32 in Windows builds,
// POSIX on Linux; called by foundation/buffered_file and layouts/presets.
#pragma once

#include <cstdint>

// An open file: a HANDLE on Windows, a descriptor on POSIX.
using FileHandle = intptr_t;
constexpr FileHandle FILE_HANDLE_NONE = -1;

// How fileOpen opens, or-ed. Without FILEMODE_CREATE or FILEMODE_OPEN_ALWAYS the file must exist.
// Others may always read the file while it is open.
constexpr uint32_t FILEMODE_READ = 0x01;
constexpr uint32_t FILEMODE_WRITE = 0x02;
constexpr uint32_t FILEMODE_SHARE_WRITE = 0x04;  // others may write to it too
constexpr uint32_t FILEMODE_CREATE = 0x08;       // made, or emptied when it exists
constexpr uint32_t FILEMODE_OPEN_ALWAYS = 0x10;  // made when missing, kept as it is otherwise
constexpr uint32_t FILEMODE_ASYNC = 0x20;        // writes go through AsyncWriteCalls

// Why fileOpen failed.
enum { FILE_ERROR_NONE = 0, FILE_ERROR_SHARING = 1, FILE_ERROR_OTHER = 2 };

// [any thread] Opens a file by a name in UTF-8; bytes that are not UTF-8 reach the system as
// they are, and on Windows names of 256 characters and more go the long-path way. Returns
// FILE_HANDLE_NONE on failure, with the reason in *error when error is not null.
FileHandle fileOpen(const char* name, uint32_t mode, int* error);
// [any thread] Closing FILE_HANDLE_NONE does nothing.
void fileClose(FileHandle file);
// [any thread] The size in bytes, or -1.
int64_t fileSize(FileHandle file);
// [any thread] Reads up to `capacity` bytes from the present position. Returns the count read,
// 0 at the end of the file, -1 on failure.
int fileRead(FileHandle file, void* buffer, int capacity);
// [any thread] Writes `size` bytes at `offset` and waits for them (on an async handle too).
// Returns the count written, -1 on failure.
int fileWriteAt(FileHandle file, const void* data, int size, int64_t offset);

// One asynchronous write: an OVERLAPPED and its event on Windows, an aiocb on POSIX. Storage is
// opaque so that no system header reaches shared headers; it must stay put while a write runs.
struct AsyncWrite {
    alignas(16) unsigned char storage[256];
};
// [any thread] Prepares a request (on Windows: its manual-reset event, made signalled). Returns
// false when the system gives no event; the request must not be used then.
bool asyncWriteInit(AsyncWrite* request);
// [any thread] Frees what init made; the request must have no write running.
void asyncWriteRelease(AsyncWrite* request);

// Outcomes of the asynchronous calls.
enum {
    FILE_IO_DONE = 0,        // finished
    FILE_IO_PENDING = 1,     // start: the write runs
    FILE_IO_INCOMPLETE = 2,  // result without waiting: it still runs
    FILE_IO_ABORTED = 3,     // cancelled by the system; the same write may be started again
    FILE_IO_FAILED = 4,      // any other failure
};

// The asynchronous calls as a table, so that a test can stand between the writer and the disk.
struct AsyncWriteCalls {
    // [any thread] Starts writing `size` bytes of `data` at `offset`: FILE_IO_PENDING, or
    // FILE_IO_DONE when it finished at once, or FILE_IO_FAILED.
    int (*start)(FileHandle file, AsyncWrite* request, const void* data, int size, int64_t offset);
    // [any thread] The outcome of a started write: FILE_IO_DONE, FILE_IO_ABORTED,
    // FILE_IO_FAILED, or FILE_IO_INCOMPLETE when `wait` is false and it still runs.
    int (*result)(FileHandle file, AsyncWrite* request, bool wait);
};
extern const AsyncWriteCalls ASYNC_WRITE_PLATFORM;

// [any thread] Makes a folder; true when it was made or already exists.
bool folderCreate(const char* path);
// [any thread] Deletes a file; false when it could not (a missing file included).
bool fileDelete(const char* path);
// [any thread] Moves a file; false, and nothing moved, when it could not or `to` exists.
bool fileMove(const char* from, const char* to);
// [any thread] Calls visit with each entry's name (UTF-8) in the folder's own order, "." and
// ".." included where the system lists them. Returns false when the folder cannot be read.
using FolderVisit = void (*)(const char* name, void* context);
bool folderScan(const char* path, FolderVisit visit, void* context);
