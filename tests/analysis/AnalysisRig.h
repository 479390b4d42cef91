// A small data set for the analysis windows.
#pragma once

#include <cmath>
#include <memory>
#include <string>

#include "analysis/AnalysisContext.h"
#include "desk/Desk.h"
#include "model/Message.h"
#include "model/Signal.h"
#include "plot/paint/TimeBox.h"

namespace trelis::test {

/// Times count from here, in ms since the epoch.
inline constexpr std::uint64_t kBegin = 1'600'000'000'000;
inline constexpr std::uint64_t kMinutes = 2;

class AnalysisTest : public DeskTest {
  protected:
    AnalysisTest() {
        const auto bus = store.addInterface("Bus", 0);
        message = std::make_shared<Message>(1, "Motor", bus);
        bus->addMessage(message);
        speed = addSignal("Speed", "km/h");
        for (std::uint64_t ms = 0; ms <= kMinutes * 60000; ms += 100)
            speed->addSample(kBegin + ms, 60 + 40 * std::sin(static_cast<double>(ms) / 7000));
        store.firstTime = store.parseFirstTime = store.intervalStart = kBegin;
        store.lastTime = store.parseLastTime = store.intervalEnd = kBegin + kMinutes * 60000;
    }

    std::shared_ptr<Signal> addSignal(const std::string& name, const std::string& unit) {
        auto signal = std::make_shared<Signal>(message, name);
        signal->unit = unit;
        message->addSignal(name, signal);
        return signal;
    }
    void setView(std::uint64_t from, std::uint64_t to) {
        timeBox.setInterval(kBegin + from, kBegin + to, true);
        pumpPending();
    }
    void setRulers(std::int64_t left, std::int64_t right) {
        store.leftRuler = left < 0 ? -1 : static_cast<std::int64_t>(kBegin) + left;
        store.rightRuler = right < 0 ? -1 : static_cast<std::int64_t>(kBegin) + right;
        store.rulersChanged.emit();
        pumpPending();
    }
    static std::string clipboardText() { return Gtk::Clipboard::get()->wait_for_text(); }

    TimeBox timeBox{store};
    AnalysisContext context{store, timeBox, settings};
    std::shared_ptr<Message> message;
    std::shared_ptr<Signal> speed;
};

}  // namespace trelis::test
