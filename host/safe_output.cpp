#include "host/safe_output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <cstdint>
#include <random>

#include <fcntl.h>
#include <sys/stat.h>

#if defined(_WIN32)
#include <io.h>
#else
#include <sys/file.h>
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;

// ---- temporaries that a signal removes ----

// Process-wide: the temporaries now open, read by the signal handler. A slot is taken before its
// file is created and given back after the file is renamed or removed.
constexpr int TEMP_SLOTS = 8;
constexpr size_t TEMP_PATH_MAX = 4096;
char tempPaths[TEMP_SLOTS][TEMP_PATH_MAX];
volatile std::sig_atomic_t tempInUse[TEMP_SLOTS];

extern "C" void removeTemporariesAndDie(int sig) {
    for (int i = 0; i < TEMP_SLOTS; i++)
        if (tempInUse[i]) {
#if defined(_WIN32)
            _unlink(tempPaths[i]);
#else
            unlink(tempPaths[i]);
#endif
        }
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

void installSignalHandlers() {
    static bool installed = false;
    if (installed) return;
    installed = true;
    for (int sig : {SIGINT, SIGTERM, SIGSEGV, SIGFPE, SIGILL, SIGABRT}) std::signal(sig, removeTemporariesAndDie);
#if !defined(_WIN32)
    for (int sig : {SIGHUP, SIGBUS}) std::signal(sig, removeTemporariesAndDie);
#endif
}

int takeSlot(const std::string& path) {
    if (path.size() >= TEMP_PATH_MAX) return -1;
    for (int i = 0; i < TEMP_SLOTS; i++)
        if (!tempInUse[i]) {
            std::memcpy(tempPaths[i], path.c_str(), path.size() + 1);
            tempInUse[i] = 1;
            return i;
        }
    return -1;
}

void giveSlot(int slot) {
    if (slot >= 0) tempInUse[slot] = 0;
}

// Process-wide: the folders this process holds locked, each with the outputs that hold it. A
// lock on a folder is one per process, so that two outputs of one run never wait on each other.
#if !defined(_WIN32)
struct FolderLock {
    dev_t device;
    ino_t inode;
    int fd;
    int users;
};
FolderLock folderLocks[TEMP_SLOTS];

int lockFolder(const std::string& folder) {
    int fd = open(folder.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat st;
    if (fd < 0 || fstat(fd, &st) != 0) {
        if (fd >= 0) close(fd);
        return -1;
    }
    for (int i = 0; i < TEMP_SLOTS; i++)
        if (folderLocks[i].users > 0 && folderLocks[i].device == st.st_dev && folderLocks[i].inode == st.st_ino) {
            close(fd);
            folderLocks[i].users++;
            return i;
        }
    for (int i = 0; i < TEMP_SLOTS; i++)
        if (folderLocks[i].users == 0) {
            while (flock(fd, LOCK_EX) != 0 && errno == EINTR) {}
            folderLocks[i] = FolderLock{st.st_dev, st.st_ino, fd, 1};
            return i;
        }
    close(fd);
    return -1;
}

void unlockFolder(int slot) {
    if (slot < 0 || --folderLocks[slot].users > 0) return;
    close(folderLocks[slot].fd);  // closing the last descriptor releases the lock
}
#endif

std::string why(int code) { return std::strerror(code); }

// ---- where a target leads ----

// The file a target names once its symlinks are followed (a dangling link names the file it
// would make); the path itself when it is no link.
std::string followLinks(const std::string& target) {
    fs::path at = target;
    for (int hop = 0; hop < 40; hop++) {
        std::error_code ec;
        if (!fs::is_symlink(fs::symlink_status(at, ec))) break;
        fs::path next = fs::read_symlink(at, ec);
        if (ec) break;
        at = next.is_absolute() ? next : at.parent_path() / next;
    }
    return at.string();
}

std::string folderOf(const std::string& path) {
    fs::path folder = fs::path(path).parent_path();
    return folder.empty() ? "." : folder.string();
}

// A name that no other run picks: a hidden file beside the target.
std::string temporaryName(const std::string& installed, std::mt19937_64& rng) {
    static const char LETTERS[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::string suffix;
    for (int i = 0; i < 8; i++) suffix += LETTERS[rng() % 36];
    fs::path p = installed;
    return (p.parent_path() / ("." + p.filename().string() + ".partial-" + suffix)).string();
}

int openExclusive(const std::string& path) {
#if defined(_WIN32)
    return _open(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
#else
    return open(path.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
#endif
}

void closeFd(int* fd) {
    if (*fd >= 0) {
#if defined(_WIN32)
        _close(*fd);
#else
        close(*fd);
#endif
    }
    *fd = -1;
}

bool writeAll(int fd, const unsigned char* data, size_t size) {
    while (size > 0) {
#if defined(_WIN32)
        int n = _write(fd, data, unsigned(size > (1u << 30) ? (1u << 30) : size));
#else
        ssize_t n = write(fd, data, size);
        if (n < 0 && errno == EINTR) continue;
#endif
        if (n <= 0) return false;
        data += n;
        size -= size_t(n);
    }
    return true;
}

#if !defined(_WIN32)
// The permissions a file made by an ordinary create would get.
mode_t creationMode() {
    mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}
#endif

// Opens a stream target: standard output, a device or a FIFO.
bool openStream(SafeOutput* o, bool seekable, std::string* error) {
    // Standard output gets a descriptor of its own, and descriptor 1 then leads to standard
    // error: whatever a plugin prints cannot end up inside the data.
    std::fflush(stdout);
#if defined(_WIN32)
    if (o->target != "-") {
        *error = o->target + ": not a file name";
        return false;
    }
    _setmode(1, _O_BINARY);
    o->streamFd = _dup(1);
    if (o->streamFd >= 0) _dup2(2, 1);
#else
    o->streamFd = o->target == "-" ? fcntl(1, F_DUPFD_CLOEXEC, 3) : open(o->target.c_str(), O_WRONLY | O_CLOEXEC);
    if (o->streamFd >= 0 && o->target == "-") dup2(2, 1);
#endif
    if (o->streamFd < 0) {
        *error = o->target + ": cannot write: " + why(errno);
        return false;
    }
    if (!seekable) {
        o->fd = o->streamFd;
        return true;
    }
    // The spool is a nameless file: nothing is left behind whatever ends the process.
    FILE* spool = std::tmpfile();
    if (!spool) {
        *error = o->target + ": no room for the data on its way to the stream: " + why(errno);
        return false;
    }
#if defined(_WIN32)
    o->fd = _dup(_fileno(spool));
#else
    o->fd = dup(fileno(spool));
#endif
    std::fclose(spool);
    if (o->fd < 0) *error = o->target + ": no room for the data on its way to the stream";
    return o->fd >= 0;
}

}  // namespace

bool outputDiffersFromInputs(const std::string& output, const std::vector<NamedInput>& inputs, std::string* error) {
    if (output == "-") return true;
    std::error_code ec;
    fs::path outName = fs::weakly_canonical(followLinks(output), ec);
    for (const NamedInput& in : inputs) {
        if (in.path.empty() || in.path == "-") continue;
        std::error_code e1, e2;
        bool same = fs::equivalent(output, in.path, e1);
        if (!same && !ec) same = fs::weakly_canonical(followLinks(in.path), e2) == outName && !e2;
        if (same) {
            *error = output + ": the same file as " + in.what + " " + in.path + "; choose another output";
            return false;
        }
    }
    return true;
}

bool safeOutputOpen(SafeOutput* o, const std::string& target, bool seekable, std::string* error) {
    o->target = target;
    o->installed.clear();
    o->temp.clear();
    o->fd = o->streamFd = o->lockSlot = o->slot = -1;
    o->committed = false;
    if (target.empty()) {
        *error = "the output needs a file name";
        return false;
    }
    std::error_code ec;
    fs::file_status status = fs::status(target, ec);
    if (target == "-" || fs::is_character_file(status) || fs::is_fifo(status)) return openStream(o, seekable, error);
    if (fs::is_directory(status)) {
        *error = target + ": is a folder, not a file name";
        return false;
    }
    o->installed = followLinks(target);
    std::string folder = folderOf(o->installed);
    if (!fs::is_directory(folder, ec)) {
        *error = target + ": the folder does not exist";
        return false;
    }
#if !defined(_WIN32)
    struct stat old;
    bool exists = stat(o->installed.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        *error = target + ": not a plain file, a device or a FIFO";
        return false;
    }
    // The mode bits decide even for a user whom the system would let write.
    if (exists && ((old.st_mode & 0222) == 0 || access(o->installed.c_str(), W_OK) != 0)) {
        *error = target + ": the file is read-only; it is not replaced";
        return false;
    }
#else
    fs::file_status old = fs::status(o->installed, ec);
    bool exists = fs::exists(old);
    if (exists && (old.permissions() & fs::perms::owner_write) == fs::perms::none) {
        *error = target + ": the file is read-only; it is not replaced";
        return false;
    }
#endif
    installSignalHandlers();
    std::mt19937_64 rng(std::random_device{}() ^ uint64_t(reinterpret_cast<uintptr_t>(o)));
    for (int attempt = 0; attempt < 100 && o->fd < 0; attempt++) {
        o->temp = temporaryName(o->installed, rng);
        o->slot = takeSlot(o->temp);
        o->fd = openExclusive(o->temp);
        if (o->fd >= 0) break;
        int code = errno;
        giveSlot(o->slot);
        o->slot = -1;
        if (code != EEXIST) {
            o->temp.clear();
            *error = target + ": cannot write in its folder: " + why(code);
            return false;
        }
    }
    if (o->fd < 0) {
        o->temp.clear();
        *error = target + ": cannot make a temporary file beside it";
        return false;
    }
#if !defined(_WIN32)
    // The new file gets the old one's permissions, or those of an ordinary new file.
    if (fchmod(o->fd, exists ? old.st_mode & 07777 : creationMode()) != 0) {}
    if (exists && fchown(o->fd, old.st_uid, old.st_gid) != 0) {}
#endif
    return true;
}

bool safeOutputWrite(SafeOutput* o, const void* data, size_t size) {
    return o->fd >= 0 && writeAll(o->fd, static_cast<const unsigned char*>(data), size);
}

bool safeOutputCommit(SafeOutput* o, std::string* error) {
    if (o->streamFd >= 0) {
        if (o->fd != o->streamFd) {
#if defined(_WIN32)
            bool ok = _lseek(o->fd, 0, SEEK_SET) == 0;
#else
            bool ok = lseek(o->fd, 0, SEEK_SET) == 0;
#endif
            unsigned char buffer[65536];
            for (long n; ok;) {
#if defined(_WIN32)
                n = _read(o->fd, buffer, sizeof buffer);
#else
                n = read(o->fd, buffer, sizeof buffer);
                if (n < 0 && errno == EINTR) continue;
#endif
                if (n <= 0) {
                    ok = n == 0;
                    break;
                }
                ok = writeAll(o->streamFd, buffer, size_t(n));
            }
            if (!ok) {
                *error = o->target + ": write failed: " + why(errno);
                return false;
            }
        }
        o->committed = true;
        return true;
    }
    if (o->fd < 0 || o->temp.empty()) {
        *error = o->target + ": nothing to write";
        return false;
    }
#if defined(_WIN32)
    bool flushed = _commit(o->fd) == 0;
#else
    bool flushed = fsync(o->fd) == 0;
#endif
    int code = errno;
    closeFd(&o->fd);
    if (!flushed) {
        *error = o->target + ": write failed: " + why(code);
        return false;
    }
#if !defined(_WIN32)
    // Held until close: another run's rename waits until this one has reported.
    o->lockSlot = lockFolder(folderOf(o->installed));
#endif
    std::error_code ec;
    fs::rename(o->temp, o->installed, ec);
    if (ec) {
        *error = o->target + ": cannot write: " + ec.message();
        return false;
    }
    giveSlot(o->slot);
    o->slot = -1;
    o->temp.clear();
    o->committed = true;
    return true;
}

void safeOutputClose(SafeOutput* o) {
    if (o->fd != o->streamFd) closeFd(&o->fd);
    o->fd = -1;
    closeFd(&o->streamFd);
    o->streamFd = -1;
    if (!o->temp.empty()) {
        std::error_code ec;
        fs::remove(o->temp, ec);
        o->temp.clear();
    }
    giveSlot(o->slot);
    o->slot = -1;
#if !defined(_WIN32)
    unlockFolder(o->lockSlot);
#endif
    o->lockSlot = -1;
}

bool writeFileSafely(const std::string& path, const std::vector<unsigned char>& bytes, std::string* error) {
    SafeOutput o;
    bool ok = safeOutputOpen(&o, path, false, error);
    if (ok && !safeOutputWrite(&o, bytes.data(), bytes.size())) {
        *error = path + ": write failed: " + why(errno);
        ok = false;
    }
    ok = ok && safeOutputCommit(&o, error);
    safeOutputClose(&o);
    return ok;
}
