#include "runtime/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <string>
#include <tuple>

#include "runtime/trace_capture.h"

namespace {

using vt_test::LogMark;
using vt_test::LogSince;
using vt_test::ReadWholeFile;

// A UNICODE_STRING over an owned UTF-16 copy of ASCII text (or given units).
struct Wide {
  explicit Wide(const std::string& ascii) : Wide(std::u16string(ascii.begin(), ascii.end())) {}
  explicit Wide(std::u16string units)
      : text(std::move(units)), s{static_cast<std::uint16_t>(text.size() * 2), static_cast<std::uint16_t>(text.size() * 2 + 2), text.data()} {}
  // &Wide(...) yields the descriptor; the temporary lives to the end of the call.
  const UNICODE_STRING* operator&() const { return &s; }
  std::u16string text;
  UNICODE_STRING s;
};

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

void WriteText(const std::string& path, const std::string& text) {
  UniqueFile f;
  ASSERT_EQ(OpenFile(path.c_str(), FILE_ACCESS_WRITE, OPEN_CREATE | OPEN_TRUNCATE, f.out()), STATUS_SUCCESS);
  std::uint32_t count = 0;
  ASSERT_EQ(WriteFile(f.get(), text.data(), static_cast<std::uint32_t>(text.size()), &count), STATUS_SUCCESS);
  ASSERT_EQ(count, text.size());
}

class FileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(dir_.path().empty());
    (void)LogMark();  // opens the capture log before the first measured call
  }
  std::string P(const std::string& name) const { return dir_ / name; }
  vt_test::TempDir dir_;
};

TEST_F(FileTest, OpenRefusesBadArgumentsBeforeAnyCall) {
  WriteText(P("keep"), "content");
  constexpr std::tuple<std::uint32_t, std::uint32_t, NTSTATUS> kCases[] = {  // access, options, status
      {0, OPEN_CREATE, STATUS_INVALID_PARAMETER},          {4, OPEN_CREATE, STATUS_INVALID_PARAMETER},
      {3, OPEN_CREATE | 0x40, STATUS_INVALID_PARAMETER},   {3, OPEN_CREATE | 0x2000, STATUS_INVALID_PARAMETER},
      {3, OPEN_CREATE | 0x20000, STATUS_INVALID_PARAMETER}, {FILE_ACCESS_READ, OPEN_CREATE | OPEN_TRUNCATE, STATUS_ACCESS_DENIED},
  };
  for (const char* name : {"new", "keep"}) {
    for (const auto& [acc, options, status] : kCases) {
      const auto mark = LogMark();
      FileHandle fd = 42;
      EXPECT_EQ(OpenFile(P(name).c_str(), acc, options, &fd), status) << acc << " " << options;
      EXPECT_EQ(fd, kInvalidFile);
      EXPECT_EQ(LogSince(mark), "");
    }
  }
  // No call was made: nothing created, nothing truncated.
  EXPECT_NE(access(P("new").c_str(), F_OK), 0);
  EXPECT_EQ(ReadWholeFile(P("keep")), "content");
}

TEST_F(FileTest, OpenOptionsReachTheCall) {
  WriteText(P("f"), "12345");
  ASSERT_EQ(symlink(P("f").c_str(), P("link").c_str()), 0);
  for (const auto& [acc, options, cloexec] : {std::tuple{1u, 0u, true}, {2u, 0u, true}, {3u, OPEN_INHERITABLE, false}}) {
    UniqueFile f;
    ASSERT_EQ(OpenFile(P("f").c_str(), acc, options, f.out()), STATUS_SUCCESS);
    EXPECT_EQ((fcntl(f.get(), F_GETFD) & FD_CLOEXEC) != 0, cloexec);
    EXPECT_EQ(fcntl(f.get(), F_GETFL) & O_ACCMODE, static_cast<int>(acc - 1));
  }
  // Failures; the quiet bit silences ENOENT only.
  for (const auto& [path, options, status, expectedLog] :  // expectedLog "" for no log line
       {std::tuple{P("f"), OPEN_CREATE | OPEN_EXCLUSIVE, STATUS_UNSUCCESSFUL, std::string("ERRNO=17 (")},
       {P("link"), OPEN_NO_FOLLOW, STATUS_UNSUCCESSFUL, "ERRNO=40 ("},
       {P("f"), OPEN_DIRECTORY, STATUS_UNSUCCESSFUL, "ERRNO=20 ("},
       {P("none"), OPEN_QUIET_NOT_FOUND, STATUS_OBJECT_NAME_NOT_FOUND, ""},
       {P("none"), 0, STATUS_OBJECT_NAME_NOT_FOUND, "Couldn't open file " + P("none") + ": ERRNO=2 ("},
       {P("f/sub"), OPEN_QUIET_NOT_FOUND, STATUS_UNSUCCESSFUL, "ERRNO=20 ("}}) {
    const auto mark = LogMark();
    FileHandle fd = 42;
    EXPECT_EQ(OpenFile(path.c_str(), FILE_ACCESS_READ, options, &fd), status) << path << " " << options;
    EXPECT_EQ(fd, kInvalidFile);
    const std::string log = LogSince(mark);
    EXPECT_TRUE(expectedLog.empty() ? log.empty() : Contains(log, expectedLog)) << log;
  }

  UniqueFile f;
  ASSERT_EQ(OpenFileUnicode(&Wide(P("f")), FILE_ACCESS_WRITE, OPEN_SEEK_END, f.out()), STATUS_SUCCESS);
  EXPECT_EQ(lseek(f.get(), 0, SEEK_CUR), 5);
  FileHandle fd = 42;  // a path that does not convert leaves it unwritten
  EXPECT_FALSE(NT_SUCCESS(OpenFileUnicode(&Wide(std::u16string(u"/tmp/\xD800")), FILE_ACCESS_READ, 0, &fd)));
  EXPECT_EQ(fd, 42);

  // Created files get 0660 (umask cleared for the check), relative to a directory descriptor.
  UniqueFile dirFd;
  ASSERT_EQ(OpenFile(dir_.path().c_str(), FILE_ACCESS_READ, OPEN_DIRECTORY, dirFd.out()), STATUS_SUCCESS);
  const mode_t old = umask(0);
  const NTSTATUS created = OpenFileAt(dirFd.get(), "made", FILE_ACCESS_WRITE, OPEN_CREATE, f.out());
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
  EXPECT_EQ(count, 4u);
  std::uint64_t length = 0, offset = 0;
  EXPECT_EQ(GetFileLength(f.get(), &length), STATUS_SUCCESS);
  EXPECT_EQ(length, 10u);
  // Positioned reads report EOF at the end; neither they nor the length move the offset.
  const std::uint64_t offsets[] = {8, 10};
  EXPECT_EQ(ReadFileAtOffset(f.get(), buf, sizeof(buf), &count, &offsets[0]), STATUS_SUCCESS);
  EXPECT_EQ(std::string(buf, count), "89");
  EXPECT_EQ(ReadFileAtOffset(f.get(), buf, sizeof(buf), &count, &offsets[1]), STATUS_END_OF_FILE);
  ASSERT_EQ(GetFileOffset(f.get(), &offset), STATUS_SUCCESS);
  EXPECT_EQ(offset, 4u);

  for (const auto& [move, origin, status, at] :
       {std::tuple{2, 1u, STATUS_SUCCESS, 6}, {-3, 2u, STATUS_SUCCESS, 7}, {1, 0u, STATUS_SUCCESS, 1},
        {0, 3u, STATUS_INVALID_PARAMETER, 1}, {-1, 0u, STATUS_UNSUCCESSFUL, 1}}) {
    EXPECT_EQ(SetFileOffset(f.get(), move, origin), status) << move << " from " << origin;
    EXPECT_EQ(lseek(f.get(), 0, SEEK_CUR), at);
  }

  count = 7;  // a failed write (read-only descriptor) reports nothing written
  EXPECT_EQ(WriteFile(f.get(), "x", 1, &count), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(count, 0u);
  length = 5;
  EXPECT_EQ(GetFileLength(-1, &length), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(length, 0u);
}

TEST_F(FileTest, RenameWithoutReplaceKeepsBothFiles) {
  WriteText(P("a"), "source");
  WriteText(P("b"), "target");
  EXPECT_EQ(RenameFile(&Wide(P("a")), &Wide(P("b")), false), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(ReadWholeFile(P("a")), "source");
  EXPECT_EQ(ReadWholeFile(P("b")), "target");

  EXPECT_EQ(RenameFile(&Wide(P("a")), &Wide(P("b")), true), STATUS_SUCCESS);
  EXPECT_EQ(ReadWholeFile(P("b")), "source");
  EXPECT_EQ(RenameFile(&Wide(P("b")), &Wide(P("c")), false), STATUS_SUCCESS);
  EXPECT_EQ(ReadWholeFile(P("c")), "source");
  EXPECT_EQ(RenameFile(&Wide(P("gone")), &Wide(P("d")), true), STATUS_OBJECT_NAME_NOT_FOUND);
}

TEST_F(FileTest, CreateDirectoryTrimsTheLastComponent) {
  ASSERT_EQ(mkdir(P("a").c_str(), 0700), 0);
  // path, trim, status, a directory that must exist afterwards, a path that must not ("" for none)
  for (const auto& [path, trim, status, created, absent] :
       {std::tuple{std::string("/x"), true, STATUS_INVALID_PARAMETER, std::string(), std::string()},
        {P("a/b/c"), true, STATUS_SUCCESS, P("a/b"), P("a/b/c")},
        {P("a/t/"), true, STATUS_SUCCESS, P("a/t"), ""},
        {P("a/b"), false, STATUS_SUCCESS, P("a/b"), ""},  // already there
        {P("m/n"), false, STATUS_UNSUCCESSFUL, "", P("m")}}) {
    EXPECT_EQ(CreateDirectory(&Wide(path), trim), status) << path;
    struct stat st {};
    EXPECT_TRUE(created.empty() || (stat(created.c_str(), &st) == 0 && S_ISDIR(st.st_mode))) << created;
    EXPECT_TRUE(absent.empty() || stat(absent.c_str(), &st) != 0) << absent;
  }
}

TEST_F(FileTest, DeleteAndSafeDelete) {
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
  for (const std::string& path : {base + "/ld/f", base + "/lf", std::string("d/f"), base + "/d//f", base + "/./d/f",
                                 base + "/d/../d/f"}) {
    const auto mark = LogMark();
    EXPECT_EQ(SafeDeleteFile(&Wide(path)), STATUS_FILE_INVALID) << path;
    EXPECT_TRUE(Contains(LogSince(mark), "Found non-canonical path during safe delete '" + path + "'")) << path;
  }
  ASSERT_EQ(chdir(cwd), 0);
  EXPECT_EQ(ReadWholeFile(base + "/d/f"), "x");
  EXPECT_EQ(access((base + "/lf").c_str(), F_OK), 0);  // the link itself stays too

  EXPECT_EQ(SafeDeleteFile(&Wide(base + "/d/f")), STATUS_SUCCESS);
  EXPECT_NE(access((base + "/d/f").c_str(), F_OK), 0);
  EXPECT_EQ(SafeDeleteFile(&Wide(base + "/d/f")), STATUS_PATH_NOT_EXPANDED);
  EXPECT_EQ(DeleteFileUnicode(&Wide(base + "/d/f")), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_EQ(DeleteFileAt(kCurrentDirectory, (base + "/d").c_str()), STATUS_UNSUCCESSFUL);  // a directory
}

std::set<std::u16string> ReadAll(const std::string& path, const UNICODE_STRING* pattern) {
  std::set<std::u16string> names;
  DIR* dir = nullptr;
  EXPECT_EQ(OpenDirectory(path.c_str(), &dir), STATUS_SUCCESS);
  UNICODE_STRING name{};
  NTSTATUS status;
  while ((status = ReadDirectoryEntryMatching(dir, pattern, &name)) == STATUS_SUCCESS) {
    names.insert(std::u16string(View(name)));
    EXPECT_EQ(name.Buffer[name.Length / 2], u'\0');
    RtlFreeUnicodeString(&name);
  }
  EXPECT_EQ(status, STATUS_NO_MORE_ENTRIES);
  EXPECT_EQ(CloseDirectory(dir), STATUS_SUCCESS);
  return names;
}

TEST_F(FileTest, DirectoryEnumeration) {
  ASSERT_EQ(mkdir(P("e").c_str(), 0700), 0);
  for (const char* name : {"a.txt", "b.txt", "c.log", "\xC3\xA9.txt"}) {
    WriteText(P(std::string("e/") + name), "x");
  }
  ASSERT_EQ(mkdir(P("e/sub").c_str(), 0700), 0);
  EXPECT_EQ(ReadAll(P("e"), nullptr), (std::set<std::u16string>{u"a.txt", u"b.txt", u"c.log", u"\u00E9.txt", u"sub"}));
  EXPECT_EQ(ReadAll(P("e"), &Wide("*.txt")), (std::set<std::u16string>{u"a.txt", u"b.txt", u"\u00E9.txt"}));

  // A name that is not UTF-8 cannot be returned; it is reported, not repaired.
  ASSERT_EQ(mkdir(P("bad").c_str(), 0700), 0);
  WriteText(P("bad/\xFF"), "x");
  DIR* dir = nullptr;
  ASSERT_EQ(OpenDirectoryUnicode(&Wide(P("bad")), &dir), STATUS_SUCCESS);
  UNICODE_STRING name{2, 2, nullptr};
  EXPECT_EQ(ReadDirectoryEntry(dir, &name), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(name.Length, 0);
  EXPECT_EQ(CloseDirectory(dir), STATUS_SUCCESS);
}

TEST_F(FileTest, TimesCountFrom1601) {
  WriteText(P("t"), "x");
  const timespec times[2] = {{1, 250}, {0, 0}};  // access, modification
  ASSERT_EQ(utimensat(AT_FDCWD, P("t").c_str(), times, 0), 0);
  std::uint64_t accessTime = 0, modifyTime = 0;
  EXPECT_EQ(GetFileTimesUnicode(&Wide(P("t")), &accessTime, &modifyTime, nullptr), STATUS_SUCCESS);
  EXPECT_EQ(modifyTime, 116444736000000000ull);  // 1970 in ticks since 1601
  EXPECT_EQ(accessTime, 116444736000000000ull + 10000002ull);
}

}  // namespace
