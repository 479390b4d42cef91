// The exception types by which a reader, a lookup or a start-up step gives up.
#pragma once

#include <stdexcept>
#include <string>

namespace trelis {

/// Thrown after a fatal message has been written and queued: the report is done, the stack unwinds.
/// It carries nothing, because whoever catches it must not report again.
struct PrintMsgError {};

/// A lookup by name found nothing. The text is made for the user.
class SignalNotFoundException : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace trelis
