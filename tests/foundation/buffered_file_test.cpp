#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "foundation/buffered_file.h"
#include "platform/file_names.h"
#include "support/temp_dir.h"

namespace {

// Stands between the writer and the disk: passes every call on, records each start, and can
// report "still running" for some polls and "aborted" for some results. An aborted write's
// bytes are wiped from the file first, so that only the writer's repeat can bring them back.
// A write the system finished at once is reported as running until its result is asked for,
// so that the writer's order of events is the same whatever the platform does.
struct Submission {
    int64_t offset;
    int size;
};
struct DiskStandIn {
    std::vector<Submission> starts;
    std::map<const AsyncWrite*, Submission> running;
    std::map<const AsyncWrite*, bool> finishedAtOnce;
    int inFlight = 0, mostInFlight = 0;
    int polls = 0, results = 0, aborts = 0;
    int incompleteEvery = 0, abortEvery = 0;
};
DiskStandIn disk;

int standInStart(FileHandle file, AsyncWrite* request, const void* data, int size, int64_t offset) {
    disk.starts.push_back({offset, size});
    disk.running[request] = {offset, size};
    int outcome = ASYNC_WRITE_PLATFORM.start(file, request, data, size, offset);
    if (outcome == FILE_IO_FAILED) return outcome;
    disk.finishedAtOnce[request] = outcome == FILE_IO_DONE;
    if (++disk.inFlight > disk.mostInFlight) disk.mostInFlight = disk.inFlight;
    return FILE_IO_PENDING;
}

int standInResult(FileHandle file, AsyncWrite* request, bool wait) {
    if (!wait && disk.incompleteEvery && ++disk.polls % disk.incompleteEvery == 0) return FILE_IO_INCOMPLETE;
    int outcome = disk.finishedAtOnce[request] ? FILE_IO_DONE : ASYNC_WRITE_PLATFORM.result(file, request, wait);
    if (outcome == FILE_IO_INCOMPLETE) return outcome;
    disk.finishedAtOnce[request] = false;
    disk.inFlight--;
    if (disk.abortEvery && ++disk.results % disk.abortEvery == 0) {
        Submission s = disk.running[request];
        std::vector<char> zeros(size_t(s.size), 0);
        fileWriteAt(file, zeros.data(), s.size, s.offset);
        disk.aborts++;
        return FILE_IO_ABORTED;
    }
    return outcome;
}

const AsyncWriteCalls STAND_IN = {standInStart, standInResult};

std::vector<char> pattern(size_t size) {
    std::vector<char> bytes(size);
    for (size_t i = 0; i < size; i++) bytes[i] = char((i * 131 + i / 8192 * 7) & 0xFF);
    return bytes;
}

void openForTest(BufferedFileWriter* w, const std::string& path, const AsyncWriteCalls* calls = &STAND_IN) {
    disk = DiskStandIn();
    bufferedWriterOpen(w, path.c_str(), 1, 8192, 16, 16, false, false, calls);
    ASSERT_NE(w->handle, FILE_HANDLE_NONE);
}

}  // namespace

TEST(BufferedFileTest, WholeBuffersGoOutAtOnceAndTheRestOnClose) {
    TempDir dir;
    BufferedFileWriter w;

    openForTest(&w, dir.file("none"));
    bufferedWriterClose(&w);
    EXPECT_TRUE(disk.starts.empty()) << "nothing written, nothing submitted";
    EXPECT_TRUE(std::filesystem::exists(dir.file("none")));
    EXPECT_EQ(std::filesystem::file_size(dir.file("none")), 0u);

    std::vector<char> bytes = pattern(8193);
    openForTest(&w, dir.file("exact"));
    EXPECT_EQ(bufferedWriterWrite(&w, bytes.data(), 8192), 8192);
    ASSERT_EQ(disk.starts.size(), 1u) << "a full buffer is submitted in the same call";
    EXPECT_EQ(disk.starts[0].offset, 0);
    EXPECT_EQ(disk.starts[0].size, 8192);
    bufferedWriterClose(&w);
    EXPECT_EQ(disk.starts.size(), 1u) << "closing only waits";
    EXPECT_EQ(dir.read("exact"), std::string(bytes.data(), 8192));

    openForTest(&w, dir.file("one more"));
    EXPECT_EQ(bufferedWriterWrite(&w, bytes.data(), 8193), 8193);
    EXPECT_EQ(disk.starts.size(), 1u);
    bufferedWriterClose(&w);
    ASSERT_EQ(disk.starts.size(), 2u);
    EXPECT_EQ(disk.starts[1].offset, 8192);
    EXPECT_EQ(disk.starts[1].size, 1) << "the last byte goes out in a write of its own";
    EXPECT_EQ(dir.read("one more"), std::string(bytes.begin(), bytes.end()));
    EXPECT_EQ(w.handle, FILE_HANDLE_NONE);
}

TEST(BufferedFileTest, AbortedWritesGoAgainToTheSameOffsets) {
    TempDir dir;
    // 40 buffers and a bit, in pieces that straddle buffer ends, through a disk that aborts
    // every third write and keeps every second poll waiting.
    std::vector<char> bytes = pattern(40 * 8192 + 777);
    BufferedFileWriter w;
    openForTest(&w, dir.file("aborts"));
    disk.abortEvery = 3;
    disk.incompleteEvery = 2;
    for (size_t at = 0; at < bytes.size();) {
        int piece = int(std::min<size_t>(5000 + at % 7000, bytes.size() - at));
        ASSERT_EQ(bufferedWriterWrite(&w, bytes.data() + at, piece), piece);
        at += size_t(piece);
    }
    bufferedWriterClose(&w);

    EXPECT_EQ(dir.read("aborts"), std::string(bytes.begin(), bytes.end())) << "every byte where it belongs";
    EXPECT_GT(disk.aborts, 5);
    EXPECT_LE(disk.mostInFlight, 16);
    // First submissions hand out offsets in order; each repeat goes where the first went.
    std::map<int64_t, int> sizeAt;
    int64_t next = 0;
    for (const Submission& s : disk.starts) {
        auto known = sizeAt.find(s.offset);
        if (known != sizeAt.end()) {
            EXPECT_EQ(known->second, s.size) << "a repeat at " << s.offset << " has other bytes";
            continue;
        }
        EXPECT_EQ(s.offset, next) << "offsets are given in the order of first submission";
        sizeAt[s.offset] = s.size;
        next = s.offset + s.size;
    }
    EXPECT_EQ(next, int64_t(bytes.size()));
    EXPECT_EQ(disk.starts.size(), sizeAt.size() + size_t(disk.aborts));
}

TEST(BufferedFileTest, FilesMatchAroundEveryBufferEnd) {
    TempDir dir;
    std::vector<char> bytes = pattern(18 * 8192 + 1);
    for (int buffers = 0; buffers <= 17; buffers++)
        for (int delta : {-1, 0, 1}) {
            int size = buffers * 8192 + delta;
            if (size < 0) continue;
            std::string name = "f" + std::to_string(size);
            BufferedFileWriter w;
            bufferedWriterOpen(&w, dir.file(name).c_str(), 1, 8192, 16, 16, false, false);
            // Half in one call, the rest in small pieces.
            int half = size / 2;
            EXPECT_EQ(bufferedWriterWrite(&w, bytes.data(), half), half > 0 ? half : 0);
            for (int at = half; at < size; at += 1000) bufferedWriterWrite(&w, bytes.data() + at, std::min(1000, size - at));
            bufferedWriterClose(&w);
            EXPECT_EQ(dir.read(name), std::string(bytes.data(), size_t(size))) << size << " bytes";
        }
}

TEST(BufferedFileTest, PlainModeAppendAndFailures) {
    TempDir dir;
    std::string path = dir.file("log");
    BufferedFileWriter w;
    bufferedWriterOpen(&w, path.c_str(), 0, 8192, 16, 16, false, false);
    EXPECT_EQ(bufferedWriterWrite(&w, "first ", 6), 6);
    EXPECT_EQ(bufferedWriterWrite(&w, "line\n", 5), 5);
    EXPECT_EQ(w.position, 11);
    bufferedWriterClose(&w);

    // Appending goes on at the end, in either mode.
    bufferedWriterOpen(&w, path.c_str(), 1, 8192, 2, 16, true, false);
    EXPECT_EQ(w.position, 11);
    bufferedWriterWrite(&w, "more", 4);
    bufferedWriterClose(&w);
    bufferedWriterOpen(&w, path.c_str(), 0, 8192, 0, 0, true, true);
    bufferedWriterWrite(&w, "!", 1);
    bufferedWriterClose(&w);
    EXPECT_EQ(dir.read("log"), "first line\nmore!");

    // No name, or a folder that is not there: nothing opens and nothing is taken.
    bufferedWriterOpen(&w, nullptr, 1, 8192, 16, 16, false, false);
    EXPECT_EQ(w.handle, FILE_HANDLE_NONE);
    EXPECT_EQ(w.asyncMode, 0);
    EXPECT_EQ(bufferedWriterWrite(&w, "x", 1), 0);
    bufferedWriterClose(&w);
    bufferedWriterOpen(&w, dir.file("no/such/folder/x").c_str(), 1, 8192, 16, 16, false, false);
    EXPECT_EQ(w.handle, FILE_HANDLE_NONE);
    EXPECT_EQ(bufferedWriterWrite(&w, "x", 1), 0);
    bufferedWriterClose(&w);
}

TEST(BufferedFileTest, BlocksOfTheFileAndItsEnd) {
    TempDir dir;
    char block[READ_BLOCK_SIZE];
    BufferedFileReader r;

    bufferedReaderOpen(&r, dir.file("missing").c_str(), 65536, 1);
    EXPECT_EQ(r.handle, FILE_HANDLE_NONE);
    EXPECT_EQ(bufferedReaderBlock(&r, block, sizeof block), 0);
    bufferedReaderClose(&r);

    dir.write("empty", "");
    bufferedReaderOpen(&r, dir.file("empty").c_str(), 65536, 1);
    ASSERT_NE(r.handle, FILE_HANDLE_NONE);
    EXPECT_EQ(bufferedReaderBlock(&r, block, sizeof block), 0);
    bufferedReaderClose(&r);

    std::vector<char> bytes = pattern(200000);
    dir.write("exact", std::string(bytes.data(), 4096));
    bufferedReaderOpen(&r, dir.file("exact").c_str(), 65536, 1);
    EXPECT_EQ(bufferedReaderBlock(&r, block, sizeof block), 4096);
    EXPECT_EQ(std::memcmp(block, bytes.data(), 4096), 0);
    EXPECT_EQ(bufferedReaderBlock(&r, block, sizeof block), 0);
    bufferedReaderClose(&r);

    // Across many refills, and with a smaller capacity than a block.
    dir.write("large", std::string(bytes.begin(), bytes.end()));
    for (int capacity : {4096, 1000}) {
        bufferedReaderOpen(&r, dir.file("large").c_str(), 65536, 1);
        std::string got;
        for (int n; (n = bufferedReaderBlock(&r, block, capacity)) > 0;) {
            EXPECT_LE(n, capacity);
            got.append(block, size_t(n));
        }
        EXPECT_EQ(got, std::string(bytes.begin(), bytes.end())) << "capacity " << capacity;
        EXPECT_EQ(r.position, int64_t(bytes.size()));
        bufferedReaderClose(&r);
    }

    // A file that a writer holds open can be read.
    BufferedFileWriter w;
    bufferedWriterOpen(&w, dir.file("busy").c_str(), 0, 8192, 0, 0, false, false);
    bufferedWriterWrite(&w, "busy", 4);
    bufferedReaderOpen(&r, dir.file("busy").c_str(), 65536, 1);
    EXPECT_NE(r.handle, FILE_HANDLE_NONE);
    EXPECT_EQ(bufferedReaderBlock(&r, block, sizeof block), 4);
    bufferedReaderClose(&r);
    bufferedWriterClose(&w);
}

TEST(BufferedFileTest, FirstReadsAreStaggeredReaderByReader) {
    TempDir dir;
    dir.write("big", std::string(100000, 'x'));
    char block[READ_BLOCK_SIZE];
    struct Case {
        int bufferSize, bufferCount, usable, shiftMask;
    };
    // Eight units stagger over four sizes, two to seven over two, one unit not at all.
    for (Case c : {Case{65536, 1, 65536, 3}, Case{8192, 4, 32768, 1}, Case{5000, 1, 8192, 0}}) {
        for (int reader = 0; reader < 5; reader++) {
            int counter = firstReadCounter.load();
            BufferedFileReader r;
            bufferedReaderOpen(&r, dir.file("big").c_str(), c.bufferSize, c.bufferCount);
            EXPECT_EQ(r.usableSize, c.usable);
            EXPECT_EQ(bufferedReaderBlock(&r, block, sizeof block), 4096);
            EXPECT_EQ(r.valid, c.usable >> (counter & c.shiftMask)) << "usable " << c.usable << ", reader " << reader;
            EXPECT_EQ(firstReadCounter.load(), counter + (c.shiftMask ? 1 : 0));
            // Later refills ask for the whole buffer.
            while (r.cursor < r.valid) bufferedReaderBlock(&r, block, sizeof block);
            bufferedReaderBlock(&r, block, sizeof block);
            EXPECT_EQ(r.valid, std::min(c.usable, 100000 - int(r.position) + r.cursor));
            bufferedReaderClose(&r);
        }
    }
}

TEST(BufferedFileTest, Utf8QuickTestOfTheOpenCall) {
    EXPECT_FALSE(looksLikeUtf8(nullptr));
    EXPECT_FALSE(looksLikeUtf8(""));
    EXPECT_FALSE(looksLikeUtf8("plain/name.txt"));
    EXPECT_TRUE(looksLikeUtf8("caf\xC3\xA9"));
    EXPECT_TRUE(looksLikeUtf8("\xE2\x82\xAC 5"));
    EXPECT_TRUE(looksLikeUtf8("\xF0\x9F\x8E\xB5"));
    EXPECT_FALSE(looksLikeUtf8("caf\xE9 cr\xE8me")) << "a system code page name";
    EXPECT_FALSE(looksLikeUtf8("\xC3")) << "a lead at the end";
    EXPECT_FALSE(looksLikeUtf8(std::string(255, 'a').c_str()));
    EXPECT_TRUE(looksLikeUtf8(std::string(256, 'a').c_str())) << "long names go the wide way";
    EXPECT_TRUE(looksLikeUtf8((std::string(300, 'a') + "\xE9").c_str()));
}

TEST(BufferedFileTest, LongNamesOpenAndMove) {
    TempDir dir;
    // Past 256 characters in all; forward slashes throughout, as a caller may write them.
    std::string folder = dir.path.generic_string();
    // The last part stays below the 255 bytes a file name may have.
    int filler = std::clamp(260 - int(folder.size()), 10, 240);
    std::string name = folder + "/" + std::string(size_t(filler), 'n') + "\xC3\xA9.txt";
    std::string moved = name + ".moved";
    ASSERT_GE(name.size(), 256u);
    BufferedFileWriter w;
    bufferedWriterOpen(&w, name.c_str(), 1, 8192, 16, 16, false, false);
    ASSERT_NE(w.handle, FILE_HANDLE_NONE);
    bufferedWriterWrite(&w, "long", 4);
    bufferedWriterClose(&w);
    EXPECT_TRUE(fileMove(name.c_str(), moved.c_str()));
    BufferedFileReader r;
    bufferedReaderOpen(&r, moved.c_str(), 65536, 1);
    char block[READ_BLOCK_SIZE];
    EXPECT_EQ(bufferedReaderBlock(&r, block, sizeof block), 4);
    EXPECT_EQ(std::string(block, 4), "long");
    bufferedReaderClose(&r);
    EXPECT_TRUE(fileDelete(moved.c_str()));
    EXPECT_FALSE(fileDelete(moved.c_str()));
}
