#include "runtime/file.h"

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
  UniqueFile f;
  std::uint32_t count = 0;
  ASSERT_EQ(OpenFile(path.c_str(), FILE_ACCESS_WRITE, OPEN_CREATE | OPEN_TRUNCATE, f.out()), STATUS_SUCCESS);
  ASSERT_EQ(WriteFile(f.get(), text.data(), static_cast<std::uint32_t>(text.size()), &count), STATUS_SUCCESS);
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
      FileHandle fd = 42;
      EXPECT_EQ(OpenFile(P(name).c_str(), acc, options, &fd), status) << acc << " " << options;
      EXPECT_EQ(fd, kInvalidFile);
      EXPECT_EQ(LogSince(mark), "");
    }
  }
  EXPECT_NE(access(P("new").c_str(), F_OK), 0);  // no call was made: nothing created or truncated
  EXPECT_EQ(ReadWholeFile(P("keep")), "content");

  for (const auto& [acc, options, cloexec] : {std::tuple{1u, 0u, true}, {2u, 0u, true}, {3u, OPEN_INHERITABLE, false}}) {
    UniqueFile f;
    ASSERT_EQ(OpenFile(P("keep").c_str(), acc, options, f.out()), STATUS_SUCCESS);
    EXPECT_EQ((fcntl(f.get(), F_GETFD) & FD_CLOEXEC) != 0, cloexec);
    EXPECT_EQ(fcntl(f.get(), F_GETFL) & O_ACCMODE, static_cast<int>(acc - 1));
  }
  for (const auto& [path, options, status, expectedLog] :  // expectedLog "" for no log line
       {std::tuple{P("keep"), OPEN_CREATE | OPEN_EXCLUSIVE, STATUS_UNSUCCESSFUL, std::string("ERRNO=17 (")},
        {P("none"), OPEN_QUIET_NOT_FOUND, STATUS_OBJECT_NAME_NOT_FOUND, ""},
        {P("none"), 0, STATUS_OBJECT_NAME_NOT_FOUND, "Couldn't open file " + P("none") + ": ERRNO=2 ("},
        {P("keep/sub"), OPEN_QUIET_NOT_FOUND, STATUS_UNSUCCESSFUL, "ERRNO=20 ("}}) {
    const auto mark = LogMark();
    FileHandle fd = 42;
    EXPECT_EQ(OpenFile(path.c_str(), FILE_ACCESS_READ, options, &fd), status) << path << " " << options;
    EXPECT_EQ(fd, kInvalidFile);
    const std::string log = LogSince(mark);
    EXPECT_TRUE(expectedLog.empty() ? log.empty() : Contains(log, expectedLog)) << log;
  }
  const mode_t old = umask(0);  // created files get 0660
  UniqueFile f;
  const NTSTATUS created = OpenFileUnicode(Wide(P("made")).get(), FILE_ACCESS_WRITE, OPEN_CREATE, f.out());
  umask(old);
  ASSERT_EQ(created, STATUS_SUCCESS);
  struct stat st {};
  ASSERT_EQ(stat(P("made").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0660u);
}

TEST_F(FileTest, LengthOffsetsReadsAndWrites) {
  WriteText(P("f"), "0123456789");
  UniqueFile f;
  ASSERT_EQ(OpenFile(P("f").c_str(), FILE_ACCESS_READ, 0, f.out()), STATUS_SUCCESS);
  char buf[16] = {};
  std::uint32_t count = 0;
  ASSERT_EQ(ReadFile(f.get(), buf, 4, &count), STATUS_SUCCESS);
  std::uint64_t length = 0, offset = 0;
  EXPECT_EQ(GetFileLength(f.get(), &length), STATUS_SUCCESS);
  EXPECT_EQ(length, 10u);
  ASSERT_EQ(GetFileOffset(f.get(), &offset), STATUS_SUCCESS);
  EXPECT_EQ(offset, 4u);
  for (const auto& [move, origin, status, at] :
       {std::tuple{2, 1u, STATUS_SUCCESS, 6}, {-3, 2u, STATUS_SUCCESS, 7}, {0, 3u, STATUS_INVALID_PARAMETER, 7}}) {
    EXPECT_EQ(SetFileOffset(f.get(), move, origin), status) << move << " from " << origin;
    EXPECT_EQ(lseek(f.get(), 0, SEEK_CUR), at);
  }
  count = 7;  // a failed write (read-only descriptor) reports nothing written
  EXPECT_EQ(WriteFile(f.get(), "x", 1, &count), STATUS_UNSUCCESSFUL);
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
