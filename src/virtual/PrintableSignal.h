// A signal that can be printed as one number at the end of a run.
#pragma once

namespace trelis {

class PrintableSignal {
  public:
    PrintableSignal() = default;
    PrintableSignal(const PrintableSignal&) = delete;
    PrintableSignal& operator=(const PrintableSignal&) = delete;
    virtual ~PrintableSignal() = default;

    /// Whether there is a single result; `out` is set only then. Valid once the parse has finished.
    [[nodiscard]] virtual bool summaryValue(double& out) const = 0;
};

}  // namespace trelis
