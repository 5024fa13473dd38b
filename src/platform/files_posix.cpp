// POSIX side of the file calls: descriptors, pread/pwrite, directory streams, and POSIX AIO for
// the asynchronous writes.
//
// Why POSIX AIO and not io_uring: an aiocb is the same thing as an OVERLAPPED (one request block
// per write, carrying its own offset and its own status), so start, poll, wait and "cancelled"
// map one to one and the writer keeps a single order of events on both platforms. It comes with
// glibc and needs no library or package; io_uring needs a ring set up per writer or per process,
// and is switched off by many container and seccomp policies, where the writer would need a
// second path anyway. glibc serves AIO from helper threads doing pwrite, which costs a thread
// hand-off per 8 KiB buffer: small next to the disk, and the formatting thread still never waits
// until all buffers are out.
#include "platform/files.h"

#include <aio.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

static_assert(sizeof(aiocb) <= sizeof(AsyncWrite::storage), "async write storage too small");

static aiocb* control(AsyncWrite* request) { return reinterpret_cast<aiocb*>(request->storage); }

FileHandle fileOpen(const char* name, uint32_t mode, int* error) {
    if (error) *error = FILE_ERROR_OTHER;
    if (!name || !*name) return FILE_HANDLE_NONE;
    int flags = O_CLOEXEC;
    bool reads = mode & FILEMODE_READ, writes = mode & FILEMODE_WRITE;
    flags |= reads && writes ? O_RDWR : writes ? O_WRONLY : O_RDONLY;
    if (mode & FILEMODE_CREATE) flags |= O_CREAT | O_TRUNC;
    else if (mode & FILEMODE_OPEN_ALWAYS) flags |= O_CREAT;
    int fd;
    do fd = open(name, flags, 0666);
    while (fd < 0 && errno == EINTR);
    if (fd < 0) return FILE_HANDLE_NONE;
    // A folder opens for reading on POSIX; as a file it is no file at all.
    struct stat info;
    if (fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
        close(fd);
        return FILE_HANDLE_NONE;
    }
    if (error) *error = FILE_ERROR_NONE;
    return FileHandle(fd);
}

void fileClose(FileHandle file) {
    if (file != FILE_HANDLE_NONE) close(int(file));
}

int64_t fileSize(FileHandle file) {
    struct stat info;
    if (file == FILE_HANDLE_NONE || fstat(int(file), &info) != 0) return -1;
    return int64_t(info.st_size);
}

int fileRead(FileHandle file, void* buffer, int capacity) {
    if (file == FILE_HANDLE_NONE || capacity < 0) return -1;
    ssize_t n;
    do n = read(int(file), buffer, size_t(capacity));
    while (n < 0 && errno == EINTR);
    return int(n);
}

int fileWriteAt(FileHandle file, const void* data, int size, int64_t offset) {
    if (file == FILE_HANDLE_NONE || size < 0) return -1;
    const char* p = static_cast<const char*>(data);
    int done = 0;
    while (done < size) {
        ssize_t n = pwrite(int(file), p + done, size_t(size - done), off_t(offset + done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return done ? done : -1;
        done += int(n);
    }
    return done;
}

bool asyncWriteInit(AsyncWrite* request) {
    std::memset(request, 0, sizeof *request);
    return true;
}

void asyncWriteRelease(AsyncWrite* request) { std::memset(request, 0, sizeof *request); }

static int asyncStart(FileHandle file, AsyncWrite* request, const void* data, int size, int64_t offset) {
    aiocb* c = control(request);
    std::memset(c, 0, sizeof *c);
    c->aio_fildes = int(file);
    c->aio_buf = const_cast<void*>(data);
    c->aio_nbytes = size_t(size);
    c->aio_offset = off_t(offset);
    c->aio_sigevent.sigev_notify = SIGEV_NONE;
    if (aio_write(c) == 0) return FILE_IO_PENDING;
    // Out of request slots: the bytes still go out, synchronously, instead of being lost.
    if (errno == EAGAIN) return fileWriteAt(file, data, size, offset) == size ? FILE_IO_DONE : FILE_IO_FAILED;
    return FILE_IO_FAILED;
}

static int asyncResult(FileHandle, AsyncWrite* request, bool wait) {
    aiocb* c = control(request);
    int status = aio_error(c);
    while (status == EINPROGRESS) {
        if (!wait) return FILE_IO_INCOMPLETE;
        const aiocb* list[1] = {c};
        aio_suspend(list, 1, nullptr);
        status = aio_error(c);
    }
    // aio_return releases the request's slot and must come exactly once per finished write.
    ssize_t written = aio_return(c);
    if (status == ECANCELED) return FILE_IO_ABORTED;
    if (status != 0 || written != ssize_t(c->aio_nbytes)) return FILE_IO_FAILED;
    return FILE_IO_DONE;
}

const AsyncWriteCalls ASYNC_WRITE_PLATFORM = {asyncStart, asyncResult};

bool folderCreate(const char* path) {
    if (!path || !*path) return false;
    if (mkdir(path, 0777) == 0) return true;
    struct stat info;
    return errno == EEXIST && stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

bool fileDelete(const char* path) { return path && *path && unlink(path) == 0; }

bool fileMove(const char* from, const char* to) {
    if (!from || !*from || !to || !*to) return false;
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    // A file system without the no-replace flag: test first, then move.
    struct stat info;
    if (lstat(to, &info) == 0) return false;
    return rename(from, to) == 0;
}

bool folderScan(const char* path, FolderVisit visit, void* context) {
    DIR* folder = path && *path ? opendir(path) : nullptr;
    if (!folder) return false;
    while (const dirent* entry = readdir(folder)) visit(entry->d_name, context);
    closedir(folder);
    return true;
}
