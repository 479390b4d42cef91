#include "input/LoggerSocket.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/LiveRun.h"
#include "input/stream/StreamLog.h"

namespace trelis {
namespace {

constexpr int kPatienceMs = 100;  // between two looks at the request to stop

/// Closes what was not handed on.
class SocketGuard {
  public:
    explicit SocketGuard(int fd) : fd_(fd) {}
    SocketGuard(const SocketGuard&) = delete;
    SocketGuard& operator=(const SocketGuard&) = delete;
    ~SocketGuard() {
        if (fd_ >= 0) close(fd_);
    }
    [[nodiscard]] int get() const { return fd_; }
    int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }

  private:
    int fd_;
};

std::optional<sockaddr_in> resolve(const Store& store) {
    const hostent* host = gethostbyname(store.hostName.c_str());
    if (host == nullptr || host->h_addrtype != AF_INET || host->h_addr_list[0] == nullptr)
        return std::nullopt;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(store.port));
    std::memcpy(&address.sin_addr, host->h_addr_list[0], sizeof address.sin_addr);
    return address;
}

// How a connect that is under way ended: 0 or an error number. ECANCELED: the run is to stop.
int awaitConnection(const Store& store, int fd, std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < deadline) {
        if (liveStopAsked(store)) return ECANCELED;
        pollfd waiting{fd, POLLOUT, 0};
        const int ready = poll(&waiting, 1, kPatienceMs);
        if (ready < 0 && errno != EINTR) return errno;
        if (ready <= 0) continue;
        int error = 0;
        socklen_t size = sizeof error;
        return getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
    }
    return ETIMEDOUT;
}

int establish(const Store& store, int fd, const sockaddr_in& address,
              std::chrono::milliseconds patience) {
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return 0;
    if (errno != EINPROGRESS && errno != EAGAIN && errno != EINTR) return errno;
    return awaitConnection(store, fd, patience);
}

}  // namespace

int connectToLogger(Store& store, std::chrono::milliseconds patience) {
    SocketGuard guard(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (guard.get() < 0 || fcntl(guard.get(), F_SETFL, O_NONBLOCK) != 0) {
        report(Level::kWarning, "Network connection failed");
        return kNoSocket;
    }
    const auto address = resolve(store);
    if (!address) {
        report(Level::kWarning, "Network connection failed, no such host");
        return kNoSuchHost;
    }
    const int error = establish(store, guard.get(), *address, patience);
    if (error != 0) {
        if (error != ECANCELED)
            report(Level::kWarning, format("Network connection failed: %s", std::strerror(error)));
        return kNotConnected;
    }
    store.socket = guard.release();
    return store.socket;
}

SendResult sendCommand(const Store& store, std::uint8_t command) {
    if (send(store.socket, &command, 1, MSG_NOSIGNAL) == 1) return SendResult::kSent;
    if (errno == EINTR) return SendResult::kNotNow;
    if (errno == EAGAIN || errno == EWOULDBLOCK) {
        pollfd waiting{store.socket, POLLOUT, 0};
        poll(&waiting, 1, kPatienceMs);
        return SendResult::kNotNow;
    }
    // A stop shuts the socket down under the writer.
    if (!liveStopAsked(store))
        streamLog(StreamLevel::kWarning, "Write error: %s", std::strerror(errno));
    return SendResult::kFailed;
}

}  // namespace trelis
