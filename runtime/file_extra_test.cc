// The kernel-style wrappers of runtime/file_extra.h over those of
// runtime/file.h (tested in file_test.cc): what they add.
#include "runtime/file_extra.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
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
  FileHandle fd = kInvalidFile;
  ASSERT_EQ(OpenFile(path.c_str(), FILE_ACCESS_WRITE, OPEN_CREATE | OPEN_TRUNCATE, &fd), STATUS_SUCCESS);
  const UniqueFile f(fd);
  std::uint32_t count = 0;
  ASSERT_EQ(WriteFile(f.get(), text.data(), static_cast<std::uint32_t>(text.size()), &count), STATUS_SUCCESS);
}

class FileExtraTest : public ::testing::Test {
 protected:
  void SetUp() override { (void)LogMark(); }  // opens the capture log before the first measured call
  std::string P(const std::string& name) const { return dir_ / name; }
  vt_test::TempDir dir_;
};

TEST_F(FileExtraTest, KernelStyleOpensWriteTheDescriptorOnEveryPath) {
  WriteText(P("keep"), "content");
  EXPECT_EQ(OpenFile(P("keep").c_str(), FILE_ACCESS_READ, 0, nullptr), STATUS_INVALID_PARAMETER);
  for (const auto& [path, access, status] : {std::tuple{P("none"), 1u, STATUS_OBJECT_NAME_NOT_FOUND},
                                             {P("keep"), 0u, STATUS_INVALID_PARAMETER}}) {
    FileHandle fd = 42;
    EXPECT_EQ(OpenFile(path.c_str(), access, 0, &fd), status) << path;
    EXPECT_EQ(fd, kInvalidFile);
  }
  FileHandle fd = kInvalidFile;
  const mode_t old = umask(0);  // created files get 0660
  const NTSTATUS created = OpenFileUnicode(Wide(P("made")).get(), FILE_ACCESS_WRITE, OPEN_CREATE, &fd);
  umask(old);
  ASSERT_EQ(created, STATUS_SUCCESS);
  EXPECT_NE(fd, kInvalidFile);
  EXPECT_EQ(CloseFile(fd), STATUS_SUCCESS);
  EXPECT_EQ(CloseFile(fd), STATUS_UNSUCCESSFUL);  // already closed
  struct stat st {};
  ASSERT_EQ(stat(P("made").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0660u);
}

TEST_F(FileExtraTest, Offsets) {
  WriteText(P("f"), "0123456789");
  FileHandle fd = kInvalidFile;
  ASSERT_EQ(OpenFile(P("f").c_str(), FILE_ACCESS_READ, 0, &fd), STATUS_SUCCESS);
  const UniqueFile f(fd);
  ASSERT_EQ(lseek(f.get(), 4, SEEK_SET), 4);
  std::uint64_t offset = 0;
  ASSERT_EQ(GetFileOffset(f.get(), &offset), STATUS_SUCCESS);
  EXPECT_EQ(offset, 4u);
  for (const auto& [move, origin, status, at] :
       {std::tuple{2, 1u, STATUS_SUCCESS, 6}, {-3, 2u, STATUS_SUCCESS, 7}, {0, 3u, STATUS_INVALID_PARAMETER, 7}}) {
    EXPECT_EQ(SetFileOffset(f.get(), move, origin), status) << move << " from " << origin;
    EXPECT_EQ(lseek(f.get(), 0, SEEK_CUR), at);
  }
}

TEST_F(FileExtraTest, SafeDeleteTakesOnlyCanonicalPaths) {
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
