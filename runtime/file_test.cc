#include "runtime/file.h"
#include "runtime/file_extra.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <tuple>

#include "tests/support/trace_capture.h"
#include "tests/support/wide.h"

namespace {

using vt_test::LogMark;
using vt_test::LogSince;
using vt_test::ReadWholeFile;

using vt_test::Wide;

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

void WriteText(const std::string& path, const std::string& text) {
  const FileOpen f = OpenFile(path.c_str(), FILE_ACCESS_WRITE, OPEN_CREATE | OPEN_TRUNCATE);
  ASSERT_EQ(f.status, STATUS_SUCCESS);
  std::uint32_t count = 0;
  ASSERT_EQ(WriteFile(f.file.get(), text.data(), static_cast<std::uint32_t>(text.size()), &count), STATUS_SUCCESS);
}

class FileTest : public ::testing::Test {
 protected:
  void SetUp() override { (void)LogMark(); }  // opens the capture log before the first measured call
  std::string P(const std::string& name) const { return dir_ / name; }
  vt_test::TempDir dir_;
};

TEST_F(FileTest, OpenChecksArgumentsFirstAndPassesOptions) {
  WriteText(P("keep"), "content");
  constexpr std::tuple<std::uint32_t, std::uint32_t, NTSTATUS> kBad[] = {  // access, options, status
      {0, OPEN_CREATE, STATUS_INVALID_PARAMETER}, {4, OPEN_CREATE, STATUS_INVALID_PARAMETER},
      {3, OPEN_CREATE | 0x2000, STATUS_INVALID_PARAMETER},
      {FILE_ACCESS_READ, OPEN_CREATE | OPEN_TRUNCATE, STATUS_ACCESS_DENIED}};
  for (const char* name : {"new", "keep"}) {
    for (const auto& [acc, options, status] : kBad) {
      const auto mark = LogMark();
      const FileOpen f = OpenFile(P(name).c_str(), acc, options);
      EXPECT_EQ(f.status, status) << acc << " " << options;
      EXPECT_FALSE(f.file);
      EXPECT_EQ(f.error, 0);  // no call was made
      EXPECT_EQ(LogSince(mark), "");
    }
  }
  EXPECT_NE(access(P("new").c_str(), F_OK), 0);  // nothing created or truncated
  EXPECT_EQ(ReadWholeFile(P("keep")), "content");

  for (const auto& [acc, options, cloexec] : {std::tuple{1u, 0u, true}, {2u, 0u, true}, {3u, OPEN_INHERITABLE, false}}) {
    const FileOpen f = OpenFile(P("keep").c_str(), acc, options);
    ASSERT_EQ(f.status, STATUS_SUCCESS);
    EXPECT_EQ((fcntl(f.file.get(), F_GETFD) & FD_CLOEXEC) != 0, cloexec);
    EXPECT_EQ(fcntl(f.file.get(), F_GETFL) & O_ACCMODE, static_cast<int>(acc - 1));
  }
  // Each failure keeps its errno for the caller, also where the log was quiet.
  for (const auto& [path, options, status, error, expectedLog] :  // expectedLog "" for no log line
       {std::tuple{P("keep"), OPEN_CREATE | OPEN_EXCLUSIVE, STATUS_UNSUCCESSFUL, EEXIST, std::string("ERRNO=17 (")},
        {P("none"), OPEN_QUIET_NOT_FOUND, STATUS_OBJECT_NAME_NOT_FOUND, ENOENT, ""},
        {P("none"), 0, STATUS_OBJECT_NAME_NOT_FOUND, ENOENT, "Couldn't open file " + P("none") + ": ERRNO=2 ("},
        {P("keep/sub"), OPEN_QUIET_NOT_FOUND, STATUS_UNSUCCESSFUL, ENOTDIR, "ERRNO=20 ("}}) {
    const auto mark = LogMark();
    const FileOpen f = OpenFile(path.c_str(), FILE_ACCESS_READ, options);
    EXPECT_EQ(f.status, status) << path << " " << options;
    EXPECT_EQ(f.error, error) << path;
    EXPECT_FALSE(f.file);
    const std::string log = LogSince(mark);
    EXPECT_TRUE(expectedLog.empty() ? log.empty() : Contains(log, expectedLog)) << log;
  }
  const mode_t old = umask(0);  // created files get 0660
  const FileOpen made = OpenRegularFileUnicode(Wide(P("made")).get(), FILE_ACCESS_WRITE, OPEN_CREATE);
  umask(old);
  ASSERT_EQ(made.status, STATUS_SUCCESS);
  struct stat st {};
  ASSERT_EQ(stat(P("made").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0660u);
  ASSERT_EQ(mkfifo(P("fifo").c_str(), 0600), 0);
  const FileOpen fifo = OpenRegularFile(P("fifo").c_str(), FILE_ACCESS_READ, 0);  // never blocks
  EXPECT_EQ(fifo.status, STATUS_FILE_INVALID);
  EXPECT_EQ(fifo.error, EINVAL);
  EXPECT_FALSE(fifo.file);
}

TEST_F(FileTest, LengthOffsetsReadsAndWrites) {
  WriteText(P("f"), "0123456789");
  const FileOpen f = OpenFile(P("f").c_str(), FILE_ACCESS_READ, 0);
  ASSERT_EQ(f.status, STATUS_SUCCESS);
  char buf[16] = {};
  std::uint32_t count = 0;
  ASSERT_EQ(ReadFile(f.file.get(), buf, 4, &count), STATUS_SUCCESS);
  std::uint64_t length = 0, offset = 0;
  EXPECT_EQ(GetFileLength(f.file.get(), &length), STATUS_SUCCESS);
  EXPECT_EQ(length, 10u);
  ASSERT_EQ(GetFileOffset(f.file.get(), &offset), STATUS_SUCCESS);
  EXPECT_EQ(offset, 4u);  // the length left it where it was
  for (const auto& [move, origin, status, at] :
       {std::tuple{2, 1u, STATUS_SUCCESS, 6}, {-3, 2u, STATUS_SUCCESS, 7}, {0, 3u, STATUS_INVALID_PARAMETER, 7}}) {
    EXPECT_EQ(SetFileOffset(f.file.get(), move, origin), status) << move << " from " << origin;
    EXPECT_EQ(lseek(f.file.get(), 0, SEEK_CUR), at);
  }
  count = 7;  // a failed write (read-only descriptor) reports nothing written
  EXPECT_EQ(WriteFile(f.file.get(), "x", 1, &count), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(count, 0u);
}

TEST_F(FileTest, RenameWithoutReplaceKeepsBothFiles) {
  WriteText(P("a"), "source");
  WriteText(P("b"), "target");
  EXPECT_EQ(RenameFile(Wide(P("a")).get(), Wide(P("b")).get(), false), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(ReadWholeFile(P("a")), "source");
  EXPECT_EQ(ReadWholeFile(P("b")), "target");
  EXPECT_EQ(RenameFile(Wide(P("a")).get(), Wide(P("b")).get(), true), STATUS_SUCCESS);
  EXPECT_EQ(ReadWholeFile(P("b")), "source");
  EXPECT_EQ(RenameFile(Wide(P("gone")).get(), Wide(P("d")).get(), true), STATUS_OBJECT_NAME_NOT_FOUND);
}

// The kernel-style wrappers of runtime/file_extra.h: what they add to those above.
TEST_F(FileTest, KernelStyleOpensWriteTheDescriptorOnEveryPath) {
  WriteText(P("keep"), "content");
  EXPECT_EQ(OpenFile(P("keep").c_str(), FILE_ACCESS_READ, 0, nullptr), STATUS_INVALID_PARAMETER);
  for (const auto& [path, access, status] : {std::tuple{P("none"), 1u, STATUS_OBJECT_NAME_NOT_FOUND},
                                             {P("keep"), 0u, STATUS_INVALID_PARAMETER}}) {
    FileHandle fd = 42;
    EXPECT_EQ(OpenFile(path.c_str(), access, 0, &fd), status) << path;
    EXPECT_EQ(fd, kInvalidFile);
  }
  FileHandle fd = kInvalidFile;
  ASSERT_EQ(OpenFileUnicode(Wide(P("keep")).get(), FILE_ACCESS_READ, 0, &fd), STATUS_SUCCESS);
  EXPECT_EQ(CloseFile(fd), STATUS_SUCCESS);
  EXPECT_EQ(CloseFile(fd), STATUS_UNSUCCESSFUL);  // already closed
}

TEST_F(FileTest, SafeDeleteTakesOnlyCanonicalPaths) {
  char real[PATH_MAX];
  ASSERT_NE(realpath(dir_.path().c_str(), real), nullptr);
  const std::string base = real;
  ASSERT_EQ(mkdir((base + "/d").c_str(), 0700), 0);
  WriteText(base + "/d/f", "x");
  ASSERT_EQ(symlink((base + "/d").c_str(), (base + "/ld").c_str()), 0);
  ASSERT_EQ(symlink((base + "/d/f").c_str(), (base + "/lf").c_str()), 0);
  char cwd[PATH_MAX];
  ASSERT_NE(getcwd(cwd, sizeof(cwd)), nullptr);
  ASSERT_EQ(chdir(base.c_str()), 0);  // so the relative "d/f" names the file
  for (const std::string& path : {base + "/ld/f", base + "/lf", std::string("d/f"), base + "/d//f", base + "/./d/f"}) {
    const auto mark = LogMark();
    EXPECT_EQ(SafeDeleteFile(Wide(path).get()), STATUS_FILE_INVALID) << path;
    EXPECT_TRUE(Contains(LogSince(mark), "Found non-canonical path during safe delete '" + path + "'")) << path;
  }
  ASSERT_EQ(chdir(cwd), 0);
  EXPECT_EQ(ReadWholeFile(base + "/d/f"), "x");
  EXPECT_EQ(access((base + "/lf").c_str(), F_OK), 0);  // the link itself stays too
  EXPECT_EQ(SafeDeleteFile(Wide(base + "/d/f").get()), STATUS_SUCCESS);
  EXPECT_NE(access((base + "/d/f").c_str(), F_OK), 0);
  EXPECT_EQ(SafeDeleteFile(Wide(base + "/d/f").get()), STATUS_PATH_NOT_EXPANDED);
  EXPECT_EQ(DeleteFileUnicode(Wide(base + "/d/f").get()), STATUS_OBJECT_NAME_NOT_FOUND);
}

}  // namespace
