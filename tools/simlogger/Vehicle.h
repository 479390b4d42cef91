#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "Random.h"
#include "Route.h"
#include "Scenario.h"

namespace trelis::sim {

/// A petrol car with a six-speed gearbox that is driven along a plan: started, driven leg by leg
/// around a closed route, and round again when the plan is over. Deterministic.
class Vehicle {
  public:
    enum Quantity {
        kIgnition,        ///< 0 off, 1 accessories, 2 on, 3 starting
        kEngineRunning,   ///< 0 or 1
        kEngineSpeed,     ///< rpm
        kSpeed,           ///< km/h
        kGear,            ///< 0 neutral, 1 to 6
        kClutch,          ///< 1 while open
        kPedal,           ///< per cent
        kBrake,           ///< 0 or 1
        kBrakePressure,   ///< bar
        kTorque,          ///< Nm at the crankshaft, negative when it brakes
        kFuelRate,        ///< litres an hour
        kFuelLevel,       ///< per cent
        kCoolant,         ///< degrees Celsius
        kOilTemperature,  ///< degrees Celsius
        kOilPressure,     ///< bar
        kIntake,          ///< degrees Celsius
        kAmbient,         ///< degrees Celsius
        kCabin,           ///< degrees Celsius
        kBattery,         ///< volts
        kWheelFl,         ///< km/h, as are the other three
        kWheelFr,
        kWheelRl,
        kWheelRr,
        kSteering,      ///< degrees at the wheel, positive to the right
        kYawRate,       ///< degrees a second
        kLateral,       ///< m/s2
        kLongitudinal,  ///< m/s2
        kOdometer,      ///< kilometres
        kTrip,          ///< metres since the start
        kDoor,          ///< 1 while the driver's door is open
        kBelt,          ///< 1 while fastened
        kLights,        ///< 0 off, 1 parking, 2 dipped
        kWiper,         ///< 0 off, 1 intermittent, 2 on
        kIndicator,     ///< 0 off, 1 left, 2 right
        kGpsLatitude,   ///< the logger's packed number, as are the longitude's
        kGpsLongitude,
        kGpsAltitude,  ///< metres
        kGpsBearing,   ///< degrees
        kGpsSatellites,
        kGpsFix,         ///< 0 or 1
        kGpsHorizontal,  ///< horizontal accuracy, metres
        kGpsVertical,
        kQuantityCount,
    };

    static std::optional<Quantity> quantityNamed(std::string_view name);

    /// On the plan's own way, whose length is that of the whole drive. Legs have to last for a
    /// time above 0.
    Vehicle(const VehicleSpec& spec, std::uint64_t seed);

    /// On another route.
    Vehicle(const VehicleSpec& spec, std::uint64_t seed, Route route);

    /// Lets the time run on to `timeMs` after the start. Time does not run back.
    void advanceTo(std::uint64_t timeMs);

    double operator[](int quantity) const { return values_[static_cast<std::size_t>(quantity)]; }

  private:
    static constexpr std::uint64_t kTickMs = 10;

    void tick();
    void switchOn();
    void drive();
    void shiftGear();
    void turnEngine();
    void warmUp();
    void moveOnRoute();
    void receiveGps(const Route::Place& place);
    void operateBody(const Route::Place& place);
    const LegSpec* currentLeg();

    double& at(Quantity quantity) { return values_[quantity]; }

    VehicleSpec spec_;
    Random random_;
    Route route_;
    std::array<double, kQuantityCount> values_{};
    std::uint64_t timeMs_ = 0;
    std::size_t leg_ = 0;
    double legEndS_ = 0.0;
    double acceleration_ = 0.0;  ///< m/s2, along the road
    double shiftLeftS_ = 0.0;    ///< until the clutch closes again
    double indicatorLeftS_ = 0.0;
    double nextGear_ = 0.0;
};

/// The length in metres of the whole drive that a plan gives.
double plannedDistance(const VehicleSpec& spec);

/// A coordinate as the logger packs it: degrees times 10000000 plus minutes times 100000, and the
/// top bit set in the south and in the west.
std::uint32_t packCoordinate(double degrees);

}  // namespace trelis::sim
