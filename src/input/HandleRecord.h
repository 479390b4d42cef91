// Takes the records of running inputs into the system and keeps their time axis rising.
#pragma once

namespace trelis {

class Store;
struct Frame;

/// Makes the record's time absolute and hands it to the dump, or to the bus load and the message
/// that want it. Uses the Store's active maps, which must be up to date. A decoding that fails is
/// told at WRN and costs this record. Store worker only.
///
/// The time is Store::timeBase plus the record's 32-bit clock in ms. A clock that falls back is
/// taken for its overflow, at WRN; Store::nextFileStart announces the start time of the next
/// record, by which the base is set anew unless it fits already.
void handleRecord(Store& store, const Frame& record);

/// Forgets where the time axis stands; the next record sets a new base.
void resetTimeAxis(Store& store);

/// Widens the parse's bounds to the times that came, and the shown interval with them unless the
/// user set one. Ends an input that used handleRecord. Emits dataChanged.
void finishTimeAxis(Store& store);

}  // namespace trelis
