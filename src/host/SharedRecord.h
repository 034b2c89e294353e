// SPDX-License-Identifier: MIT
#pragma once

namespace LARKA {

/// Counts the handles that share a record. The count is a plain integer: handles stay on one
/// thread.
struct SharedRecord {
  int references = 1;
};

/// Adds a reference and returns the record.
template <typename Record>
Record* retained(Record* record) {
  ++record->references;
  return record;
}

/// Returns the record for a new handle. With `adopt` the handle takes over the caller's reference.
/// A handle always has a record: for null it gets an empty one.
template <typename Record>
Record* recordFor(Record* record, bool adopt) {
  if (!record) return new Record;
  return adopt ? record : retained(record);
}

/// Drops a reference, and deletes the record with the last one.
template <typename Record>
void release(Record* record) {
  if (--record->references == 0) delete record;
}

}  // namespace LARKA
