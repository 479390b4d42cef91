// How long a frame of a live connection takes from its arrival to its samples, at 5000 frames a
// second of 120 messages with four signals each. A logger of its own answers every 10 ms and notes
// when it sends; a watcher looks for the last sample of each answer. Prints one line in ms.
#include <lz4.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "app/store/Store.h"
#include "input/LiveConnection.h"
#include "input/stream/LittleEndian.h"
#include "input/stream/StreamCodec.h"
#include "model/RealMessage.h"

namespace trelis {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kMessages = 120;
constexpr std::uint32_t kAnswers = 300;
constexpr std::uint32_t kFramesPerAnswer = 50;
constexpr std::chrono::milliseconds kPeriod{10};

std::array<std::atomic<Clock::rep>, kAnswers> sentAt{};

/// Frame n of the run goes to message n modulo 120 and carries n in all its signals.
std::vector<std::uint8_t> answer(std::uint32_t number) {
    std::vector<char> records;
    for (std::uint32_t n = number * kFramesPerAnswer; n < (number + 1) * kFramesPerAnswer; ++n) {
        std::array<std::uint8_t, kRecordSize> record{};
        const std::uint64_t clockAndId = std::uint64_t{n % kMessages} << 32 | n / 5;
        storeLittleEndian(clockAndId, record.data());
        record[8] = 8;
        storeLittleEndian(std::uint64_t{n} << 32 | n, record.data() + 9);
        records.insert(records.end(), record.begin(), record.end());
    }
    const int size = static_cast<int>(records.size());
    std::vector<char> packed(static_cast<std::size_t>(LZ4_compressBound(size)));
    const int length =
        LZ4_compress_default(records.data(), packed.data(), size, static_cast<int>(packed.size()));
    std::vector<std::uint8_t> bytes(kBlockHeadSize);
    storeLittleEndian(static_cast<std::uint64_t>(length) << 32 | kBlockMagic, bytes.data());
    bytes.insert(bytes.end(), packed.begin(), packed.begin() + length);
    return bytes;
}

int listenOnFreePort(std::int32_t& port) {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (bind(listener, generic, size) != 0 || listen(listener, 1) != 0 ||
        getsockname(listener, generic, &size) != 0)
        std::exit(1);
    port = ntohs(address.sin_port);
    return listener;
}

void serve(int listener) {
    const int client = accept(listener, nullptr, nullptr);
    auto due = Clock::now();
    for (std::uint32_t number = 0; number < kAnswers; ++number) {
        char command = 0;
        const auto bytes = answer(number);
        if (recv(client, &command, 1, 0) != 1) break;
        std::this_thread::sleep_until(due += kPeriod);
        sentAt[number] = Clock::now().time_since_epoch().count();
        if (send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) break;
    }
    close(client);
}

std::vector<std::shared_ptr<Signal>> buildModel(Store& store) {
    std::vector<std::shared_ptr<Signal>> firsts;
    const auto interface = store.addInterface("Can0", 0);
    const RecountBatch batch(store);
    for (std::uint32_t id = 0; id < kMessages; ++id) {
        const auto message = RealMessage::create(id, "M" + std::to_string(id), interface);
        interface->addMessage(message);
        for (std::uint32_t i = 0; i < 4; ++i) {
            const std::string name = "S" + std::to_string(i);
            message->addSignal(name, RealSignal::create(message, name, i % 2 * 32, 32 - i / 2, 1,
                                                        '+', "", 1, 0, 0, 0));
        }
        message->selectAll(true);
        firsts.push_back(message->signals.front());
    }
    return firsts;
}

/// Latencies of all answers, in ms, ascending.
std::vector<double> watch(const std::vector<std::shared_ptr<Signal>>& signals) {
    std::vector<double> latencies;
    for (std::uint32_t number = 0; number < kAnswers;) {
        const std::uint32_t last = (number + 1) * kFramesPerAnswer - 1;
        const Signal& signal = *signals[last % kMessages];
        bool arrived = false;
        {
            const std::lock_guard lock(*signal.mutex);
            arrived = !signal.samples().empty() && signal.samples().back().value >= last;
        }
        const Clock::time_point now = Clock::now();
        if (!arrived) {
            std::this_thread::sleep_for(std::chrono::microseconds(50));
            continue;
        }
        const Clock::duration taken = now.time_since_epoch() - Clock::duration(sentAt[number++]);
        latencies.push_back(std::chrono::duration<double, std::milli>(taken).count());
    }
    std::sort(latencies.begin(), latencies.end());
    return latencies;
}

}  // namespace
}  // namespace trelis

int main() {
    using namespace trelis;
    Store store;
    store.noGui = true;
    wireLiveInputs(store);
    const auto signals = buildModel(store);
    const int listener = listenOnFreePort(store.port);
    store.hostName = "127.0.0.1";
    store.networkInput = true;
    store.liveMode = true;
    std::thread logger(serve, listener);
    std::vector<double> latencies;
    std::thread watcher([&] { latencies = watch(signals); });
    const bool whole = store.parseNow();
    watcher.join();
    logger.join();
    close(listener);
    std::printf("median %.3f longest %.3f\n", latencies[latencies.size() / 2], latencies.back());
    return whole ? 0 : 1;
}
