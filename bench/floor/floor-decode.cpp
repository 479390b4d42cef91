// floor-decode FILE.vsd FILES...: unpacks every block, looks each record's message up, decodes the
// signals that the VSD file wants and keeps the values that changed, a vector a signal and file.
// One thread. The tear-down is left out, as it is no part of the job.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "Definitions.h"
#include "LogBlocks.h"

namespace floors = trelis::floors;

namespace {

struct Sample {
    std::uint64_t time;
    double value;
};

/// Message plans by identifier and interface: open addressing, a power of two of places.
class PlanTable {
  public:
    explicit PlanTable(const std::vector<floors::MessagePlan>& plans) {
        std::size_t places = 256;
        while (places < plans.size() * 4)
            places *= 2;
        places_.resize(places);
        for (const floors::MessagePlan& plan : plans) {
            std::size_t at = first(plan.id, plan.interface);
            while (places_[at].plan)
                at = (at + 1) & (places_.size() - 1);
            places_[at] = {plan.id, plan.interface, &plan};
        }
    }

    const floors::MessagePlan* find(std::uint32_t id, std::uint8_t interface) const {
        for (std::size_t at = first(id, interface);; at = (at + 1) & (places_.size() - 1)) {
            const Place& place = places_[at];
            if (!place.plan || (place.id == id && place.interface == interface)) return place.plan;
        }
    }

  private:
    struct Place {
        std::uint32_t id = 0;
        std::uint8_t interface = 0;
        const floors::MessagePlan* plan = nullptr;
    };

    std::size_t first(std::uint32_t id, std::uint8_t interface) const {
        return ((id + interface) * 2654435769U >> 8) & (places_.size() - 1);
    }

    std::vector<Place> places_;
};

double valueOf(const floors::SignalPlan& plan, std::uint64_t raw) {
    const auto number = plan.isSigned ? static_cast<std::int64_t>(raw << plan.spare) >> plan.spare
                                      : static_cast<std::int64_t>(raw);
    return static_cast<double>(number) * plan.factor + plan.offset;
}

using Columns = std::vector<std::vector<Sample>>;

void decodeFile(const char* path, const PlanTable& table, Columns& columns) {
    constexpr std::uint64_t kNone = 0x8000000000000001ULL;  // no bench signal is 64 bits long
    std::vector<std::uint64_t> last(columns.size(), kNone);
    std::uint64_t start = 0;
    floors::readLog(
        path, [&start](std::uint64_t time) { start = time; },
        [&](const char* records, std::size_t count) {
            for (std::size_t i = 0; i < count; ++i) {
                const floors::RecordView record{records + i * floors::kRecordSize};
                const floors::MessagePlan* message = table.find(record.id(), record.interface());
                if (!message) continue;
                const std::uint64_t words[2] = {record.data(), __builtin_bswap64(record.data())};
                for (const floors::SignalPlan& plan : message->signals) {
                    const std::uint64_t raw = (words[plan.swapped] >> plan.shift) & plan.mask;
                    if (raw == last[plan.index]) continue;
                    last[plan.index] = raw;
                    columns[plan.index].push_back({start + record.timestamp(), valueOf(plan, raw)});
                }
            }
        });
}

/// The number of samples that one reader of all files keeps: at the start of a file a value does
/// not count again if it is the last one of the file before.
std::size_t storedIn(const std::vector<Columns>& files) {
    std::size_t stored = 0;
    for (std::size_t i = 0; i < files[0].size(); ++i) {
        const Sample* before = nullptr;
        for (const Columns& columns : files) {
            if (columns[i].empty()) continue;
            stored += columns[i].size();
            if (before && before->value == columns[i].front().value) --stored;
            before = &columns[i].back();
        }
    }
    return stored;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) floors::die("FILE.vsd FILES... expected", "floor-decode");
    const std::vector<floors::MessagePlan> plans = floors::readPlans(argv[1]);
    const PlanTable table(plans);
    std::size_t signals = 0;
    for (const floors::MessagePlan& plan : plans)
        signals += plan.signals.size();
    std::vector<Columns> files;
    for (int i = 2; i < argc; ++i)
        decodeFile(argv[i], table, files.emplace_back(signals));
    std::fprintf(stderr, "messages %zu signals %zu stored %zu\n", plans.size(), signals,
                 storedIn(files));
    std::_Exit(0);
}
