#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "foundation/state_stream.h"
#include "foundation/stream_blocks.h"
#include "support/temp_dir.h"

namespace {

using Stream = std::unique_ptr<ProjectStateContext>;

std::vector<std::string> readAll(ProjectStateContext* s, int size = 256) {
    std::vector<std::string> lines;
    std::vector<char> buffer(static_cast<size_t>(size));
    while (s->readLine(buffer.data(), size) == 0) lines.push_back(buffer.data());
    return lines;
}

using Lines = std::vector<std::string>;

}  // namespace

TEST(StateStreamTest, FileLinesIndentAndCount) {
    TempDir dir;
    std::string path = dir.file("state.txt");
    {
        Stream s(createStateFileWriter(path.c_str()));
        ASSERT_TRUE(s);
        s->writeLine("<OUTER %d", 1);
        s->writeLine("<INNER");  // at 2, raises the indent to 4
        s->writeLine("value %f", 0.5);
        s->writeLine(">");  // back at 2
        s->writeLine(">");
        s->writeLine("%s", "bare %d\nstring");
        s->writeLine("%S", "upper");
        EXPECT_EQ(s->getTempFlag(), 0);
        s->setTempFlag(7);
        EXPECT_EQ(s->getTempFlag(), 7);
        EXPECT_EQ(s->outputSize(), int64_t(std::string("<OUTER 1\r\n  <INNER\r\n    value 0.5\r\n  >\r\n>\r\n"
                                                        "bare %d string\r\nupper\r\n").size()));
    }
    EXPECT_EQ(dir.read("state.txt"), "<OUTER 1\r\n  <INNER\r\n    value 0.5\r\n  >\r\n>\r\nbare %d string\r\nupper\r\n");

    Stream r(createStateFileReader(path.c_str()));
    ASSERT_TRUE(r);
    EXPECT_EQ(readAll(r.get()), (Lines{"<OUTER 1", "<INNER", "value 0.5", ">", ">", "bare %d string", "upper"}));
    char buffer[8];
    EXPECT_EQ(r->readLine(buffer, sizeof buffer), -1);
    EXPECT_STREQ(buffer, "");

    // Deep indents go out in pieces; a line is cut at 8191 characters. (The reader goes first:
    // Windows lets no one write a file that a reader holds.)
    r.reset();
    {
        Stream s(createStateFileWriter(path.c_str()));
        ASSERT_TRUE(s);
        for (int i = 0; i < 100; i++) s->writeLine("<");
        s->writeLine("x");
        s->writeLine("%s", std::string(9000, 'y').c_str());
    }
    std::string text = dir.read("state.txt");
    EXPECT_NE(text.find("\r\n" + std::string(200, ' ') + "x\r\n"), std::string::npos);
    EXPECT_NE(text.find(std::string(8191, 'y') + "\r\n"), std::string::npos);
    EXPECT_EQ(text.find(std::string(8192, 'y')), std::string::npos);

    EXPECT_FALSE(Stream(createStateFileReader(dir.file("missing").c_str())));
    EXPECT_FALSE(Stream(createStateFileWriter(dir.file("no/such/folder/f").c_str())));
}

TEST(StateStreamTest, ReadingSkipsBlankLinesAcrossRefills) {
    TempDir dir;
    // Blank runs, a line over a block end, a CR-only line end, no final line end.
    std::string text = "  x\r\n\r\n\r\n\r\ny\n";
    text += std::string(4090 - text.size(), ' ') + "\r\n\r\n   split across the end\r\n";
    text += std::string(5000, 'L') + "\r\n\t\tlast\r";
    std::string path = dir.write("lines.txt", text);
    Stream r(createStateFileReader(path.c_str()));
    ASSERT_TRUE(r);
    EXPECT_EQ(readAll(r.get(), 6000), (Lines{"x", "y", "split across the end", std::string(5000, 'L'), "last"}));

    // A line longer than the buffer comes in pieces; a buffer below 3 bytes reads nothing.
    r.reset(createStateFileReader(path.c_str()));
    char small[2];
    EXPECT_EQ(r->readLine(small, sizeof small), -1);
    std::vector<std::string> pieces = readAll(r.get(), 4001);
    ASSERT_EQ(pieces.size(), 6u);
    EXPECT_EQ(pieces[3], std::string(4000, 'L'));
    EXPECT_EQ(pieces[4], std::string(1000, 'L'));
}

TEST(StateStreamTest, MemoryAndQueueVariants) {
    Stream m(createStateMemory(nullptr, 0, STATE_MEMORY_READ | STATE_MEMORY_WRITE));
    ASSERT_TRUE(m);
    m->writeLine("one %d", 1);
    m->writeLine("  two");
    m->writeLine("");
    EXPECT_EQ(m->outputSize(), 13);
    EXPECT_EQ(readAll(m.get()), (Lines{"one 1", "two"}));

    // NUL is a line end and counts as blank at a line's start.
    const char bytes[] = "a\0\0 b\r\nc";
    m.reset(createStateMemory(bytes, sizeof bytes - 1, STATE_MEMORY_READ));
    EXPECT_EQ(readAll(m.get()), (Lines{"a", "b", "c"}));
    m->writeLine("ignored");
    EXPECT_EQ(m->outputSize(), int64_t(sizeof bytes - 1)) << "a read-only stream takes no lines";
    m.reset(createStateMemory(bytes, sizeof bytes - 1, STATE_MEMORY_WRITE));
    char line[16];
    EXPECT_EQ(m->readLine(line, sizeof line), -1) << "a write-only stream gives none";

    Stream q(createStateQueue());
    ASSERT_TRUE(q);
    for (int i = 0; i < 20000; i++) q->writeLine("line %05d", i);  // over several blocks
    EXPECT_EQ(q->outputSize(), 20000 * 11);
    EXPECT_EQ(q->readLine(line, sizeof line), -1);
    std::vector<char> copy(size_t(q->outputSize()));
    auto* queue = static_cast<ProjectStateContext_FastQueue*>(q.get());
    EXPECT_EQ(stateQueueCopy(queue, copy.data(), int64_t(copy.size())), int64_t(copy.size()));
    EXPECT_EQ(std::string(copy.data() + 11 * 12345, 11), std::string("line 12345\0", 11));
    // Its bytes read back through a memory stream.
    m.reset(createStateMemory(copy.data(), int(copy.size()), STATE_MEMORY_READ));
    Lines back = readAll(m.get());
    ASSERT_EQ(back.size(), 20000u);
    EXPECT_EQ(back[19999], "line 19999");
    EXPECT_EQ(stateQueueCopy(queue, copy.data(), 5), 5);
}

TEST(StateStreamTest, Base64AndTextRoundTrips) {
    TempDir dir;
    std::vector<unsigned char> data(700);
    for (size_t i = 0; i < data.size(); i++) data[i] = (unsigned char)(i * 37 + 11);
    std::string path = dir.file("blocks.txt");
    const int sizes[] = {0, 1, 2, 3, 95, 96, 97, 128, 129, 700};
    const std::string text = "first\r\nsecond\nthird\rfourth\n\rfifth\r\n\r\n" + std::string(4500, 't') + "\n  end ";
    {
        Stream s(createStateFileWriter(path.c_str()));
        for (int size : sizes) {
            s->writeLine("<DATA %d", size);
            writeBase64Lines(s.get(), data.data(), size);
            s->writeLine(">");
        }
        s->writeLine("<TEXT");
        writeTextLines(s.get(), text.data(), int(text.size()));
        s->writeLine(">");
    }
    std::string file = dir.read("blocks.txt");
    Stream r(createStateFileReader(path.c_str()));
    char header[64];
    for (int size : sizes) {
        ASSERT_EQ(r->readLine(header, sizeof header), 0);
        EXPECT_EQ(std::string(header), "<DATA " + std::to_string(size));
        GrowBuffer got;
        growBufferInit(&got);
        ASSERT_TRUE(readBase64Block(r.get(), &got));
        EXPECT_EQ(std::vector<unsigned char>(static_cast<unsigned char*>(got.data), static_cast<unsigned char*>(got.data) + got.used),
                  std::vector<unsigned char>(data.begin(), data.begin() + size))
            << size << " bytes";
        growBufferFree(&got);
    }
    ASSERT_EQ(r->readLine(header, sizeof header), 0);
    GrowBuffer got;
    growBufferInit(&got);
    ASSERT_TRUE(readTextBlock(r.get(), &got));
    EXPECT_EQ(std::string(static_cast<char*>(got.data), got.used), text);
    growBufferFree(&got);

    // Files carry 128 characters a line; memory streams 280 for data over 128 bytes.
    Stream m(createStateMemory(nullptr, 0, STATE_MEMORY_READ | STATE_MEMORY_WRITE));
    writeBase64Lines(m.get(), data.data(), 700);
    writeBase64Lines(m.get(), data.data(), 128);
    Lines lines = readAll(m.get(), 512);
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[0].size(), 280u);
    EXPECT_EQ(lines[3].size(), 96u);
    EXPECT_EQ(lines[4].size(), 128u) << "128 bytes is not over 128";
    EXPECT_EQ(lines[5].size(), 44u);
    EXPECT_EQ(lines[5].substr(42), lines[5].substr(42, 1) + "=") << "two bytes left: one pad";
    std::string fileLines = file.substr(file.find("<DATA 700"));
    EXPECT_EQ(fileLines.find("\r\n", 13) - 13, 128u);
}

TEST(StateStreamTest, NestedBlocksBadCharactersAndEarlyEnds) {
    const char lines[] = "QUJD\0<NESTED\0 ignored\0\"<QUOTED\0'>\0>\0REVG!ignored\0>\0after\0";
    Stream m(createStateMemory(lines, sizeof lines - 1, STATE_MEMORY_READ));
    GrowBuffer got;
    growBufferInit(&got);
    ASSERT_TRUE(readBase64Block(m.get(), &got));
    EXPECT_EQ(std::string(static_cast<char*>(got.data), got.used), "ABCDEF") << "nested blocks are passed over";
    char line[16];
    ASSERT_EQ(m->readLine(line, sizeof line), 0);
    EXPECT_STREQ(line, "after");

    unsigned char bytes[8];
    EXPECT_EQ(decodeBase64Line("QUJDREVG", bytes, 4), 4) << "the capacity bounds the bytes";
    EXPECT_EQ(decodeBase64Line("QQ==", bytes, 8), 1);
    EXPECT_EQ(decodeBase64Line("", bytes, 8), 0);

    const char unclosed[] = "QUJD\0|text\0";
    m.reset(createStateMemory(unclosed, sizeof unclosed - 1, STATE_MEMORY_READ));
    growBufferResize(&got, 0);
    EXPECT_FALSE(readBase64Block(m.get(), &got)) << "the stream ended inside the block";
    m.reset(createStateMemory(unclosed, sizeof unclosed - 1, STATE_MEMORY_READ));
    EXPECT_FALSE(readTextBlock(m.get(), &got));
    growBufferFree(&got);
}
