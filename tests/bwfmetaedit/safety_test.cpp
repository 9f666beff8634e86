// What a recording must survive: links, modes, interrupted and impossible writes, huge files.
#include "bwfmetaedit/tool_test.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace ostrel::testing {
namespace {

class Safety : public ToolTest {
public:
    struct Ended {
        int status; // of the program, or -1
        long peak;  // resident kilobytes
    };

    // The built program, with resource limits of its own.
    template <typename Prepare>
    Ended runProgram(const std::vector<std::string>& arguments, Prepare prepare) {
        const pid_t child = ::fork();
        if (child == 0) {
            prepare();
            const int nowhere = ::open("/dev/null", O_RDWR);
            ::dup2(nowhere, 1);
            ::dup2(nowhere, 2);
            std::vector<char*> argv{const_cast<char*>(BWFMETAEDIT)};
            for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
            argv.push_back(nullptr);
            ::execv(BWFMETAEDIT, argv.data());
            ::_exit(127);
        }
        int status = 0;
        rusage usage{};
        EXPECT_EQ(::wait4(child, &status, 0, &usage), child);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, usage.ru_maxrss};
    }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        DIR* directory = ::opendir(folder().c_str());
        while (const dirent* entry = ::readdir(directory)) found.emplace_back(entry->d_name);
        ::closedir(directory);
        std::sort(found.begin(), found.end());
        return found;
    }
};

void limitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, bytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

TEST_F(Safety, ASymbolicLinkAndItsTargetSurvive) {
    ASSERT_EQ(::mkdir(path("there").c_str(), 0755), 0);
    put("there/t.wav", riff(format() + audio()));
    ASSERT_EQ(::symlink("there/t.wav", path("l.wav").c_str()), 0);
    EXPECT_EQ(run({"--Description=x", "{D}/l.wav"}).err, "");
    struct stat status {};
    ASSERT_EQ(::lstat(path("l.wav").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
    EXPECT_EQ(cell("there/t.wav", "Description"), "x");
}

TEST_F(Safety, AReplacedFileKeepsModeOwnerAccessTimeAndAttributes) {
    put("a.wav", riff(format() + audio()));
    ASSERT_EQ(::chmod(path("a.wav").c_str(), 0640), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(path("a.wav").c_str(), 4711, 4712), 0);
    }
    const bool attributes = ::setxattr(path("a.wav").c_str(), "user.note", "kept", 4, 0) == 0;
    struct stat before {};
    ASSERT_EQ(::stat(path("a.wav").c_str(), &before), 0);
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "");
    struct stat after {};
    ASSERT_EQ(::stat(path("a.wav").c_str(), &after), 0);
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_LT(after.st_atim.tv_sec, after.st_mtim.tv_sec);
    char value[4] = {};
    if (attributes) {
        EXPECT_EQ(::getxattr(path("a.wav").c_str(), "user.note", value, 4), 4);
    }
}

TEST_F(Safety, TemporaryFilesTakeNoNameOfAnotherAndLeaveNothing) {
    put("a.wav", riff(format() + audio()));
    put("a.wav.tmp", "somebody's");
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "");
    EXPECT_EQ(get("a.wav.tmp"), "somebody's");
    EXPECT_EQ(names(), (std::vector<std::string>{".", "..", "a.wav", "a.wav.tmp"}));
}

TEST_F(Safety, ALongNameIsNoObstacle) {
    const std::string name = repeated(251, 'n') + ".wav";
    put(name, riff(format() + audio()));
    EXPECT_EQ(run({"--Description=x", "{D}/" + name}).err, "");
    EXPECT_EQ(cell(name, "Description"), "x");
}

TEST_F(Safety, AReplacementThatDoesNotFitLeavesTheOldFile) {
    put("a.wav", riff(format() + audio(100'000)));
    const std::string before = identity("a.wav");
    const Ended ended = runProgram({"--Description=x", path("a.wav")}, [] { limitFileSize(50'000); });
    EXPECT_EQ(ended.status, 1) << "an error, not a signal";
    EXPECT_EQ(identity("a.wav"), before);
    EXPECT_EQ(names().size(), 3U);
}

TEST_F(Safety, AnInPlaceWriteThatDoesNotFitLeavesTheOldBytes) {
    const std::string before = riff(format() + audio(100'000));
    put("a.wav", before);
    put("i.xml", repeated(5000, 'x'));
    const Ended ended =
        runProgram({"--in-iXML=" + path("i.xml"), path("a.wav")}, [&] { limitFileSize(before.size() + 1000); });
    EXPECT_EQ(ended.status, 1);
    EXPECT_TRUE(get("a.wav") == before);
}

TEST_F(Safety, MemoryStaysSmallWhateverTheFile) {
    // 6 GB of sparse RF64, and next to the most metadata that is taken.
    const std::uint64_t size = 6'000'000'000;
    const std::string wideData = "data" + le(0xffffffff, 4);
    std::string head = rf64(format() + chunk("iXML", repeated(1 << 20, '\n')) + chunk("axml", "x") + wideData, size, 0);
    head.replace(20, 8, le(head.size() + size - 8, 8));
    put("a.wav", head);
    ASSERT_EQ(::truncate(path("a.wav").c_str(), static_cast<off_t>(head.size() + size)), 0);
    for (const char* option : {"--out-core=-", "--out-iXML=-", "--Description=x", "--ICMT=c"}) {
        const Ended ended = runProgram({option, path("a.wav")}, [] {});
        EXPECT_EQ(ended.status, 0) << option;
#if !defined(__SANITIZE_ADDRESS__)
        EXPECT_LT(ended.peak, 32 * 1024) << option;
#endif
    }
    EXPECT_EQ(cell("a.wav", "Description"), "x");
}

TEST_F(Safety, AReadOnlyFileIsShownAndNotChanged) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may write anything; the next test takes another user's place";
    put("a.wav", riff(format() + bext({.description = "shown"}) + audio()));
    ASSERT_EQ(::chmod(path("a.wav").c_str(), 0444), 0);
    EXPECT_EQ(cell("a.wav", "Description"), "shown");
    EXPECT_EQ(run({"--Description=shown", "{D}/a.wav"}).status, 0) << "nothing to write";
    EXPECT_EQ(run({"--Description=x", "{D}/a.wav"}).err, "<TIME> {D}/a.wav: Is read only\n\n");
}

TEST_F(Safety, AnotherUsersFileIsShownAndNotChanged) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to take another user's place";
    put("a.wav", riff(format() + bext({.description = "shown"}) + audio()));
    put("b.wav", riff(format() + audio()));
    ASSERT_EQ(::chmod(folder().c_str(), 0755), 0);
    ASSERT_EQ(::chmod(path("a.wav").c_str(), 0444), 0);
    ASSERT_EQ(::chmod(path("b.wav").c_str(), 0666), 0);
    constexpr uid_t kNobody = 65534;
    ASSERT_EQ(::seteuid(kNobody), 0);
    const std::string shown = cell("a.wav", "Description");
    const ToolResult readOnly = run({"--Description=x", "{D}/a.wav"});
    const ToolResult folderReadOnly = run({"--Description=x", "{D}/b.wav"});
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_EQ(shown, "shown");
    EXPECT_EQ(readOnly.status, 1);
    EXPECT_EQ(readOnly.err, "<TIME> {D}/a.wav: Is read only\n\n");
    EXPECT_EQ(folderReadOnly.err, "<TIME> {D}/b.wav: Can not create temporary file\n\n");
    EXPECT_EQ(layoutOf(get("b.wav")), "fmt 16 | data 400");
}

TEST_F(Safety, TwoPathsOfOneFileAreWrittenOneAfterTheOther) {
    put("a.wav", riff(format() + audio()));
    ASSERT_EQ(::symlink("a.wav", path("b.wav").c_str()), 0);
    EXPECT_EQ(run({"--Description=x", "--ICMT=c", "{D}/a.wav", "{D}/b.wav", "{D}/./a.wav"}).err, "");
    EXPECT_EQ(layoutOf(get("a.wav")), "fmt 16 | LIST 14 | bext 858 | FLLR 16384 | data 400");
}

TEST_F(Safety, OddNamesArePaths) {
    for (const char* name : {"a b.wav", "quote\"'s.wav", "line\nbreak.wav", "\xc3\xbc\xe2\x82\xac.wav",
                             "back\\slash.wav", "no utf8 \xff.wav", "=x.wav"}) {
        put(name, riff(format() + audio()));
        EXPECT_EQ(run({"--Description=x", path(name)}).err, "") << name;
        EXPECT_EQ(cell(name, "Description"), "x");
    }
}

} // namespace
} // namespace ostrel::testing
