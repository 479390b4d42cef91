// From a group of a definition file to the signal of its method.
#pragma once

#include <glibmm/keyfile.h>

#include <memory>
#include <string>

namespace trelis {

class VirtualMessage;
class VirtualSignal;

/// Makes the signal that `group` defines and adds it to the message under `name`, the part of the
/// group behind its last point. With a smoothing window two signals are added; the visible one is
/// returned. A failure leaves nothing behind: std::invalid_argument, Glib::KeyFileError or
/// SignalNotFoundException with a text for the user, or PrintMsgError when the text is already out.
/// `vsdFile`: the path of the definition file, against which relative paths in it are resolved.
std::shared_ptr<VirtualSignal> createSignal(const std::shared_ptr<VirtualMessage>& message,
                                            const std::string& group, const std::string& name,
                                            const Glib::KeyFile& keyFile,
                                            const std::string& vsdFile);

}  // namespace trelis
