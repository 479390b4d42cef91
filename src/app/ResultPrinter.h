// What the modes without a window write to standard output.
#pragma once

#include <iosfwd>

namespace trelis {

class Store;

/// One row of end results of the selected virtual signals that have one, sorted by head, behind a
/// row of heads if wanted. Writes nothing if there is none.
void printResults(const Store& store, bool withHeads, std::ostream& out);

/// The names of all interfaces, messages and signals that are not hidden, flushed line by line.
void printListing(const Store& store, std::ostream& out);

/// Flushes standard output and says whether it took all; ERR if it did not.
bool outputIsWhole();

}  // namespace trelis
