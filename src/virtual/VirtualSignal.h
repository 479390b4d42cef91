// A signal whose samples are computed from other signals.
#pragma once

#include <glibmm/keyfile.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "model/Signal.h"
#include "virtual/PrintableSignal.h"

namespace trelis {

/// Holds the options that all methods share, and brings computed values into the storage. A class
/// that computes from other signals names them in collectInputs and lets go of them in
/// releaseInputs; users are then counted through the whole tree of inputs.
class VirtualSignal : public Signal, public PrintableSignal {
  public:
    VirtualSignal(const std::shared_ptr<Message>& message, const std::string& name);

    /// Applies the common options to a computed value and stores the result. Locks `mutex`.
    void addSample(std::uint64_t time, double value) override;
    /// The first user makes this signal a user of its inputs, and they of theirs; the last one to
    /// leave undoes it. Works through chains of any length without recursion.
    void addUser(const std::shared_ptr<Signal>& user) final;
    void removeUser(const std::shared_ptr<Signal>& user) final;
    void calculate() override {}
    /// ERR "should never be used" and PrintMsgError: every class with inputs has its own answer.
    [[nodiscard]] bool usesSignal(const std::string& fullName) const override;
    [[nodiscard]] bool summaryValue(double& /*out*/) const override { return false; }

    /// Whether calculation can begin: all inputs have data. Starts it.
    virtual bool inputsReady() { return false; }
    /// Appends the signals that this one reads, in order; one that is read twice appears twice.
    virtual void collectInputs(std::vector<std::shared_ptr<Signal>>& /*inputs*/) const {}

    double factor = 1.0;
    double offset = 0.0;
    bool absInput = false;
    bool absOutput = false;
    bool flushed = false;    ///< calculated to the end and flushed; final
    bool fillEmpty = false;  ///< fill gaps in the output
    double valWhenEmpty = 0.0;
    bool hasValWhenEmpty = false;   ///< fill with valWhenEmpty instead of the last value
    bool pauseIfZero = false;       ///< leave zeros out
    std::uint64_t lastOutTime = 0;  ///< ms; 0: nothing was output yet
    double lastOutValue = 0.0;
    std::string vsdFile;   ///< the definition file, empty if none defines this signal
    std::string vsdGroup;  ///< its group there
    /// What the signal of a smoothing window smooths; empty for all others.
    std::shared_ptr<Signal> smoothedSource;

    /// Most samples that filling may put into the gaps of one signal, at 5 s each: more than a
    /// year. A clock that jumps by centuries must not fill the memory.
    static constexpr std::uint64_t kMostFillers = 6'400'000;

  protected:
    /// Reads the options that every group may hold. std::invalid_argument with a text for the user,
    /// Glib::KeyFileError for a value that is no number.
    void readCommonOptions(const Glib::KeyFile& keyFile, const std::string& group);
    /// The part of them that a smoothing window reads for itself: plot limits and `hidden`.
    void readDisplayOptions(const Glib::KeyFile& keyFile, const std::string& group);

    /// addSample for a caller that holds `mutex`.
    void output(std::uint64_t time, double value) {
        if (isPaused(value)) return;
        double out = value * factor + offset;
        if (fillEmpty && lastOutTime != 0 && time > lastOutTime && time - lastOutTime > kGapMs)
            fillGap(time);
        if (absOutput) out = std::fabs(out);
        lastOutTime = time;
        lastOutValue = out;
        storeSample(time, out);
    }
    [[nodiscard]] bool isPaused(double value) const {
        return pauseIfZero && (value == 0.0 || std::isnan(value));
    }
    /// Says whether this many further fillers may be stored, and counts them; a refusal is told
    /// once a signal.
    bool takeFillers(std::uint64_t count);

    /// Lets go of signals without the recursion that a long chain of last owners would bring.
    static void release(std::shared_ptr<Signal> signal);

  private:
    void fillGap(std::uint64_t time);

    std::uint64_t fillersUsed_ = 0;
    bool fillLimitTold_ = false;
};

}  // namespace trelis
