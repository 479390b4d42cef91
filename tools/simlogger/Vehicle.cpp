#include "Vehicle.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Angles.h"

namespace trelis::sim {

namespace {

constexpr std::array<std::string_view, Vehicle::kQuantityCount> kNames = {
    "ignition",       "engine_running",
    "engine_speed",   "speed",
    "gear",           "clutch",
    "pedal",          "brake",
    "brake_pressure", "torque",
    "fuel_rate",      "fuel_level",
    "coolant",        "oil_temperature",
    "oil_pressure",   "intake",
    "ambient",        "cabin",
    "battery",        "wheel_fl",
    "wheel_fr",       "wheel_rl",
    "wheel_rr",       "steering",
    "yaw_rate",       "lateral",
    "longitudinal",   "odometer",
    "trip",           "door",
    "belt",           "lights",
    "wiper",          "indicator",
    "gps_latitude",   "gps_longitude",
    "gps_altitude",   "gps_bearing",
    "gps_satellites", "gps_fix",
    "gps_horizontal", "gps_vertical"};

constexpr double kTickS = 0.01;
constexpr double kMass = 1450.0;       // kg
constexpr double kRolling = 165.0;     // N
constexpr double kAir = 0.41;          // N per (m/s)^2
constexpr double kWheelRadius = 0.31;  // m
constexpr double kSteeringRatio = 15.5;
constexpr double kWheelbase = 2.65;   // m
constexpr double kTrack = 1.52;       // m
constexpr double kMaxTorque = 210.0;  // Nm
constexpr double kShiftS = 0.45;
constexpr double kStartLegS = 6.0;  // door, belt, ignition and the starter, before leg one

// Engine turns a minute for each km/h, and the greatest acceleration, by gear.
constexpr std::array<double, 7> kRpmPerKmh = {0.0, 130.0, 72.0, 47.0, 34.5, 27.5, 22.5};
constexpr std::array<double, 7> kPull = {0.0, 2.9, 2.3, 1.8, 1.35, 1.0, 0.75};

double approach(double value, double target, double seconds, double stepS = kTickS) {
    return value + (target - value) * std::min(1.0, stepS / seconds);
}

double dragAt(double metresPerSecond) {
    return kRolling + kAir * metresPerSecond * metresPerSecond;
}

}  // namespace

std::optional<Vehicle::Quantity> Vehicle::quantityNamed(std::string_view name) {
    const auto found = std::find(kNames.begin(), kNames.end(), name);
    if (found == kNames.end()) return std::nullopt;
    return static_cast<Quantity>(found - kNames.begin());
}

std::uint32_t packCoordinate(double degrees) {
    const bool negative = degrees < 0.0;
    const double size = negative ? -degrees : degrees;
    const double whole = std::floor(size);
    const double minutes = (size - whole) * 60.0;
    const auto packed =
        static_cast<std::uint32_t>(whole * 10000000.0 + std::floor(minutes * 100000.0 + 0.5));
    return packed | (negative ? 0x80000000U : 0U);
}

double plannedDistance(const VehicleSpec& spec) {
    double seconds = kStartLegS;
    for (const LegSpec& leg : spec.legs)
        seconds += leg.seconds;
    Vehicle rehearsal(spec, 1, Route({}, 1000.0));  // the speed does not depend on the bends
    rehearsal.advanceTo(static_cast<std::uint64_t>(seconds * 1000.0));
    return std::max(100.0, rehearsal[Vehicle::kTrip]);
}

Vehicle::Vehicle(const VehicleSpec& spec, std::uint64_t seed)
    : Vehicle(spec, seed, Route(spec.way, plannedDistance(spec))) {}

Vehicle::Vehicle(const VehicleSpec& spec, std::uint64_t seed, Route route)
    : spec_(spec), random_(seed), route_(std::move(route)), legEndS_(kStartLegS) {
    at(kFuelLevel) = 62.0;
    at(kAmbient) = 11.5;
    at(kCoolant) = 24.0;
    at(kOilTemperature) = 19.0;
    at(kIntake) = 13.0;
    at(kCabin) = 12.0;
    at(kBattery) = 12.4;
    at(kOdometer) = 48213.4;
    at(kDoor) = 1.0;
    moveOnRoute();
}

void Vehicle::advanceTo(std::uint64_t timeMs) {
    while (timeMs_ + kTickMs <= timeMs) {
        timeMs_ += kTickMs;
        tick();
    }
}

void Vehicle::tick() {
    switchOn();
    drive();
    shiftGear();
    turnEngine();
    warmUp();
    moveOnRoute();
}

/// Door, belt, key and starter, by the clock.
void Vehicle::switchOn() {
    const double seconds = static_cast<double>(timeMs_) / 1000.0;
    at(kDoor) = seconds < 1.5 ? 1.0 : 0.0;
    at(kIgnition) = seconds < 1.0   ? 0.0
                    : seconds < 2.0 ? 1.0
                    : seconds < 3.0 ? 2.0
                    : seconds < 3.8 ? 3.0
                                    : 2.0;
    if (seconds >= 3.7) at(kEngineRunning) = 1.0;
    at(kBelt) = seconds < 4.5 ? 0.0 : 1.0;
    at(kLights) = seconds < 2.0 ? 0.0 : seconds < 5.0 ? 1.0 : 2.0;
}

const LegSpec* Vehicle::currentLeg() {
    const double seconds = static_cast<double>(timeMs_) / 1000.0;
    if (seconds < kStartLegS || spec_.legs.empty()) return nullptr;
    while (seconds >= legEndS_ + spec_.legs[leg_].seconds) {
        legEndS_ += spec_.legs[leg_].seconds;
        leg_ = (leg_ + 1) % spec_.legs.size();
    }
    return &spec_.legs[leg_];
}

/// The driver: acceleration and brake for the speed of the leg.
void Vehicle::drive() {
    const LegSpec* leg = currentLeg();
    const double speed = at(kSpeed) / 3.6;
    const double target = leg ? leg->speedKmh / 3.6 : 0.0;
    const auto gear = static_cast<std::size_t>(at(kGear));
    double wanted =
        std::clamp((target - speed) * 0.55, -2.4, kPull[std::max<std::size_t>(gear, 1)]);
    const double rollingOut = -dragAt(speed) / kMass;
    if (leg && leg->coast && speed > target) wanted = rollingOut * 1.15;
    if (at(kClutch) > 0.5 && wanted > rollingOut) wanted = rollingOut;
    if (at(kEngineRunning) < 0.5) wanted = 0.0;
    acceleration_ += std::clamp(wanted - acceleration_, -0.08, 0.05);
    const double before = speed;
    double after = std::max(0.0, speed + acceleration_ * kTickS);
    if (target == 0.0 && after < 0.15) after = 0.0;
    if (after == 0.0) acceleration_ = std::max(0.0, acceleration_);
    at(kSpeed) = after * 3.6;
    at(kLongitudinal) = approach(at(kLongitudinal), (after - before) / kTickS, 0.1);
    const bool holds = after == 0.0 && target == 0.0 && at(kIgnition) > 1.5;
    const bool brakes = holds || acceleration_ < rollingOut - 0.25;
    at(kBrake) = brakes ? 1.0 : 0.0;
    const double pressure = holds ? 9.0 : brakes ? -acceleration_ * 14.0 : 0.0;
    at(kBrakePressure) = approach(at(kBrakePressure), pressure, 0.12);
    at(kTrip) += after * kTickS;
    at(kOdometer) += after * kTickS / 1000.0;
}

void Vehicle::shiftGear() {
    const auto gear = static_cast<std::size_t>(at(kGear));
    const double speed = at(kSpeed);
    const LegSpec* leg = currentLeg();
    if (shiftLeftS_ > 0.0) {
        shiftLeftS_ -= kTickS;
        if (shiftLeftS_ < kShiftS / 2.0) at(kGear) = nextGear_;
        if (shiftLeftS_ <= 0.0) at(kClutch) = 0.0;
        return;
    }
    std::size_t next = gear;
    const bool moves = leg && leg->speedKmh > 0.0;
    const double rpm = kRpmPerKmh[gear] * speed;
    if (!moves && speed < 12.0)
        next = 0;
    else if (gear == 0 && moves)
        next = 1;
    else if (gear < 6 && rpm > (acceleration_ > 0.3 ? 2900.0 : 2350.0))
        next = gear + 1;
    else if (gear > 1 && rpm < 1250.0)
        next = gear - 1;
    if (next == gear) return;
    nextGear_ = static_cast<double>(next);
    shiftLeftS_ = kShiftS;
    at(kClutch) = 1.0;
}

void Vehicle::turnEngine() {
    const bool running = at(kEngineRunning) > 0.5;
    const bool starting = at(kIgnition) > 2.5;
    const auto gear = static_cast<std::size_t>(at(kGear));
    const double idle = 790.0 + std::max(0.0, 70.0 - at(kCoolant)) * 7.0;
    const bool closed = gear > 0 && at(kClutch) < 0.5;
    const double wheels = kRpmPerKmh[gear] * at(kSpeed);
    double target = starting && !running ? 240.0 : running ? idle : 0.0;
    if (running && closed) target = std::max(wheels, acceleration_ > 0.1 ? 1350.0 : idle);
    const double lag = closed && wheels > 1350.0 ? 0.06 : 0.3;
    at(kEngineSpeed) = approach(at(kEngineSpeed), target, lag);

    const double metres = at(kSpeed) / 3.6;
    const double force = kMass * acceleration_ + dragAt(metres);
    double torque = running ? 14.0 : 0.0;  // what the engine's own friction and its belts take
    if (running && closed) {
        const double ratio = kRpmPerKmh[gear] * 3.6 * 2.0 * kPi / 60.0 * kWheelRadius;
        torque = std::clamp(force * kWheelRadius / (ratio * 0.93), -38.0, kMaxTorque);
        if (at(kBrake) > 0.5) torque = -25.0;
    }
    at(kTorque) = approach(at(kTorque), torque, 0.08);
    const double pedal = closed && running ? std::max(0.0, at(kTorque) / kMaxTorque * 100.0) : 0.0;
    at(kPedal) = approach(at(kPedal), pedal, 0.1);
    const double power = std::max(0.0, at(kTorque)) * at(kEngineSpeed) * 2.0 * kPi / 60.0 / 1000.0;
    const bool cut = at(kTorque) < -5.0 && at(kEngineSpeed) > 1250.0;
    const double fuel = !running || cut ? 0.0 : 0.00085 * at(kEngineSpeed) + 0.29 * power;
    at(kFuelRate) = approach(at(kFuelRate), fuel, 0.15);
    at(kFuelLevel) -= at(kFuelRate) / 3600.0 * kTickS / 50.0 * 100.0;
    at(kOilPressure) = approach(at(kOilPressure), std::min(4.6, at(kEngineSpeed) * 0.0019), 0.4);
    const double volts = starting && !running ? 10.1 : running ? 14.25 - at(kLights) * 0.06 : 12.4;
    at(kBattery) = approach(at(kBattery), volts, starting ? 0.05 : 0.8);
}

void Vehicle::warmUp() {
    const double heat = 0.10 + at(kFuelRate) * 0.075;
    const double thermostat = at(kCoolant) > 88.0 ? (at(kCoolant) - 88.0) * 0.35 : 0.0;
    if (at(kEngineRunning) > 0.5) at(kCoolant) += (heat - thermostat) * kTickS;
    at(kOilTemperature) = approach(at(kOilTemperature), at(kCoolant) + 4.0, 95.0);
    const double wind = std::min(1.0, at(kSpeed) / 60.0);
    at(kIntake) = approach(at(kIntake), at(kAmbient) + (1.0 - wind) * 0.25 * at(kCoolant), 25.0);
    at(kCabin) = approach(at(kCabin), at(kCoolant) > 40.0 ? 21.5 : at(kAmbient), 80.0);
    at(kAmbient) = 11.5 + 0.8 * sine(static_cast<double>(timeMs_) / 90000.0);
}

void Vehicle::moveOnRoute() {
    const Route::Place place = route_.at(at(kTrip));
    const double metres = at(kSpeed) / 3.6;
    const double curvature = place.curvature;
    at(kSteering) = approach(at(kSteering), curvature * kWheelbase * kSteeringRatio / kDegree, 0.2);
    at(kYawRate) = metres * curvature / kDegree;
    at(kLateral) = metres * metres * curvature;
    // A turn to the right makes the left wheels the outer, faster ones.
    const double outer = 1.0 + curvature * kTrack / 2.0;
    const double inner = 1.0 - curvature * kTrack / 2.0;
    const double slip = 1.0 + std::max(0.0, acceleration_) * 0.004;  // the front wheels drive
    at(kWheelFl) = at(kSpeed) * outer * slip;
    at(kWheelFr) = at(kSpeed) * inner * slip;
    at(kWheelRl) = at(kSpeed) * outer;
    at(kWheelRr) = at(kSpeed) * inner;
    operateBody(place);
    receiveGps(place);
}

void Vehicle::operateBody(const Route::Place& place) {
    const Route::Place soon = route_.at(at(kTrip) + 35.0);
    const bool bends = soon.curvature > 0.006 || soon.curvature < -0.006;
    if (bends && at(kSpeed) > 3.0 && at(kSpeed) < 65.0) {
        at(kIndicator) = soon.curvature < 0.0 ? 1.0 : 2.0;
        indicatorLeftS_ = 2.5;
    } else if (indicatorLeftS_ > 0.0) {
        indicatorLeftS_ -= kTickS;
        if (indicatorLeftS_ <= 0.0) at(kIndicator) = 0.0;
    }
    const double north = place.north;  // the shower hangs over the north of the round
    at(kWiper) = north > 750.0 ? 2.0 : north > 500.0 ? 1.0 : 0.0;
}

void Vehicle::receiveGps(const Route::Place& place) {
    constexpr double kMetresPerDegree = 111320.0;
    const bool fix = timeMs_ >= 2500;
    at(kGpsFix) = fix ? 1.0 : 0.0;
    const double latitude = spec_.latitude + place.north / kMetresPerDegree;
    const double longitude =
        spec_.longitude + place.east / (kMetresPerDegree * cosine(spec_.latitude * kDegree));
    at(kGpsLatitude) = fix ? packCoordinate(latitude) : 0.0;
    at(kGpsLongitude) = fix ? packCoordinate(longitude) : 0.0;
    at(kGpsAltitude) =
        fix ? 24.0 + 7.0 * sine(at(kTrip) / 900.0) + 3.0 * sine(at(kTrip) / 310.0) : 0;
    at(kGpsBearing) = place.bearing;
    if (timeMs_ % 1000 != 0) return;
    const double wander = random_.real();
    at(kGpsSatellites) = fix ? std::floor(9.0 + 4.0 * wander) : std::floor(2.0 * wander);
    at(kGpsHorizontal) = fix ? std::floor(2.0 + 2.5 * wander) : 99.0;
    at(kGpsVertical) = fix ? std::floor(3.0 + 4.0 * wander) : 99.0;
}

}  // namespace trelis::sim
