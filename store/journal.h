// How a change of the store reaches the disk: a write-back that a power cut or a
// SIGKILL at any instant leaves as the old image or the new one, at the 512-byte
// grain disks promise, and the finishing of a write-back that was cut.
//
// A write-back makes a journal record durable beside the store first (its
// layout is in journal_format.h): the journal file is created exclusively, mode
// 0660, never through a link; written whole, fsynced, and its directory fsynced.
// Only then is the store written in place (and, when it was longer, cut to the
// image size) and fsynced, and then the journal is removed. Termination signals
// (TERM, INT, HUP, QUIT) are held off from the journal's creation to its removal.
//
// A write-back that fails before the store is touched removes its journal and
// leaves the store as it was. One that fails while writing the store puts back
// what the store held and removes the journal; if that too fails, the journal
// stays, and the next exclusive open or change of the store finishes the
// write-back from it (FinishInterruptedWriteBack).
//
// Nothing here locks: the caller holds the store's exclusive flock around every
// call. Log lines go through TraceWrite at level 2, component 7.
#pragma once

#include <cstdint>
#include <span>

#include "runtime/fd.h"
#include "runtime/status.h"
#include "store/journal_format.h"

// The store's files as the journal needs them; the store owns all of them.
struct StoreFiles {
  FileHandle store = kInvalidFile;  // open for reading and writing, under the exclusive flock
  const char* journalPath = nullptr;
  const char* directory = nullptr;  // the directory of the store and the journal
};

// A journal record in memory: the replaced and intended images are filled in by
// the caller; the header and the checksum by WriteSimpleStore.
using JournalRecord = std::span<std::uint8_t, store_journal::kJournalSize>;

// Makes the record's intended image the store's, through the journal (see the
// top of the file). `replacedLength` is the store file's length before (the
// record's replaced image holds its first bytes, zero past that length). Returns
// the first failure; the store then holds the replaced image, or the journal is
// kept to finish it.
[[nodiscard]] NTSTATUS WriteSimpleStore(const StoreFiles& files, JournalRecord record, std::uint64_t replacedLength);

// Looks for a journal beside the store and deals with it: none, nothing to do;
// an incomplete one, removed; a complete one whose store matches it sector by
// sector (journal_format.h), the intended image written in place, fsynced, and
// the journal removed; a complete one whose store was written since, removed
// without being applied. Each case but the first logs one line. `record` and
// `scratch` are work space. A journal path that is a link or anything but a
// regular file is logged and left alone, as if there were none (a write-back
// then fails to create its journal). A store opened read-only (`readOnly`)
// cannot be finished: STATUS_ACCESS_DENIED. A journal that cannot be read fails
// with its status, since the store's state is then unknown.
[[nodiscard]] NTSTATUS FinishInterruptedWriteBack(const StoreFiles& files, JournalRecord record,
                                                  std::span<std::uint8_t, store_layout::kImageSize> scratch,
                                                  bool readOnly);
