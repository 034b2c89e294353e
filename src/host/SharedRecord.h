// SharedRecord.h: the counting behind the handles that share one record.
#pragma once

namespace LARKA {

/// A record shared by copies of a handle. The count is a plain integer: handles stay on one thread.
struct SharedRecord {
  int references = 1;
};

/// The record, with one more reference.
template <typename Record>
Record* retained(Record* record) {
  ++record->references;
  return record;
}

/// The record for a new handle: with `adopt` the caller's reference goes with it. A handle always
/// has a record; without one it gets an empty one.
template <typename Record>
Record* recordFor(Record* record, bool adopt) {
  if (!record) return new Record;
  return adopt ? record : retained(record);
}

/// Gives up one reference and with the last the record.
template <typename Record>
void release(Record* record) {
  if (--record->references == 0) delete record;
}

}  // namespace LARKA
