// Hands the Store what it needs from the floors above it.
#pragma once

namespace trelis {

class Store;

/// Sets all hooks of the Store. Main thread, before anything runs.
void wireStore(Store& store);

}  // namespace trelis
