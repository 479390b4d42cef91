#include "config/Method.h"

#include <algorithm>
#include <utility>

#include "virtual/MethodHelp.h"
#include "virtual/SignalFactory.h"
#include "virtual/VirtualMessage.h"
#include "virtual/VirtualSignal.h"

namespace trelis {
namespace {

constexpr int kSpacing = 6;
constexpr unsigned kManyInputs = 50;

bool takeSpelling(InputRow& row, std::span<const KeyHelp> keys) {
    for (const KeyHelp& help : keys) {
        if (help.alternative.empty()) continue;
        const bool isFirst = help.key == row.key();
        if (!isFirst && help.alternative != row.key()) continue;
        row.setAlternative(std::string(isFirst ? help.alternative : help.key), !isFirst);
        return true;
    }
    return false;
}

}  // namespace

void acceptAlternative(InputRow& row, const std::string& method) {
    for (const MethodHelp& help : methodKeys())
        if (help.method == method && takeSpelling(row, help.keys)) return;
    takeSpelling(row, commonKeys());
}

Method::Method(std::string text, unsigned maxInputs, bool hasStep)
    : text_(std::move(text)), maxInputs_(maxInputs) {
    grid_.set_row_spacing(kSpacing);
    grid_.set_column_spacing(2 * kSpacing);
    grid_.set_no_show_all(true);
    if (hasStep)
        add<EntryInt>({"step", "20 ms", "Generate data point at this time step interval (ms)"});
}

void Method::append(std::unique_ptr<InputRow> row) {
    const int line = static_cast<int>(rows_.size());
    grid_.attach(row->label(), 0, line);
    grid_.attach(row->widget(), 1, line);
    row->show();
    acceptAlternative(*row, text_);
    rows_.push_back(std::move(row));
}

void Method::addLevels(const char* aboveHelp, const char* aboveHint, const char* belowHelp,
                       const char* belowHint) {
    add<EntryFloat>({"above", aboveHint, aboveHelp});
    add<EntryFloat>({"below", belowHint, belowHelp});
}

void Method::addReset(const char* what) {
    resetRow_ = &add<EntrySignal>(
        {"resetSig", "<canif>.<msg>.<signal>",
         std::string("(optional) set ") + what + " to 0 when this signal is larger than 0"});
}

std::shared_ptr<VirtualSignal> Method::buildSignal(const std::shared_ptr<VirtualMessage>& message,
                                                   const std::string& group,
                                                   const Glib::KeyFile& keyFile,
                                                   const std::string& vsdFile) const {
    const auto point = group.rfind('.');
    const std::string signalName = point == std::string::npos ? group : group.substr(point + 1);
    return createSignal(message, group, signalName, keyFile, vsdFile);
}

void Method::showRows() {
    grid_.show();
}

void Method::hideRows() {
    grid_.hide();
}

void Method::showDefaults() {
    for (const auto& row : rows_)
        row->showDefault();
}

void Method::clearRows() {
    for (const auto& row : rows_)
        row->clear();
}

void Method::loadRows(const Glib::KeyFile& keyFile, const std::string& group) {
    for (const auto& row : rows_)
        row->load(keyFile, group);
}

void Method::saveRows(Glib::KeyFile& keyFile, const std::string& group) const {
    for (const auto& row : rows_)
        row->save(keyFile, group);
}

void Method::setCompletion(const Glib::RefPtr<Gtk::ListStore>& model,
                           const SigListModCols& columns) {
    if (resetRow_ != nullptr) resetRow_->setCompletion(model, columns);
}

void Method::alignLabels(const Glib::RefPtr<Gtk::SizeGroup>& group) {
    for (const auto& row : rows_)
        group->add_widget(row->label());
}

InputRow* Method::findRow(const std::string& key) const {
    const auto found = std::find_if(rows_.begin(), rows_.end(),
                                    [&](const auto& row) { return row->key() == key; });
    return found == rows_.end() ? nullptr : found->get();
}

// ---- the methods

namespace {

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

}  // namespace trelis
