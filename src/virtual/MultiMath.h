// Arithmetic over the inputs.
#pragma once

#include "virtual/CustomSignal.h"

namespace trelis {

/// The methods "sum", "sub", "mult", "div", "avg", "max", "min", "sin", "cos", "tan", "asin",
/// "acos", "atan", "inv", "sqrt", "sqr", "der", "derive" and "fmod". The trigonometric ones and
/// "sqrt" deliberately work in single precision, coarser than expressions do.
class MultiMath final : public CustomSignal {
  public:
    /// The key `method` chooses the operation.
    MultiMath(const std::shared_ptr<Message>& message, const std::string& group,
              const Glib::KeyFile& keyFile);

    void calculate() override;

    [[nodiscard]] static bool isOperation(const std::string& method);

  private:
    /// The step loop with one operation compiled into it.
    using Loop = void (MultiMath::*)();
    struct Operation {
        const char* method;
        Loop loop;
    };
    static const Operation kOperations[];

    [[nodiscard]] static const Operation* findOperation(const std::string& method);

    template <double (MultiMath::*kOperation)()>
    void run();
    template <float (*kFunction)(float)>
    double forward();
    template <float (*kFunction)(float)>
    double inverse();

    [[nodiscard]] double x1() const { return inputs.front().heldValue; }
    double sum();
    double sub();
    double mult();
    double div();
    double avg();
    double max();
    double min();
    double inv();
    double sqrt();
    double sqr();
    double derive();
    double fmod();

    bool radians_;
    double previous_ = 0.0;
    bool firstDerivative_ = true;
    double denominator_ = 1.0;
    Loop operation_;
};

}  // namespace trelis
