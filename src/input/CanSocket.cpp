#include "input/CanSocket.h"

#include <linux/can.h>
#include <linux/can/raw.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "app/diagnostics/Report.h"
#include "app/store/Store.h"
#include "input/HandleRecord.h"
#include "input/LiveRun.h"
#include "input/stream/StreamLog.h"
#include "virtual/VirtualRegistry.h"

namespace trelis {
namespace {

constexpr can_err_mask_t kErrorMask = 0x1FFFFFDF;  // all classes but the missing acknowledge
constexpr int kPatienceMs = 100;                   // between two looks at the request to stop
constexpr std::uint64_t kCalculateEveryMs = 1001;  // in record time

struct Closer {
    int socket;
    explicit Closer(int fd) : socket(fd) {}
    Closer(const Closer&) = delete;
    Closer& operator=(const Closer&) = delete;
    ~Closer() { close(socket); }
};

int failOpen(int socket, const char* what) {
    streamLog(StreamLevel::kError, "%s failed: %s", what, std::strerror(errno));
    if (socket >= 0) close(socket);
    return -1;
}

/// The index of "can<channel>", 0 for all, below 0 if there is none.
int interfaceIndex(int socket, std::int32_t channel) {
    if (channel < 0) return 0;
    ifreq request{};
    std::snprintf(request.ifr_name, sizeof request.ifr_name, "can%d", channel);
    return ioctl(socket, SIOCGIFINDEX, &request) == 0 ? request.ifr_ifindex : -1;
}

/// Waits for a frame; false when the run is to stop.
bool awaitFrame(const Store& store, int socket) {
    while (!liveStopAsked(store)) {
        pollfd waiting{socket, POLLIN, 0};
        const int ready = poll(&waiting, 1, kPatienceMs);
        if (ready > 0 || (ready < 0 && errno != EINTR)) return true;  // the read tells an error
    }
    return false;
}

}  // namespace

std::optional<std::int32_t> canChannelOf(std::string_view name) {
    if (name == "any") return -1;
    if (name.starts_with("can")) name.remove_prefix(3);
    std::int32_t channel = -1;
    const char* const end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data(), end, channel);
    if (error != std::errc() || stop != end || channel < 0) return std::nullopt;
    return channel;
}

std::vector<std::string> canInterfaces() {
    std::vector<std::string> names;
    if (auto* const all = if_nameindex()) {
        for (const auto* one = all; one->if_index != 0; ++one)
            if (std::string_view(one->if_name).starts_with("can")) names.emplace_back(one->if_name);
        if_freenameindex(all);
    }
    return names;
}

std::string canProblem(std::int32_t channel) {
    const int bare = ::socket(AF_CAN, SOCK_RAW | SOCK_CLOEXEC, CAN_RAW);
    if (bare < 0) return format("This system has no CAN sockets: %s", std::strerror(errno));
    const Closer bareCloser(bare);
    const std::string name = channel < 0 ? "any" : "can" + std::to_string(channel);
    if (channel >= 0 && if_nametoindex(name.c_str()) == 0)
        return format("There is no CAN interface %s", name.c_str());
    const int socket = openCanSocket(channel);
    if (socket < 0) return format("Couldn't open CAN interface %s", name.c_str());
    const Closer closer(socket);
    return {};
}

int openCanSocket(std::int32_t channel) {
    const int socket = ::socket(AF_CAN, SOCK_RAW | SOCK_CLOEXEC, CAN_RAW);
    if (socket < 0) return failOpen(socket, "open socket");
    if (setsockopt(socket, SOL_CAN_RAW, CAN_RAW_ERR_FILTER, &kErrorMask, sizeof kErrorMask) != 0)
        return failOpen(socket, "setsockopt");
    const int index = interfaceIndex(socket, channel);
    if (index < 0) {
        streamLog(StreamLevel::kError, "Could not determine interface index for channel %d",
                  channel);
        close(socket);
        return -1;
    }
    sockaddr_can address{};
    address.can_family = AF_CAN;
    address.can_ifindex = index;
    if (bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return failOpen(socket, "bind socket");
    return socket;
}

int readCanSocket(int socket, Frame& frame) {
    can_frame received{};
    ssize_t count = 0;
    do {
        count = read(socket, &received, sizeof received);
    } while (count < 0 && errno == EINTR);
    if (count != static_cast<ssize_t>(sizeof received)) return -1;
    frame.id = received.can_id;
    frame.dlc = received.can_dlc;
    frame.data = {};
    std::copy_n(received.data, dataLength(received.can_dlc), frame.data.begin());
    timeval arrival{};
    if (ioctl(socket, SIOCGSTAMP, &arrival) != 0) {
        streamLog(StreamLevel::kError, "get timestamp ioctl failed: %s", std::strerror(errno));
        return -1;
    }
    frame.absoluteTime = static_cast<std::uint64_t>(arrival.tv_sec) * 1000 +
                         static_cast<std::uint64_t>(arrival.tv_usec) / 1000;
    return 0;
}

void readCanFrames(Store& store, int socket) {
    const std::uint64_t start = wallClockMs();
    beginLiveRun(store, start);
    store.emitData();
    std::uint64_t calculatedAt = 0;
    Frame frame;
    while (awaitFrame(store, socket)) {
        if (readCanSocket(socket, frame) != 0) {
            report(Level::kWarning, "kvaser dongle read error");
            store.running = false;
            break;
        }
        frame.interface = 0;
        // A frame that waited in the socket can be older than the start of the axis.
        frame.timestamp = static_cast<std::uint32_t>(std::max(frame.absoluteTime, start) - start);
        handleRecord(store, frame);
        growLiveAxis(store);
        const std::uint64_t now = store.lastTime;
        if (now - calculatedAt < kCalculateEveryMs) continue;
        calculatedAt = now;
        calculateAll(store);
        store.emitData();
    }
    endLiveRun(store);
}

void runCanSocketRead(Store& store) {
    const std::lock_guard live(store.liveMutex);
    const int socket = openCanSocket(store.dongleChannel);
    if (socket < 0) reportFatal("couldn't connect to kvaser dongle");
    const Closer closer(socket);
    readCanFrames(store, socket);
}

}  // namespace trelis
