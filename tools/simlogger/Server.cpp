#include "Server.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "Conversation.h"

namespace trelis::sim {

namespace {

constexpr int kPatienceMs = 20;

struct FaultName {
    std::string_view name;
    Fault fault;
};

constexpr std::array<FaultName, 13> kFaultNames = {{
    {"none", Fault::kNone},
    {"wrong-tag", Fault::kWrongTag},
    {"wrong-key", Fault::kWrongKey},
    {"too-long", Fault::kTooLong},
    {"overflow", Fault::kOverflow},
    {"odd-length", Fault::kOddLength},
    {"empty", Fault::kEmpty},
    {"garbage", Fault::kGarbage},
    {"bad-block", Fault::kBadBlock},
    {"half", Fault::kHalf},
    {"silence", Fault::kSilence},
    {"reset", Fault::kReset},
    {"close", Fault::kClose},
}};

[[noreturn]] void throwErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

struct Socket {
    int fd;
    explicit Socket(int descriptor) : fd(descriptor) {}
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket() { close(fd); }
};

}  // namespace

std::optional<Fault> faultNamed(std::string_view name) {
    for (const FaultName& entry : kFaultNames)
        if (entry.name == name) return entry.fault;
    return std::nullopt;
}

Server::Server(ServeOptions options, FeedMaker makeFeed)
    : options_(std::move(options)), makeFeed_(std::move(makeFeed)) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener_ < 0) throwErrno("no socket");
    const int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(options_.port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (bind(listener_, generic, size) != 0 || listen(listener_, 4) != 0 ||
        getsockname(listener_, generic, &size) != 0) {
        const int error = errno;
        close(listener_);
        errno = error;
        throwErrno("cannot listen");
    }
    port_ = ntohs(address.sin_port);
}

Server::~Server() {
    close(listener_);
}

void Server::run() {
    while (!stopped_) {
        pollfd waiting{listener_, POLLIN, 0};
        if (poll(&waiting, 1, kPatienceMs) <= 0) continue;
        const int accepted = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (accepted < 0) continue;
        const Socket client(accepted);
        const int on = 1;
        setsockopt(client.fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const auto feed = makeFeed_();
        Conversation(options_, *feed, client.fd, stopped_, {framesSent_, answersSent_}).run();
        if (options_.once) return;
    }
}

}  // namespace trelis::sim
