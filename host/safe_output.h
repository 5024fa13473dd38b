// Every file a kelvane-host command writes goes through here: an output is never one of the
// command's inputs, is written to a temporary of its own beside the target, and replaces the
// target only when complete. Used by render, state get, preset save and render-test-scene.
#pragma once

#include <string>
#include <vector>

// One input of a command: what the user called it (an option or "input") and its path.
struct NamedInput {
    std::string what;
    std::string path;
};

struct SafeOutput {
    std::string target;     // as the user named it
    std::string installed;  // the file the temporary replaces: the target, or where its symlink leads
    std::string temp;       // this run's temporary; empty when the target is a stream
    int fd = -1;            // where the bytes go: the temporary, or a spool for a stream
    int streamFd = -1;      // standard output, a device or a FIFO; -1 for a file
    int lockSlot = -1;      // the lock on the target's folder, held from the rename until close
    int slot = -1;          // the temporary's entry in the list that signals clear up
    bool committed = false;
};

// [main thread] Refuses an output that is the same file as one of the inputs, by name or by
// device and inode (hard links and symlinks included). Inputs with an empty path are skipped.
// False with a one-line reason naming both.
bool outputDiffersFromInputs(const std::string& output, const std::vector<NamedInput>& inputs, std::string* error);

// [main thread] Prepares the target: "-" is standard output (descriptor 1 then leads to standard
// error, so that nothing else printed mixes with the data); a character device or FIFO is
// written into directly; a symlink is followed, the link itself kept; a folder, a missing folder
// or a file without write permission is refused. Otherwise a temporary is created exclusively,
// under a unique name, in the folder of the file to replace. With `seekable`, a stream gets a
// spool that is copied into it on commit, so that writers which seek back can use `fd`.
// SIGINT, SIGTERM, SIGHUP and crashes remove the temporary before the process ends.
// False with a one-line reason naming the target; nothing is then made.
bool safeOutputOpen(SafeOutput* o, const std::string& target, bool seekable, std::string* error);
// [main thread] Writes bytes to `fd`; false when the system takes fewer.
bool safeOutputWrite(SafeOutput* o, const void* data, size_t size);
// [main thread] Finishes the output: flushes the temporary and renames it over the file (which
// keeps its permissions), or copies the spool into the stream. The target's folder stays locked
// until safeOutputClose, so that of two runs writing one target at once, each finds its own
// file in place while it reports. False with a one-line reason; the old file is then untouched.
bool safeOutputCommit(SafeOutput* o, std::string* error);
// [main thread] Closes everything; a temporary that was not committed is removed. Safe to call
// on a record that failed to open or was closed already.
void safeOutputClose(SafeOutput* o);

// [main thread] All of the above for bytes held in memory. False with a one-line reason; the
// target is then untouched.
bool writeFileSafely(const std::string& path, const std::vector<unsigned char>& bytes, std::string* error);
