// Reads tables with a column of times and a column a signal.
#pragma once

namespace trelis {

class Store;

/// Reads the head of the first of Store::logFiles and makes the interface `CSV`, its message `All`
/// and a signal a column. The delimiter, the row of names and the row of units are guessed from the
/// first five lines. ERR and PrintMsgError for a file that is no such table. Main thread, before
/// the worker has work.
void prepareCsvImport(Store& store);

/// The input path of tables: reads all rows of Store::logFiles, once, and finishes the messages.
/// Times are in units of Store::csvTimeScale ms and never run back: a row behind the last one's
/// time, such as the first of a further file, goes on from there. Runs on the Store's worker. A
/// file that cannot be opened is told at WRN and ends the import and the worker.
void importCsvFiles(Store& store);

}  // namespace trelis
