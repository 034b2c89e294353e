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
  if (record) ++record->references;
  return record;
}

/// Gives up one reference and with the last the record.
template <typename Record>
void release(Record* record) {
  if (record && --record->references == 0) delete record;
}

}  // namespace LARKA
