// kelvane-host never destroys a file it was not asked to write: outputs that are inputs under
// another name, interrupted and concurrent runs, links, streams and read-only targets.
#include <gtest/gtest.h>

#if defined(KVP_HAVE_SNDFILE)
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tool_run.h"

namespace {

namespace fs = std::filesystem;

std::string q(const std::string& s) { return shellQuote(s); }

std::string makeInput(const TempDir& dir, const std::string& name) {
    std::string path = dir.file(name);
    EXPECT_EQ(std::system(("sox -n -r 48000 -c 2 " + q(path) + " synth 0.2 sine 300 sine 500").c_str()), 0);
    return path;
}

// The temporaries a run leaves in a folder: none, whatever ended it.
std::vector<std::string> leftovers(const TempDir& dir) {
    std::vector<std::string> found;
    for (auto& entry : fs::directory_iterator(dir.path))
        if (entry.path().filename().string().find(".partial") != std::string::npos) found.push_back(entry.path());
    return found;
}

// The same render as another, allowing for the last bit of a few samples: the plugin's first
// blocks are not bit-exact from run to run. A mix of two renders differs in most bytes.
bool sameRender(const std::string& x, const std::string& y) {
    if (x.size() != y.size()) return false;
    size_t differ = 0;
    for (size_t i = 0; i < x.size(); i++) differ += x[i] != y[i];
    return differ < 64;
}

TEST(SafeOutputTest, AnOutputThatIsAnInputIsRefusedBeforeAnythingIsWritten) {
    TempDir dir;
    std::string in = makeInput(dir, "in.wav");
    std::string chunk = dir.file("s.chunk");
    ASSERT_EQ(runTool(dir, "state get " + q(pluginPath()) + " " + q(chunk)).code, 0);
    const std::string inBytes = dir.read("in.wav"), chunkBytes = dir.read("s.chunk");
    fs::create_hard_link(in, dir.path / "hard.wav");
    fs::create_symlink("in.wav", dir.path / "soft.wav");
    fs::create_symlink(chunk, dir.path / "soft.chunk");
    std::string sub = (dir.path / "." / "in.wav").string();
    struct Case {
        std::string args, mentions;
    };
    const Case cases[] = {
        {"render " + q(in) + " " + q(in), "the same file as the input"},
        {"render " + q(in) + " " + q(sub), "the same file as the input"},
        {"render " + q(in) + " " + q(dir.file("hard.wav")), "the same file as the input"},
        {"render " + q(in) + " " + q(dir.file("soft.wav")), "the same file as the input"},
        {"render " + q(dir.file("soft.wav")) + " " + q(dir.file("hard.wav")), "the same file as the input"},
        {"render " + q(in) + " " + q(dir.file("soft.chunk")) + " --state " + q(chunk), "--state"},
        {"render " + q(in) + " " + q(dir.file("o.wav")) + " --save-state " + q(dir.file("o.wav")), "--save-state"},
        {"render " + q(in) + " " + q(dir.file("o.wav")) + " --save-state " + q(in), "the input"},
        {"render " + q(in) + " " + q(dir.file("o.wav")) + " --save-state " + q(dir.file("soft.chunk")) + " --state " +
             q(chunk), "--state"},
        {"render " + q(in) + " " + q(pluginPath()), "--plugin"},
        {"state get " + q(pluginPath()) + " " + q(dir.file("soft.chunk")) + " --state " + q(chunk), "--state"},
    };
    for (const Case& c : cases) {
        ToolResult r = runTool(dir, c.args);
        EXPECT_EQ(r.code, 2) << c.args;
        EXPECT_NE(r.err.find(c.mentions), std::string::npos) << c.args << " said: " << r.err;
    }
    EXPECT_EQ(dir.read("in.wav"), inBytes);
    EXPECT_EQ(dir.read("s.chunk"), chunkBytes);
    EXPECT_FALSE(fs::exists(dir.path / "o.wav"));
    EXPECT_TRUE(leftovers(dir).empty());
}

TEST(SafeOutputTest, LinksStreamsAndReadOnlyTargets) {
    TempDir dir;
    std::string in = makeInput(dir, "in.wav");
    std::string real = dir.write("real.wav", "old"), link = dir.file("link.wav");
    fs::create_symlink("real.wav", link);
    chmod(real.c_str(), 0640);

    // A symlink is followed: its file is replaced, keeping its permissions, and the link stays.
    ToolResult r = runTool(dir, "render " + q(in) + " " + q(link));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(dir.read("real.wav").substr(0, 4), "RIFF");
    EXPECT_EQ(fs::status(real).permissions() & fs::perms::all, fs::perms(0640));

    // A read-only file is not replaced, whoever runs the command.
    std::string locked = dir.write("locked.wav", "keep");
    chmod(locked.c_str(), 0444);
    r = runTool(dir, "render " + q(in) + " " + q(locked));
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("read-only"), std::string::npos) << r.err;
    EXPECT_EQ(dir.read("locked.wav"), "keep");

    // "-" and a FIFO are streamed into; the report moves to standard error; the device stays one.
    r = runTool(dir, "render " + q(in) + " -");
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(sameRender(r.out, dir.read("real.wav"))) << "the same render, through standard output";
    EXPECT_NE(r.err.find("rendered 9600 frames"), std::string::npos) << r.err;
    std::string fifo = dir.file("pipe");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::string copy = dir.file("copy.wav");
    ASSERT_EQ(std::system(("cat " + q(fifo) + " > " + q(copy) + " & " + q(besideTestProgram(KVP_HOST_TOOL_FILE)) +
                           " render " + q(in) + " " + q(fifo) + " >/dev/null; wait")
                              .c_str()),
              0);
    EXPECT_TRUE(sameRender(dir.read("copy.wav"), dir.read("real.wav")));
    EXPECT_EQ(runTool(dir, "state get " + q(pluginPath()) + " /dev/null").code, 0);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_TRUE(leftovers(dir).empty());
}

// A run stopped by a signal in the middle leaves the old file and no temporary.
TEST(SafeOutputTest, AnInterruptedRunLeavesTheOldFile) {
    TempDir dir;
    std::string in = makeInput(dir, "in.wav");
    std::string out = dir.write("out.wav", "the old file");
    for (int sig : {SIGINT, SIGTERM}) {
        std::string tool = besideTestProgram(KVP_HOST_TOOL_FILE);
        pid_t pid = fork();
        if (pid == 0) {
            freopen("/dev/null", "w", stdout);
            execl(tool.c_str(), tool.c_str(), "render", in.c_str(), out.c_str(), "--tail", "3600", (char*)nullptr);
            _exit(127);
        }
        ASSERT_GT(pid, 0);
        bool writing = false;
        for (int i = 0; i < 500 && !writing; i++) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            writing = !leftovers(dir).empty();
        }
        EXPECT_TRUE(writing) << "the render makes its temporary";
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        kill(pid, sig);
        int status = 0;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << "signal " << sig;
        EXPECT_EQ(dir.read("out.wav"), "the old file");
        EXPECT_TRUE(leftovers(dir).empty()) << "signal " << sig;
    }
}

// Two runs writing one target at once: the target is the whole file of one of them.
TEST(SafeOutputTest, ConcurrentRunsInstallOneWholeFile) {
    TempDir dir;
    std::string in = makeInput(dir, "in.wav");
    std::string tool = q(besideTestProgram(KVP_HOST_TOOL_FILE));
    const std::string left = " --tail 2 --set " + q("in 1 X=-100"), right = " --tail 2 --set " + q("in 1 X=100");
    ASSERT_EQ(runTool(dir, "render " + q(in) + " " + q(dir.file("left.wav")) + left).code, 0);
    ASSERT_EQ(runTool(dir, "render " + q(in) + " " + q(dir.file("right.wav")) + right).code, 0);
    const std::string a = dir.read("left.wav"), b = dir.read("right.wav");
    ASSERT_FALSE(sameRender(a, b));
    std::string out = q(dir.file("out.wav"));
    for (int round = 0; round < 4; round++) {
        std::string both = tool + " render " + q(in) + " " + out + left + " >/dev/null & " + tool + " render " + q(in) +
                           " " + out + right + " >/dev/null; s=$?; wait $! && exit $s";
        ASSERT_EQ(std::system(both.c_str()), 0) << "round " << round;
        std::string now = dir.read("out.wav");
        EXPECT_TRUE(sameRender(now, a) || sameRender(now, b)) << "round " << round << ": " << now.size() << " bytes";
        EXPECT_TRUE(leftovers(dir).empty());
    }
}

}  // namespace
#endif
