// SPDX-License-Identifier: Apache-2.0
#include "host/program/output_file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <set>

#include "tests/support/private_tv.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using test::contentOf;
using test::makeFile;
using test::PrivateFolder;
using testing::HasSubstr;

/** A folder with one file of each type, and open descriptors of some. */
class OutputFile : public testing::Test {
  protected:
    OutputFile() {
        umask(027);
        fs::create_symlink("/dev/null", folder_ / "null");
        fs::create_symlink("/dev/full", folder_ / "full");
        mkfifo((folder_ / "pipe").c_str(), 0600);
        reader_ = open((folder_ / "pipe").c_str(), O_RDONLY | O_NONBLOCK);
        makeFile(folder_ / "log", "first\n");
        appender_ = open((folder_ / "log").c_str(), O_WRONLY | O_APPEND);
        fs::create_symlink("/proc/self/fd/" + std::to_string(appender_), folder_ / "to descriptor");
        makeFile(folder_ / "private", "an old content, longer than the new one");
        chmod((folder_ / "private").c_str(), 0600);
        makeFile(folder_ / "shared", "old");
        chmod((folder_ / "shared").c_str(), 0666);
        fs::create_directory(folder_ / "sub");
        fs::create_symlink("../to private", folder_ / "sub/link");
        fs::create_symlink("private", folder_ / "to private");
        fs::create_symlink("sub/new", folder_ / "dangling");
        fs::create_symlink("loop", folder_ / "loop");
    }
    ~OutputFile() override {
        close(reader_);
        close(appender_);
        umask(before_);
    }

    mode_t modeOf(const std::string& name) {
        struct stat status{};
        return stat((folder_ / name).c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }

    /** Returns name and type of each file, to detect new files and changed types. */
    std::string kinds() const {
        std::set<std::string> files;  // sorted: each file system lists its files in another order
        for (const auto& entry : fs::recursive_directory_iterator(folder_.path())) {
            if (entry.path().filename() == "new") continue;
            const auto type = static_cast<int>(entry.symlink_status().type());
            files.insert(entry.path().filename().string() + " " + std::to_string(type));
        }
        return testing::PrintToString(files);
    }

    const mode_t before_ = umask(0);
    PrivateFolder folder_;
    int reader_ = -1;
    int appender_ = -1;
};

TEST_F(OutputFile, FileOfEachTypeIsWrittenAndKeepsItsType) {
    const std::string descriptor = "/dev/fd/" + std::to_string(appender_);
    struct Row {
        std::string path;
        std::string problem;
        std::string written;  // the file whose content is checked; none if empty
        std::string content = "new\n";
        mode_t mode = 0;
    };
    const Row rows[] = {
        {folder_ / "null", "", ""},
        {folder_ / "full", "full cannot be written: No space left on device", ""},
        {folder_ / "pipe", "", ""},
        {descriptor, "", "log", "first\nnew\n", 0640},
        {folder_ / "to descriptor", "", "log", "first\nnew\nnew\n", 0640},
        {folder_ / "private", "", "private", "new\n", 0600},
        {folder_ / "sub/link", "", "private", "new\n", 0600},
        {folder_ / "shared", "", "shared", "new\n", 0666},
        {folder_ / "dangling", "", "sub/new", "new\n", 0640},
        {folder_ / "new", "", "new", "new\n", 0640},
        {folder_ / "sub", "sub cannot be written: Is a directory", ""},
        {folder_ / "nosuch/file", "file cannot be written: No such file or directory", ""},
        {folder_ / "loop", "loop cannot be written: Too many levels of symbolic links", ""},
        {"/dev/fd/999", "999 cannot be written: Bad file descriptor", ""},
        {"/proc/self/nosuch", "cannot be written: ", ""},
    };
    const std::string before = kinds();
    for (const Row& row : rows) {
        const std::string problem = writeOutputFile(row.path, "new\n");
        EXPECT_THAT(problem, HasSubstr(row.problem)) << row.path;
        EXPECT_EQ(problem.empty(), row.problem.empty()) << row.path << problem;
        if (row.written.empty()) continue;
        EXPECT_EQ(contentOf(folder_ / row.written), row.content) << row.path;
        EXPECT_EQ(modeOf(row.written), row.mode) << row.path;
    }
    EXPECT_EQ(kinds(), before) << "no new file, and no changed type";
    char piped[10] = {};
    EXPECT_EQ(read(reader_, piped, sizeof(piped)), 4);
}

TEST_F(OutputFile, FileThatCannotBeReplacedKeepsItsContent) {
    const std::string before = kinds();
    const std::string old = contentOf(folder_ / "private");
    // Simulates a full disk.
    signal(SIGXFSZ, SIG_IGN);
    rlimit unlimited{};
    getrlimit(RLIMIT_FSIZE, &unlimited);
    const rlimit limited{4, unlimited.rlim_max};
    std::vector<std::string> problems;
    setrlimit(RLIMIT_FSIZE, &limited);
    for (const char* name : {"private", "sub/link", "new"})
        problems.push_back(writeOutputFile(folder_ / name, "too much"));
    setrlimit(RLIMIT_FSIZE, &unlimited);
    EXPECT_THAT(problems, testing::Each(HasSubstr("File too large")));
    EXPECT_EQ(contentOf(folder_ / "private"), old);
    EXPECT_EQ(contentOf(folder_ / "new"), "(none)");
    EXPECT_EQ(kinds(), before);

    if (geteuid() == 0) return;  // root may write to any file
    chmod((folder_ / "private").c_str(), 0400);
    EXPECT_THAT(writeOutputFile(folder_ / "private", "new"), HasSubstr("written: Permission denied"));
    chmod((folder_ / "private").c_str(), 0600);
    chmod(folder_.path().c_str(), 0500);
    EXPECT_THAT(writeOutputFile(folder_ / "private", "new"),
                HasSubstr("cannot create a temporary file in " + folder_.path() + ": Permission denied"));
    chmod(folder_.path().c_str(), 0700);
    EXPECT_EQ(contentOf(folder_ / "private"), old);
}

}  // namespace
}  // namespace hidlaudio::host
