// The statistics that every interface gets without a definition.
#pragma once

namespace trelis {

class Store;

/// Gives each interface numbered 0 to 255 its statistics interface `ST_<name>`: the rate of every
/// message, the bus load and the errors; `Logger` has no bus load. Main thread, once the
/// definitions are read. PrintMsgError if a name is taken.
void addBuiltinMessages(Store& store);

}  // namespace trelis
