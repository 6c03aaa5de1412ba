#include "runtime/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <string>

#include "runtime/trace_capture.h"

namespace {

using vt_test::LogMark;
using vt_test::LogSince;
using vt_test::ReadWholeFile;

// A UNICODE_STRING over an owned UTF-16 copy of ASCII text (or given units).
struct Wide {
  explicit Wide(const std::string& ascii) : text(ascii.begin(), ascii.end()) { Point(); }
  explicit Wide(std::u16string units) : text(std::move(units)) { Point(); }
  void Point() {
    s = UNICODE_STRING{static_cast<std::uint16_t>(text.size() * 2), static_cast<std::uint16_t>(text.size() * 2 + 2),
                       text.data()};
  }
  // &Wide(...) yields the descriptor; the temporary lives to the end of the call.
  const UNICODE_STRING* operator&() const { return &s; }
  std::u16string text;
  UNICODE_STRING s;
};

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
  struct Case {
    std::uint32_t access, options;
    NTSTATUS status;
  };
  const Case cases[] = {
      {0, OPEN_CREATE, STATUS_INVALID_PARAMETER},          {4, OPEN_CREATE, STATUS_INVALID_PARAMETER},
      {3, OPEN_CREATE | 0x40, STATUS_INVALID_PARAMETER},   {3, OPEN_CREATE | 0x2000, STATUS_INVALID_PARAMETER},
      {3, OPEN_CREATE | 0x20000, STATUS_INVALID_PARAMETER}, {FILE_ACCESS_READ, OPEN_CREATE | OPEN_TRUNCATE, STATUS_ACCESS_DENIED},
  };
  for (const char* name : {"new", "keep"}) {
    for (const Case& c : cases) {
      const auto mark = LogMark();
      FileHandle fd = 42;
      EXPECT_EQ(OpenFile(P(name).c_str(), c.access, c.options, &fd), c.status) << c.access << " " << c.options;
      EXPECT_EQ(fd, kInvalidFile);
      EXPECT_EQ(LogSince(mark), "");
    }
  }
  // No call was made: nothing created, nothing truncated.
  EXPECT_NE(access(P("new").c_str(), F_OK), 0);
  EXPECT_EQ(ReadWholeFile(P("keep")), "content");
}

TEST_F(FileTest, OpenMissingFileLogsUnlessQuiet) {
  auto mark = LogMark();
  FileHandle fd = 42;
  EXPECT_EQ(OpenFile(P("none").c_str(), FILE_ACCESS_READ, OPEN_QUIET_NOT_FOUND, &fd), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_EQ(fd, kInvalidFile);
  EXPECT_EQ(LogSince(mark), "");

  EXPECT_EQ(OpenFile(P("none").c_str(), FILE_ACCESS_READ, 0, &fd), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_NE(LogSince(mark).find("Couldn't open file " + P("none") + ": ERRNO=2 ("), std::string::npos);

  // The quiet bit covers ENOENT only: ENOTDIR is logged and is a plain failure.
  WriteText(P("plain"), "x");
  mark = LogMark();
  EXPECT_EQ(OpenFile(P("plain/sub").c_str(), FILE_ACCESS_READ, OPEN_QUIET_NOT_FOUND, &fd), STATUS_UNSUCCESSFUL);
  EXPECT_NE(LogSince(mark).find("ERRNO=20 ("), std::string::npos);
}

TEST_F(FileTest, OpenFlagsReachTheDescriptor) {
  WriteText(P("f"), "12345");
  ASSERT_EQ(symlink(P("f").c_str(), P("link").c_str()), 0);
  struct Case {
    std::uint32_t access, options;
    bool cloexec;
  };
  for (const Case c : {Case{1, 0, true}, Case{2, 0, true}, Case{3, OPEN_INHERITABLE, false}}) {
    UniqueFile f;
    ASSERT_EQ(OpenFile(P("f").c_str(), c.access, c.options, f.out()), STATUS_SUCCESS);
    EXPECT_EQ((fcntl(f.get(), F_GETFD) & FD_CLOEXEC) != 0, c.cloexec);
    EXPECT_EQ(fcntl(f.get(), F_GETFL) & O_ACCMODE, static_cast<int>(c.access - 1));
  }
  UniqueFile f;
  ASSERT_EQ(OpenFile(P("f").c_str(), FILE_ACCESS_WRITE, OPEN_SEEK_END, f.out()), STATUS_SUCCESS);
  EXPECT_EQ(lseek(f.get(), 0, SEEK_CUR), 5);
  EXPECT_EQ(OpenFile(P("f").c_str(), FILE_ACCESS_WRITE, OPEN_CREATE | OPEN_EXCLUSIVE, f.out()), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(OpenFile(P("link").c_str(), FILE_ACCESS_READ, OPEN_NO_FOLLOW, f.out()), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(OpenFile(P("f").c_str(), FILE_ACCESS_READ, OPEN_DIRECTORY, f.out()), STATUS_UNSUCCESSFUL);

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

TEST_F(FileTest, UnicodeOpenLeavesOutUnwrittenWhenConversionFails) {
  WriteText(P("u"), "x");
  UniqueFile f;
  EXPECT_EQ(OpenFileUnicode(&Wide(P("u")), FILE_ACCESS_READ, 0, f.out()), STATUS_SUCCESS);
  EXPECT_TRUE(f);
  const auto mark = LogMark();
  FileHandle fd = 42;
  EXPECT_FALSE(NT_SUCCESS(OpenFileUnicode(&Wide(std::u16string(u"/tmp/\xD800")), FILE_ACCESS_READ, 0, &fd)));
  EXPECT_EQ(fd, 42);
  EXPECT_NE(LogSince(mark).find("Could not convert unicode filename '/tmp/"), std::string::npos);
}

TEST_F(FileTest, LengthReadWriteAndOffsets) {
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
  EXPECT_EQ(GetFileOffset(f.get(), &offset), STATUS_SUCCESS);
  EXPECT_EQ(offset, 4u);

  // Positioned reads leave the offset alone; at or past the end they report EOF.
  for (const std::uint64_t at : {8ull, 10ull, 1000ull}) {
    count = 99;
    const NTSTATUS status = ReadFileAtOffset(f.get(), buf, sizeof(buf), &count, &at);
    EXPECT_EQ(status, at < 10 ? STATUS_SUCCESS : STATUS_END_OF_FILE) << at;
    EXPECT_EQ(count, at < 10 ? 2u : 0u);
  }
  EXPECT_EQ(std::string(buf, 2), "89");
  ASSERT_EQ(GetFileOffset(f.get(), &offset), STATUS_SUCCESS);
  EXPECT_EQ(offset, 4u);

  // Origins 0, 1, 2 and a refused 3; a plain read at the end is a success of 0.
  EXPECT_EQ(SetFileOffset(f.get(), 2, 1), STATUS_SUCCESS);
  EXPECT_EQ(lseek(f.get(), 0, SEEK_CUR), 6);
  EXPECT_EQ(SetFileOffset(f.get(), -3, 2), STATUS_SUCCESS);
  EXPECT_EQ(lseek(f.get(), 0, SEEK_CUR), 7);
  EXPECT_EQ(SetFileOffset(f.get(), 0, 3), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(SetFileOffset(f.get(), -1, 0), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(SetFileOffset(f.get(), 10, 0), STATUS_SUCCESS);
  EXPECT_EQ(ReadFile(f.get(), buf, 4, &count), STATUS_SUCCESS);
  EXPECT_EQ(count, 0u);

  // Writing: 0 bytes makes no call (it would fail on this read-only descriptor).
  count = 7;
  EXPECT_EQ(WriteFile(f.get(), "x", 0, &count), STATUS_SUCCESS);
  EXPECT_EQ(count, 0u);
  const auto mark = LogMark();
  count = 7;
  EXPECT_EQ(WriteFile(f.get(), "x", 1, &count), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(count, 0u);
  EXPECT_NE(LogSince(mark).find("Couldn't write to file: ERRNO=9 ("), std::string::npos);

  length = 5;
  EXPECT_EQ(GetFileLength(-1, &length), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(length, 0u);
}

TEST_F(FileTest, RenameWithoutReplaceKeepsBothFiles) {
  WriteText(P("a"), "source");
  WriteText(P("b"), "target");
  auto mark = LogMark();
  EXPECT_EQ(RenameFile(&Wide(P("a")), &Wide(P("b")), false), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(LogSince(mark), "");
  EXPECT_EQ(ReadWholeFile(P("a")), "source");
  EXPECT_EQ(ReadWholeFile(P("b")), "target");

  EXPECT_EQ(RenameFile(&Wide(P("a")), &Wide(P("b")), true), STATUS_SUCCESS);
  EXPECT_EQ(ReadWholeFile(P("b")), "source");
  EXPECT_EQ(RenameFile(&Wide(P("b")), &Wide(P("c")), false), STATUS_SUCCESS);
  EXPECT_EQ(ReadWholeFile(P("c")), "source");

  mark = LogMark();
  EXPECT_EQ(RenameFile(&Wide(P("gone")), &Wide(P("d")), true), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_NE(LogSince(mark).find("Error renaming file '" + P("gone") + "' to '" + P("d") + ";: ERRNO=2"),
            std::string::npos);
}

TEST_F(FileTest, CreateDirectoryTrimsTheLastComponent) {
  ASSERT_EQ(mkdir(P("a").c_str(), 0700), 0);
  struct Case {
    std::string path;
    bool trim;
    NTSTATUS status;
    std::string created;  // must exist afterwards ("" for none)
    std::string absent;   // must not exist afterwards
  };
  const Case cases[] = {
      {"/x", true, STATUS_INVALID_PARAMETER, "", ""},
      {"x", true, STATUS_INVALID_PARAMETER, "", ""},
      {P("a/b/c"), true, STATUS_SUCCESS, P("a/b"), P("a/b/c")},
      {P("a/t/"), true, STATUS_SUCCESS, P("a/t"), ""},
      {P("a/b"), false, STATUS_SUCCESS, P("a/b"), ""},  // already there
      {P("m/n"), false, STATUS_UNSUCCESSFUL, "", P("m")},
  };
  for (const Case& c : cases) {
    const auto mark = LogMark();
    EXPECT_EQ(CreateDirectory(&Wide(c.path), c.trim), c.status) << c.path;
    struct stat st {};
    if (!c.created.empty()) {
      EXPECT_EQ(stat(c.created.c_str(), &st), 0) << c.created;
      EXPECT_TRUE(S_ISDIR(st.st_mode));
    }
    if (!c.absent.empty()) {
      EXPECT_NE(stat(c.absent.c_str(), &st), 0) << c.absent;
    }
    const std::string log = LogSince(mark);
    if (c.status == STATUS_INVALID_PARAMETER) {
      EXPECT_NE(log.find("Zero-length directory after trimming!"), std::string::npos);
    } else if (c.status == STATUS_UNSUCCESSFUL) {
      EXPECT_NE(log.find("Could not create directory '" + c.path + "': ERRNO=2"), std::string::npos);
    } else {
      EXPECT_EQ(log, "");
    }
  }
}

TEST_F(FileTest, SafeDeleteOnlyDeletesCanonicalPaths) {
  char real[PATH_MAX];
  ASSERT_NE(realpath(dir_.path().c_str(), real), nullptr);
  const std::string base = real;
  ASSERT_EQ(mkdir((base + "/d").c_str(), 0700), 0);
  WriteText(base + "/d/f", "x");
  ASSERT_EQ(symlink((base + "/d").c_str(), (base + "/ld").c_str()), 0);
  ASSERT_EQ(symlink((base + "/d/f").c_str(), (base + "/lf").c_str()), 0);

  char cwd[PATH_MAX];
  ASSERT_NE(getcwd(cwd, sizeof(cwd)), nullptr);
  ASSERT_EQ(chdir(base.c_str()), 0);
  for (const std::string& path : {base + "/ld/f", base + "/lf", std::string("d/f"), base + "/d//f", base + "/./d/f",
                                 base + "/d/../d/f"}) {
    const auto mark = LogMark();
    EXPECT_EQ(SafeDeleteFile(&Wide(path)), STATUS_FILE_INVALID) << path;
    EXPECT_NE(LogSince(mark).find("Found non-canonical path during safe delete '" + path + "'"), std::string::npos);
  }
  ASSERT_EQ(chdir(cwd), 0);
  EXPECT_EQ(ReadWholeFile(base + "/d/f"), "x");

  EXPECT_EQ(SafeDeleteFile(&Wide(base + "/lf")), STATUS_FILE_INVALID);
  EXPECT_EQ(access((base + "/lf").c_str(), F_OK), 0);  // the link itself stays too
  EXPECT_EQ(SafeDeleteFile(&Wide(base + "/d/f")), STATUS_SUCCESS);
  EXPECT_NE(access((base + "/d/f").c_str(), F_OK), 0);
  EXPECT_EQ(SafeDeleteFile(&Wide(base + "/d/f")), STATUS_PATH_NOT_EXPANDED);
  EXPECT_EQ(SafeDeleteFile(nullptr), STATUS_INVALID_PARAMETER);
}

TEST_F(FileTest, DeleteReportsMissingFiles) {
  WriteText(P("f"), "x");
  EXPECT_EQ(DeleteFileUnicode(&Wide(P("f"))), STATUS_SUCCESS);
  const auto mark = LogMark();
  EXPECT_EQ(DeleteFileUnicode(&Wide(P("f"))), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_NE(LogSince(mark).find("Could not delete file '" + P("f") + "': ERRNO=2"), std::string::npos);
  ASSERT_EQ(mkdir(P("d").c_str(), 0700), 0);
  EXPECT_EQ(DeleteFileAt(kCurrentDirectory, P("d").c_str()), STATUS_UNSUCCESSFUL);
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
  EXPECT_EQ(name.Buffer, nullptr);
  EXPECT_EQ(CloseDirectory(dir), STATUS_SUCCESS);
  return names;
}

TEST_F(FileTest, DirectoryEnumeration) {
  ASSERT_EQ(mkdir(P("e").c_str(), 0700), 0);
  EXPECT_TRUE(ReadAll(P("e"), nullptr).empty());

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
  FileHandle fd = kInvalidFile;
  EXPECT_EQ(GetDirectoryFd(dir, &fd), STATUS_SUCCESS);
  EXPECT_EQ(fd, dirfd(dir));
  UNICODE_STRING name{2, 2, nullptr};
  EXPECT_EQ(ReadDirectoryEntry(dir, &name), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(name.Length, 0);
  EXPECT_EQ(CloseDirectory(dir), STATUS_SUCCESS);

  name = UNICODE_STRING{2, 2, nullptr};
  EXPECT_EQ(ReadDirectoryEntry(nullptr, &name), STATUS_INVALID_PARAMETER_1);
  EXPECT_EQ(name.Length, 0);
  EXPECT_EQ(OpenDirectory(P("none").c_str(), &dir), STATUS_INVALID_HANDLE);
  EXPECT_EQ(dir, nullptr);
  EXPECT_EQ(CloseDirectory(nullptr), STATUS_INVALID_PARAMETER_1);
}

TEST_F(FileTest, FileTimesCountFrom1601) {
  WriteText(P("t"), "x");
  const timespec times[2] = {{1, 250}, {0, 0}};  // access, modification
  ASSERT_EQ(utimensat(AT_FDCWD, P("t").c_str(), times, 0), 0);
  std::uint64_t accessTime = 0, modifyTime = 0;
  EXPECT_EQ(GetFileTimesUnicode(&Wide(P("t")), &accessTime, &modifyTime, nullptr), STATUS_SUCCESS);
  EXPECT_EQ(modifyTime, 116444736000000000ull);
  EXPECT_EQ(accessTime, 116444736000000000ull + 10000002ull);

  const auto mark = LogMark();
  std::uint64_t untouched = 7;
  EXPECT_EQ(GetFileTimesUnicode(&Wide(P("none")), &untouched, nullptr, nullptr), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(untouched, 7u);
  const std::string log = LogSince(mark);
  EXPECT_NE(log.find("Couldn't stat file " + P("none") + ": ERRNO=2"), std::string::npos);
  EXPECT_NE(log.find("Could not get file times for filename '" + P("none") + "': STATUS=0xC0000001"),
            std::string::npos);
}

TEST_F(FileTest, ResolveAndExpandPaths) {
  char real[PATH_MAX];
  ASSERT_NE(realpath(dir_.path().c_str(), real), nullptr);
  ASSERT_EQ(mkdir(P("s").c_str(), 0700), 0);

  // An unterminated input (MaximumLength == Length) is resolved all the same.
  std::string text = P("s/..") + "garbage";
  ANSI_STRING input{static_cast<std::uint16_t>(text.size() - 7), static_cast<std::uint16_t>(text.size() - 7),
                    text.data()};
  OwnedAnsiString resolved;
  ASSERT_EQ(ResolvePath(&input, resolved.ptr()), STATUS_SUCCESS);
  EXPECT_EQ(View(resolved.get()), real);
  EXPECT_EQ(resolved.get().MaximumLength, 4096);

  OwnedUnicodeString expanded;
  ASSERT_EQ(ExpandPath(&Wide(P("s/./../s")), expanded.ptr()), STATUS_SUCCESS);
  EXPECT_EQ(View(expanded.get()), Wide(std::string(real) + "/s").text);
  // A second call frees and replaces the first result; a failing one leaves it empty.
  const auto mark = LogMark();
  EXPECT_EQ(ExpandPath(&Wide(P("none")), expanded.ptr()), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(expanded.get().Buffer, nullptr);
  const std::string log = LogSince(mark);
  EXPECT_NE(log.find("Could not resolve path " + P("none") + ": ERRNO=2"), std::string::npos);
  EXPECT_NE(log.find("Could not expand path '" + P("none") + "': STATUS=0xC0000001"), std::string::npos);
}

}  // namespace
