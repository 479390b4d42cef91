// The methods that the editor offers, each with its rows.
#include <string_view>

#include "config/Method.h"

namespace trelis {
namespace {

constexpr unsigned kManyInputs = 50;
constexpr const char* kLevelHint = "10.5 units";
constexpr const char* kLowLevelHint = "8.5 units";

class MethodExpression : public Method {
  public:
    MethodExpression() : Method("expression", kManyInputs) {
        add<EntryBool>(
            {"radians", "", "Use radians instead of degrees for trigonometric functions"});
        add<EntryString>({"expr", "max($01, $02) / $03",
                          "The mathematical expression, e.g. \"$01 * 0.5 / $02\""});
    }
};

class MethodAverage : public Method {
  public:
    MethodAverage() : Method("average") {
        add<EntryInt>({"window", "1500 ms", "Set length of sliding window average (ms)"});
        add<EntryBool>({"onlyPos", "", "Only use positive values from input signal"});
        add<EntryBool>({"onlyNeg", "", "Only use negative values from input signal"});
    }
};

class MethodIntegrate : public Method {
  public:
    MethodIntegrate() : Method("integrate", 1, false) {
        add<EntryBool>({"onlyPos", "", "(default false) only integrate positive values"});
        add<EntryBool>({"onlyNeg", "", "(default false) only integrate negative values"});
        add<EntryFloat>(
            {"minSum", kLevelHint, "(optional) integration sum truncated to this as lowest level"});
        add<EntryFloat>({"maxSum", kLevelHint,
                         "(optional) integration sum truncated to this as highest level"});
        addReset("integration sum");
    }
};

class MethodMultimath : public Method {
  public:
    MethodMultimath() : Method("derive") {}
};

class MethodSlope : public Method {
  public:
    MethodSlope() : Method("slope") {
        constexpr const char* kHint = "10.5 units/sec";
        add<EntryFloat>({"posSlopeIncr", kHint, "positive direction slope increment (units/sec)"});
        add<EntryFloat>({"posSlopeDecr", kHint, "positive direction slope decrement (units/sec)"});
        add<EntryFloat>({"negSlopeIncr", kHint, "negative direction slope increment (units/sec)"});
        add<EntryFloat>({"negSlopeDecr", kHint, "negative direction slope decrement (units/sec)"});
    }
};

class MethodCount : public Method {
  public:
    MethodCount() : Method("count") {
        addLevels("high when signal above this level", kLevelHint,
                  "low when signal below this level", kLevelHint);
        addReset("count");
    }
};

class MethodTime : public Method {
  public:
    MethodTime() : Method("time") {
        addLevels("high when signal above this level", kLevelHint,
                  "low when signal below this level", kLevelHint);
        add<EntryBool>({"countAbove", "", "count the time above (Yes) or below (No)"}, true);
        addReset("time");
    }
};

class MethodAccumulate : public Method {
  public:
    MethodAccumulate() : Method("accumulate") { addReset("sum"); }
};

class MethodFrequency : public Method {
  public:
    MethodFrequency() : Method("frequency") {
        add<EntryInt>({"samples", "3 cycles", "(default 1) number of cycles to average over"});
        add<EntryFloat>({"filter", "15 units",
                         "(default 0, disabled) filter out spikes greater than this value"});
        add<EntryInt>({"peaks", "2 peaks/cycle", "(default 1) number of peaks per cycle"});
        add<EntryBool>({"amplitude", "", "(default false) measure amplitude instead of frequency"});
    }
};

class MethodEstimate : public Method {
  public:
    MethodEstimate() : Method("estimate") {
        add<EntryFloat>({"highLimit", kLevelHint,
                         "consider signal to be at high level when this threshold is passed"});
        add<EntryFloat>({"lowLimit", kLowLevelHint,
                         "consider signal to be back at low level when this threshold is passed"});
        add<EntryFloat>({"offValue", "0 units", "(default 0) static low leave value"});
    }
};

class MethodIIR : public Method {
  public:
    MethodIIR() : Method("IIR") {
        add<EntryFloat>({"K", "10", "IIR damp factor Y(n)=(1/K)*x(n)+y(n-1)*(1-(1/K))"});
    }
};

class MethodStatistics : public Method {
  public:
    MethodStatistics() : Method("statistics") {
        add<EntryDropDwn>({"type", "", "what statistic the output should show"},
                          std::vector<std::string>{"max", "min", "average"});
    }
};

class MethodLookupTable : public Method {
  public:
    MethodLookupTable() : Method("lookuptable", kManyInputs) {
        add<EntryString>({"file", "dir/ectory/file.csv", "Lookup table file path"});
    }
};

class MethodAboveBelow : public Method {
  public:
    explicit MethodAboveBelow(const char* text) : Method(text) {
        addLevels("High when signal above this level", kLevelHint,
                  "Low when signal below this level", kLowLevelHint);
    }
};

/// Shows the rows of the shape that is chosen, and writes only these.
class MethodGeofence : public Method {
  public:
    MethodGeofence()
        : Method("geofence", 0),
          type_(add<EntryDropDwn>({"type", "", "Shape of the geofence"},
                                  std::vector<std::string>{kCircle, "square"})) {
        for (const char* key : {"center", "topleft", "bottomright"}) {
            auto& row = add<EntryString>(
                {key, "33.3333;-66.6666",
                 "<lat> and <long> must be given as a decimal representation of degrees"});
            (std::string_view(key) == "center" ? circleRows_ : squareRows_).push_back(&row);
        }
        circleRows_.push_back(&add<EntryFloat>({"radius", "1.5 m", "radius of fence (m)"}));
        type_.signalChanged().connect([this] { showShape(); });
        showShape();
    }

    void showRows() override {
        Method::showRows();
        showShape();
    }

    void saveRows(Glib::KeyFile& keyFile, const std::string& group) const override {
        findRow("step")->save(keyFile, group);
        type_.save(keyFile, group);
        for (const InputRow* row : isCircle() ? circleRows_ : squareRows_)
            row->save(keyFile, group);
    }

  private:
    static constexpr const char* kCircle = "circle";

    [[nodiscard]] bool isCircle() const { return type_.value() == kCircle; }
    void showShape() {
        for (InputRow* row : circleRows_)
            isCircle() ? row->show() : row->hide();
        for (InputRow* row : squareRows_)
            isCircle() ? row->hide() : row->show();
    }

    EntryDropDwn& type_;
    std::vector<InputRow*> circleRows_;
    std::vector<InputRow*> squareRows_;
};

}  // namespace

std::vector<std::unique_ptr<Method>> makeMethods() {
    std::vector<std::unique_ptr<Method>> methods;
    methods.push_back(std::make_unique<MethodExpression>());
    methods.push_back(std::make_unique<MethodAverage>());
    methods.push_back(std::make_unique<MethodIntegrate>());
    methods.push_back(std::make_unique<MethodMultimath>());
    methods.push_back(std::make_unique<MethodSlope>());
    methods.push_back(std::make_unique<MethodCount>());
    methods.push_back(std::make_unique<MethodTime>());
    methods.push_back(std::make_unique<MethodAccumulate>());
    methods.push_back(std::make_unique<MethodFrequency>());
    methods.push_back(std::make_unique<MethodEstimate>());
    methods.push_back(std::make_unique<MethodIIR>());
    methods.push_back(std::make_unique<MethodStatistics>());
    methods.push_back(std::make_unique<MethodLookupTable>());
    methods.push_back(std::make_unique<MethodAboveBelow>("above"));
    methods.push_back(std::make_unique<MethodAboveBelow>("below"));
    methods.push_back(std::make_unique<MethodGeofence>());
    return methods;
}

std::vector<std::unique_ptr<InputRow>> makeCommonRows() {
    std::vector<std::unique_ptr<InputRow>> rows;
    const auto add = [&rows](auto row) {
        acceptAlternative(*row, {});
        rows.push_back(std::move(row));
    };
    const auto addFloat = [&](const char* key, const char* hint, const char* help) {
        add(std::make_unique<EntryFloat>(RowText{key, hint, help}));
    };
    const auto addBool = [&](const char* key, const char* help) {
        add(std::make_unique<EntryBool>(RowText{key, "", help}));
    };
    addFloat("fact", "x 1.0", "Multiply signal output by this factor");
    addFloat("offs", "+ 12.0", "Add this offset to signal output");
    addFloat("minLim", "0.5 units", "Ignore values below this limit in plot (for better scaling)");
    addFloat("maxLim", "25.5 units", "Ignore values above this limit in plot (for better scaling)");
    addBool("absInput", "Use absolute value of input signal");
    addBool("absOutput", "Output absolute value");
    add(std::make_unique<EntryInt>(
        RowText{"avgWindow", "2000 ms", "Average the signal output with this window size"}));
    add(std::make_unique<EntryString>(
        RowText{"comment", "Vertical speed of rocket", "Helpful description of signal"}));
    addBool("hidden", "Hide signal (only use as input to other signals)");
    addBool("fillEmpty", "Use last registered value to fill gaps");
    addFloat("valWhenEmpty", "", "Fill gaps with this value instead of last");
    addBool("pauseIfZero", "Pause output for signal while it would have been 0");
    return rows;
}

}  // namespace trelis
