// The mode with a window.
#pragma once

namespace trelis {

class Store;

/// Lets the message log show its messages in a dialog. Before any message is shown.
void installMessagePresenter();

/// Shows the main window and runs until it is closed; the Store's worker has been started by then
/// and has been asked for a parse. The exit status: that of the application, 1 after a fatal error
/// of the worker. `link`: move together with the other running copies; ERR and PrintMsgError if the
/// system refuses. Main thread.
int runWindow(Store& store, bool link, int argc, char** argv);

}  // namespace trelis
